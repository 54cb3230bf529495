// Opening libavcodec's decoders for what is in a file, and giving them what is in it.
#pragma once

#include "media/FormatDescription.h"
#include "platform/linux/ffmpeg/AvHandles.h"

#include <cstddef>
#include <span>
#include <tl/expected.hpp>

namespace velmora::linux_backend {

/// Of pictures with such samples, on so many threads; 0 for as many as the machine has processors. Larger pictures than any level of H.264
/// has are refused. An AVERROR where there is no such decoder or it does not like the configuration.
[[nodiscard]] tl::expected<AvCodecContext, int> openDecoder(const VideoFormat& format, int threads);

/// Of sound.
[[nodiscard]] tl::expected<AvCodecContext, int> openDecoder(const AudioFormat& format);

/// Makes it a packet of these bytes, in memory of its own with the room behind it that decoders read. 0 or an AVERROR.
[[nodiscard]] int setData(AVPacket& packet, std::span<const std::byte> bytes);

}  // namespace velmora::linux_backend
