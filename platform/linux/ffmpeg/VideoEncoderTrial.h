// Whether an encoder does what it is trusted to do.
#pragma once

#include "platform/linux/ffmpeg/VideoEncoder.h"

#include <functional>

namespace velmora::linux_backend {

/// Opens a candidate, as openVideoEncoder() does.
using VideoEncoderOpener =
    std::function<tl::expected<std::unique_ptr<VideoEncoder>, AvError>(const VideoEncoderCandidate&, const VideoEncoderSettings&)>;

/// Encodes a few pictures of moving fields and ramps at uneven times and decodes them again. 0 when every picture came out once, in
/// order, with its time, as H.264 High, the first and another one that was asked for as key frames, and when a decoder that begins at
/// either shows each picture with a mean difference of at most 12 of 255 in every plane. An AVERROR otherwise. The encoder is used up.
[[nodiscard]] int tryVideoEncoder(VideoEncoder& encoder, const VideoEncoderSettings& settings);

/// The same for a candidate that is opened for it.
[[nodiscard]] int tryVideoEncoder(
    const VideoEncoderCandidate& candidate, const VideoEncoderSettings& settings, const VideoEncoderOpener& open = openVideoEncoder);

}  // namespace velmora::linux_backend
