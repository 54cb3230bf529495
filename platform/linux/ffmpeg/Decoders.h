// Opening libavcodec's decoders for what is in a file.
#pragma once

#include "media/FormatDescription.h"
#include "platform/linux/ffmpeg/AvHandles.h"

#include <tl/expected.hpp>

namespace velmora::linux_backend {

/// Of pictures with such samples, on so many threads; 0 for as many as the machine has processors. Larger pictures than any level of H.264
/// has are refused. An AVERROR where there is no such decoder or it does not like the configuration.
[[nodiscard]] tl::expected<AvCodecContext, int> openDecoder(const VideoFormat& format, int threads);

/// Of sound.
[[nodiscard]] tl::expected<AvCodecContext, int> openDecoder(const AudioFormat& format);

}  // namespace velmora::linux_backend
