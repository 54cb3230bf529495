// Compressed pictures to record: H.264 by libx264, each picture carrying its number in black and white bars.
#pragma once

#include "media/SampleBuffer.h"

#include <cstdint>
#include <vector>

namespace velmora::test {

struct ClipOptions {
    std::int32_t width = 320;
    std::int32_t height = 240;
    int keyFrameInterval = 30;
};

struct EncodedClip {
    FormatDescriptionRef format;  ///< "avc1", BT.709
    std::vector<SampleBufferRef> samples;
};

/// One picture for each time, numbered from 0; the samples carry the times unchanged.
EncodedClip encodeClip(const std::vector<MediaTime>& times, const ClipOptions& options = {});

/// `count` times, `rate` a second, from `start` on, in nanoseconds.
std::vector<MediaTime> steadyTimes(int count, int rate, MediaTime start = MediaTime::zero());

/// The number in a decoded picture's luma; bars of `width` / 16 pixels, 12 bits.
int numberInPicture(const std::uint8_t* luma, int lineSize, int width, int height);

/// Interleaved stereo float with a click of one frame at each of `clicks` (frames from the beginning), silent elsewhere.
std::vector<float> clicks(std::int64_t frames, const std::vector<std::int64_t>& clicks);

/// A block of raw sound: 48 kHz stereo.
SampleBufferRef soundBlock(std::vector<float> interleaved, MediaTime time);

}  // namespace velmora::test
