// Samples of Core Media as the program has them, and its pictures as Video Toolbox takes them. Thread-safe, except where stated.
#pragma once

#include "media/SampleBuffer.h"
#include "platform/mac/CfHandle.h"

#include <CoreMedia/CoreMedia.h>
#include <cstdint>
#include <optional>
#include <vector>

namespace velmora::mac_backend {

/// Invalid when `time` is; a time that is infinite or indefinite is invalid too.
[[nodiscard]] MediaTime fromCMTime(CMTime time);
[[nodiscard]] CMTime toCMTime(MediaTime time);

/// The picture without a copy: it keeps the pixel buffer, locked for reading, for as long as it lives. None when it is not "BGRA".
[[nodiscard]] PixelBufferRef pictureOf(CVPixelBufferRef pixels);

/// The pixel buffer that a picture of pictureOf() came from, else one around the picture's own memory. The picture lives as long as that.
/// Nothing is copied. None when the system makes none.
[[nodiscard]] CfHandle<CVPixelBufferRef> pixelBufferOf(const PixelBufferRef& picture);

/// Sound as the system captures it, interleaved.
struct CapturedSound {
    MediaTime time;
    std::int32_t sampleRate = 0;
    std::int32_t channelCount = 0;
    std::vector<float> samples;
};

/// None for what is not 32-bit float. It may be in one buffer or in one for each channel.
[[nodiscard]] std::optional<CapturedSound> soundOf(CMSampleBufferRef sample);

/// Frames of one compression session, in its order. Not thread-safe.
class CompressedFrames {
public:
    /// None for what is no frame of H.264 whose parts have lengths of four bytes (ISO 14496-15 5.3.3.1).
    SampleBufferRef frameOf(CMSampleBufferRef sample);

private:
    /// All frames with one description of the system's share one of ours.
    FormatDescriptionRef formatOf(CMFormatDescriptionRef description);

    CfHandle<CMFormatDescriptionRef> lastDescription_;
    FormatDescriptionRef lastFormat_;
};

}  // namespace velmora::mac_backend
