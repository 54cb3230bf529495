// One picture of a track, by libavcodec.
#pragma once

#include "platform/linux/ffmpeg/AvHandles.h"
#include "platform/linux/ffmpeg/CodecModule.h"

#include <memory>

namespace velmora::linux_backend {

class LibavPictureDecoder final : public engine::PictureDecoder {
public:
    static Result<std::unique_ptr<engine::PictureDecoder>> create(const VideoFormat& format, const engine::PictureRequest& request);

    Result<PixelBufferRef> decode(std::span<const std::byte> sample, std::int64_t time) override;
    Result<PixelBufferRef> finish() override;

private:
    LibavPictureDecoder(AvCodecContext context, const VideoFormat& format, const engine::PictureRequest& request);

    Result<PixelBufferRef> send(const AVPacket* packet);
    Result<PixelBufferRef> receive(bool& isDrained);
    [[nodiscard]] Result<PixelBufferRef> convert(const AVFrame& frame) const;

    const AvCodecContext context_;
    const ColourDescription colour_;
    const engine::PictureRequest request_;
    const AvPacket packet_{av_packet_alloc()};
    const AvFrame frame_{av_frame_alloc()};
    std::int64_t decodedPixels_ = 0;
};

}  // namespace velmora::linux_backend
