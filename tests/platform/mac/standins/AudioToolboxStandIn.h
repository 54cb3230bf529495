// How a test steers the stand-in for audio converters, and what it says of the calls that it got. A packet of it has the frames themselves,
// so that a test sees what was encoded. Main thread only.
#pragma once

#include <AudioToolbox/AudioToolbox.h>
#include <cstddef>

namespace velmora::standin {

struct AudioToolbox {
    OSStatus createStatus = noErr;
    OSStatus bitRateStatus = noErr;
    OSStatus primingStatus = noErr;
    OSStatus packetSizeStatus = noErr;
    OSStatus convertStatus = noErr;
    UInt32 leadingFrames = 2112;
    UInt32 framesWanted = 1024;  ///< at least, each time that it asks for input
    UInt32 bitRate = 0;  ///< as it was set
};
AudioToolbox& audioToolbox();

/// Converters that were made and not disposed of.
[[nodiscard]] std::size_t converterCount();

}  // namespace velmora::standin
