// Which applications have streams of sound.
#pragma once

#include "engine/sound/ApplicationIdentity.h"
#include "engine/sound/ProcessTree.h"
#include "engine/sound/StreamMatcher.h"

#include <cstdint>
#include <string>
#include <vector>

namespace velmora::engine {

/// A stream of the sound server on its way to a device.
struct SoundStream {
    StreamIdentity identity;
    std::string mediaName;  ///< what the program says that it plays; may be empty
    bool isPlaying = false;  ///< false: it has paused
};

struct SoundingApplication {
    ApplicationIdentity identity;
    std::int32_t processID = 0;  ///< the topmost of its program; 0 when unknown
    std::string nowPlaying;  ///< may be empty
    bool isPlaying = false;

    /// Never empty for an application that is listed.
    [[nodiscard]] std::string displayName() const;
};

/// Each application once, however many streams it has: streams of one portal application belong together, as do those of one program's
/// process and its helpers; where the process is unknown, those of the same name and binary. Those that play come first, each part by name.
/// Our own streams, and those of programs that we started, are left out, as are streams that nothing is known of.
[[nodiscard]] std::vector<SoundingApplication> soundingApplications(const std::vector<SoundStream>& streams, const Processes& processes);

}  // namespace velmora::engine
