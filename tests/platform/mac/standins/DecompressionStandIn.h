// How a test steers the stand-in for Video Toolbox's decompression sessions. Main thread only, as its callers are.
#pragma once

#include "tests/platform/mac/standins/CoreMediaStandIn.h"

#include <VideoToolbox/VideoToolbox.h>
#include <cstdint>
#include <vector>

namespace velmora::standin {

struct Decompression {
    OSStatus createStatus = noErr;
    OSStatus decodeStatus = noErr;  ///< what samples are refused with; nothing is called back
    OSStatus outputStatus = noErr;  ///< what the callback says
    bool losesPictures = false;  ///< the callback has no picture, though all went well

    // What it was asked for.
    DescribedFormat format{};
    std::int64_t width = 0;  ///< of what is put out
    std::int64_t height = 0;
    std::int64_t pixelFormat = 0;
    std::vector<std::vector<std::uint8_t>> samples{};
    std::vector<std::int64_t> putOut{};  ///< times of those that were not only to be decoded
    int sessions = 0;  ///< that are not invalidated
};
Decompression& decompression();

}  // namespace velmora::standin
