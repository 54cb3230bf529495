// Seam: recordings that were not saved, while they are still to be had.
#pragma once

#include "base/Result.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace velmora::platform {

struct DiscardedRecording {
    std::filesystem::path file;  ///< where it lies now
    std::filesystem::path record;  ///< what is kept about it, for DiscardedRecordings alone
    std::filesystem::path origin;  ///< where it was recorded
    std::chrono::system_clock::time_point discardedAt;  ///< in whole seconds
    double duration = 0;  ///< seconds; 0 when it cannot be read
    std::int64_t fileSize = 0;  ///< bytes
    bool wasOffered = false;  ///< the user has been told of it

    [[nodiscard]] std::string filename() const { return origin.filename().string(); }
};

/// What recordings of this user were discarded, in this run of the program or an earlier one, and lie where the user can have them back: in
/// the desktop's trash. Safe on any thread. All but setObserver() wait for the disk.
class DiscardedRecordings {
public:
    using Observer = std::function<void(const DiscardedRecording&)>;

    virtual ~DiscardedRecordings() = default;

    /// Called on any thread for each that is whole and kept from now on. None: nobody is told.
    virtual void setObserver(Observer observer) = 0;

    /// Newest first.
    [[nodiscard]] virtual std::vector<DiscardedRecording> list() const = 0;

    /// Keeps, beyond this run of the program, that the user has been told.
    virtual void noteOffered(const DiscardedRecording& recording) = 0;

    /// Puts it into `folder`, which is there, under the name that it had: whole, in one step, replacing nothing. Where the name is taken it gets
    /// a counter. Copies it where `folder` is on another file system. Fails with EBUSY while it is still being finished, or being
    /// restored by somebody else, with ENOENT where it is gone, and with the system's error where `folder` does not take it; then
    /// it stays where it is.
    virtual Result<std::filesystem::path> restore(const DiscardedRecording& recording, const std::filesystem::path& folder) = 0;
};

}  // namespace velmora::platform
