// Seam: which processes play sound, as it changes.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace velmora::platform {

/// A process and those that it comes from: itself first, then its parent.
using ProcessLineage = std::vector<std::int32_t>;

class SoundActivity {
public:
    /// Ends with its owner; when it has ended, no call is running or will run. Its end waits for no server.
    class Observation {
    public:
        virtual ~Observation() = default;
    };

    /// Each process that has a stream which plays, once; of a stream whose process is not known nothing is said. On any thread.
    using Changed = std::function<void(std::vector<ProcessLineage> playing)>;

    virtual ~SoundActivity() = default;

    /// Returns at once. `changed` is called when it is known what plays, and from then on with every change; never where no sound server answers.
    /// It returns at once, and ends no observation.
    [[nodiscard]] virtual std::unique_ptr<Observation> observe(Changed changed) = 0;
};

}  // namespace velmora::platform
