// Pictures at a seam, encoded anew by libavcodec with libx264.
#pragma once

#include "engine/codecs/SeamCodecs.h"
#include "platform/linux/ffmpeg/AvHandles.h"

#include <cstdint>
#include <memory>
#include <set>

namespace velmora::linux_backend {

class LibavPictureReencoder final : public engine::PictureReencoder {
public:
    /// Fails with AVERROR_ENCODER_NOT_FOUND where there is no libx264: no other encoder can be told the number of its parameter sets.
    static Result<std::unique_ptr<engine::PictureReencoder>> create(const VideoFormat& format, int parameterSet);

    Result<void> add(std::span<const std::byte> sample, bool isEncoded) override;
    Result<engine::EncodedPictures> finish() override;

private:
    LibavPictureReencoder(const VideoFormat& format, int parameterSet, AvCodecContext decoder);

    Result<void> send(const AVPacket* packet);
    Result<void> encode(AVFrame& picture);
    Result<void> open(const AVFrame& picture);
    Result<void> receive();

    const std::int32_t width_;
    const std::int32_t height_;
    const int parameterSet_;
    const AvCodecContext decoder_;
    AvCodecContext encoder_;  ///< opened for the first picture
    const AvPacket packet_{av_packet_alloc()};
    const AvFrame frame_{av_frame_alloc()};
    std::int64_t added_ = 0;
    std::set<std::int64_t> wanted_;  ///< samples whose pictures have not come out yet, by their number
    std::int64_t encodedCount_ = 0;
    engine::EncodedPictures encoded_;
};

}  // namespace velmora::linux_backend
