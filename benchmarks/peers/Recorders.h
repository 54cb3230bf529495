// The recorders that are compared, each driven as its manual says, with the same settings: one window with the pointer at 60 pictures a
// second, the desktop's sound, H.264 at 8 Mbit/s by libx264's "superfast", AAC, one MP4 file.
#pragma once

#include "tests/support/recording/Velmora.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace velmora::benchmarks {

/// A running recording; ended, and its file thrown away, with the object.
class RunningRecording {
public:
    virtual ~RunningRecording() = default;

    [[nodiscard]] virtual pid_t processID() const = 0;

    /// Ends it and waits until its file is whole. Throws when it does not end well.
    virtual void finish() = 0;
};

struct Recorder {
    std::string name;
    std::function<std::unique_ptr<RunningRecording>(const test::ListedWindow& window, const std::filesystem::path& file)> start;
};

/// Velmora first, then those peers that are installed.
std::vector<Recorder> installedRecorders();

}  // namespace velmora::benchmarks
