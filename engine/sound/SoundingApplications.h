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
    std::string mediaName;  ///< what the program says it is playing; may be empty
    bool isPlaying = false;  ///< false: it is paused
    bool isMuted = false;  ///< the stream itself; that of its device keeps nothing from being recorded
    bool isPassedThrough = false;  ///< what it plays is decoded by the device
    bool isOfAnotherServer = false;  ///< of one that serves sound too, but is not the one whose sound is recorded
};

struct SoundingApplication {
    ApplicationIdentity identity;
    std::int32_t processID = 0;  ///< the topmost of its program; 0 when unknown
    std::string nowPlaying;  ///< may be empty
    bool isPlaying = false;

    /// Never empty for an application that is listed.
    [[nodiscard]] std::string displayName() const;
};

/// Each application once, however many streams it has: streams of one portal application belong together, as do those of a program's
/// process and its helpers; where the process is unknown, those with the same name and binary. Playing ones come first, each group by name.
/// Our own streams, and those of programs that we started, are left out, as are streams about which nothing is known.
[[nodiscard]] std::vector<SoundingApplication> soundingApplications(const std::vector<SoundStream>& streams, const Processes& processes);

}  // namespace velmora::engine
