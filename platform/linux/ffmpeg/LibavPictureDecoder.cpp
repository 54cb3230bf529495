#include "platform/linux/ffmpeg/LibavPictureDecoder.h"

#include "platform/linux/ffmpeg/Decoders.h"
#include "platform/linux/ffmpeg/LibavError.h"

#include <algorithm>
#include <cerrno>

namespace velmora::linux_backend {

namespace {

constexpr const char* notDecoded = "The picture could not be decoded";

/// No picture is worth decoding more than two minutes of 1080p at 30 pictures a second.
constexpr std::int64_t mostDecodedPixels = std::int64_t{1920} * 1080 * 30 * 120;

tl::unexpected<Error> failure(int averror)
{
    return fail(libavError(averror, notDecoded));
}

/// The matrix by its number (ISO 23091-2), which is also libswscale's: what the stream says, else what its file says, else what is usual.
int matrixOf(const AVFrame& frame, const ColourDescription& colour)
{
    if (frame.colorspace != AVCOL_SPC_UNSPECIFIED)
        return frame.colorspace;
    if (colour.matrix != AVCOL_SPC_UNSPECIFIED)
        return colour.matrix;
    constexpr int largestStandardDefinition = 576;
    return frame.height > largestStandardDefinition ? SWS_CS_ITU709 : SWS_CS_ITU601;
}

bool isFullRange(const AVFrame& frame, const ColourDescription& colour)
{
    switch (frame.format) {
    case AV_PIX_FMT_YUVJ420P:
    case AV_PIX_FMT_YUVJ422P:
    case AV_PIX_FMT_YUVJ444P:
        return true;
    default:
        return frame.color_range == AVCOL_RANGE_JPEG || (frame.color_range == AVCOL_RANGE_UNSPECIFIED && colour.fullRange);
    }
}

/// The frame's width with square pixels. Shapes that no display has are ignored.
std::int64_t shownWidth(const AVFrame& frame)
{
    const auto shape = frame.sample_aspect_ratio;
    constexpr int most = 8;
    if (shape.num <= 0 || shape.den <= 0 || shape.num / shape.den >= most || shape.den / shape.num >= most)
        return frame.width;
    return std::max<std::int64_t>(1, (std::int64_t{frame.width} * shape.num + shape.den / 2) / shape.den);
}

struct PictureSize {
    std::int32_t width = 0;
    std::int32_t height = 0;
};

/// What fits into `maximumWidth` x `maximumHeight` with the shape of `width` x `height`, not larger than that, at least 1 x 1. All above 0.
PictureSize fittedSize(std::int64_t width, std::int64_t height, std::int32_t maximumWidth, std::int32_t maximumHeight)
{
    if (width <= maximumWidth && height <= maximumHeight)
        return {static_cast<std::int32_t>(width), static_cast<std::int32_t>(height)};
    const auto scaled = [](std::int64_t side, std::int64_t by, std::int64_t of) {
        return static_cast<std::int32_t>(std::max<std::int64_t>(1, (side * by + of / 2) / of));
    };
    if (width * maximumHeight >= height * maximumWidth)
        return {maximumWidth, std::min(maximumHeight, scaled(height, maximumWidth, width))};
    return {std::min(maximumWidth, scaled(width, maximumHeight, height)), maximumHeight};
}

}  // namespace

Result<std::unique_ptr<engine::PictureDecoder>> LibavPictureDecoder::create(
    const VideoFormat& format, const engine::PictureRequest& request)
{
    if (request.maximumWidth < 1 || request.maximumHeight < 1)
        return failure(AVERROR(EINVAL));
    // One picture is not worth starting threads, and each would hold pictures of its own.
    auto context = openDecoder(format, 1);
    if (!context)
        return failure(context.error());
    std::unique_ptr<LibavPictureDecoder> decoder{new LibavPictureDecoder(std::move(*context), format, request)};
    if (!decoder->packet_ || !decoder->frame_)
        return failure(AVERROR(ENOMEM));
    return decoder;
}

LibavPictureDecoder::LibavPictureDecoder(AvCodecContext context, const VideoFormat& format, const engine::PictureRequest& request)
    : context_(std::move(context))
    , colour_(format.colour)
    , request_(request)
{
}

Result<PixelBufferRef> LibavPictureDecoder::decode(std::span<const std::byte> sample, std::int64_t time)
{
    if (const int status = setData(*packet_, sample); status < 0)
        return failure(status);
    packet_->pts = time;
    auto picture = send(packet_.get());
    av_packet_unref(packet_.get());
    return picture;
}

Result<PixelBufferRef> LibavPictureDecoder::finish()
{
    auto picture = send(nullptr);
    if (picture && !*picture)
        return failure(AVERROR_INVALIDDATA);
    return picture;
}

Result<PixelBufferRef> LibavPictureDecoder::send(const AVPacket* packet)
{
    for (;;) {
        const int sent = avcodec_send_packet(context_.get(), packet);
        if (sent < 0 && sent != AVERROR(EAGAIN))
            return failure(sent);
        bool isDrained = false;
        while (!isDrained) {
            auto picture = receive(isDrained);
            if (!picture || *picture)
                return picture;
        }
        if (sent == 0)
            return PixelBufferRef{};
    }
}

Result<PixelBufferRef> LibavPictureDecoder::receive(bool& isDrained)
{
    const int status = avcodec_receive_frame(context_.get(), frame_.get());
    if (status == AVERROR(EAGAIN) || status == AVERROR_EOF) {
        isDrained = true;
        return PixelBufferRef{};
    }
    if (status < 0)
        return failure(status);
    decodedPixels_ += std::int64_t{frame_->width} * frame_->height;
    if (decodedPixels_ > mostDecodedPixels)
        return failure(AVERROR(ETIME));
    auto picture = Result<PixelBufferRef>{};
    if (frame_->pts == request_.time) {
        const bool isDamaged = (frame_->flags & AV_FRAME_FLAG_CORRUPT) != 0 || frame_->decode_error_flags != 0;
        picture = isDamaged ? failure(AVERROR_INVALIDDATA) : convert(*frame_);
    }
    av_frame_unref(frame_.get());
    return picture;
}

Result<PixelBufferRef> LibavPictureDecoder::convert(const AVFrame& frame) const
{
    const auto size = fittedSize(shownWidth(frame), frame.height, request_.maximumWidth, request_.maximumHeight);
    constexpr int flags = SWS_BILINEAR | SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP | SWS_ACCURATE_RND;
    const AvScaler scaler{sws_getContext(frame.width, frame.height, static_cast<AVPixelFormat>(frame.format), size.width, size.height,
        AV_PIX_FMT_BGRA, flags, nullptr, nullptr, nullptr)};
    if (!scaler)
        return failure(AVERROR(EINVAL));
    // Refused where nothing is to be converted: for RGB.
    sws_setColorspaceDetails(scaler.get(), sws_getCoefficients(matrixOf(frame, colour_)), isFullRange(frame, colour_) ? 1 : 0,
        sws_getCoefficients(SWS_CS_DEFAULT), 1, 0, 1 << 16, 1 << 16);

    // libswscale writes whole vectors.
    constexpr std::size_t alignment = 64;
    const auto bytesPerRow = (static_cast<std::size_t>(size.width) * 4 + alignment - 1) / alignment * alignment;
    AvBuffer memory{av_buffer_allocz(bytesPerRow * static_cast<std::size_t>(size.height) + alignment)};
    if (!memory)
        return failure(AVERROR(ENOMEM));
    std::uint8_t* planes[4] = {memory->data};
    const int strides[4] = {static_cast<int>(bytesPerRow)};
    const int rows = sws_scale(scaler.get(), frame.data, frame.linesize, 0, frame.height, planes, strides);
    if (rows != size.height)
        return failure(rows < 0 ? rows : AVERROR_EXTERNAL);

    auto picture = std::make_shared<PixelBuffer>();
    picture->width = size.width;
    picture->height = size.height;
    picture->bytesPerRow = bytesPerRow;
    picture->baseAddress = reinterpret_cast<const std::byte*>(memory->data);
    picture->owner = std::shared_ptr<const AVBufferRef>{std::move(memory)};
    return picture;
}

}  // namespace velmora::linux_backend
