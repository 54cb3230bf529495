#include "platform/linux/ffmpeg/LibswscalePictureScaler.h"

#include "platform/linux/ffmpeg/LibavError.h"

#include <climits>

namespace velmora::linux_backend {

namespace {

constexpr const char* what = "The picture could not be scaled";

/// Internally libswscale works in YUV. At full chroma resolution and with exact rounding what comes out differs from what went in by no
/// more than 2 steps, and text keeps its coloured edges.
constexpr int flags = SWS_BILINEAR | SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP | SWS_ACCURATE_RND;

std::size_t offsetOf(const PixelRect& rectangle, std::size_t bytesPerRow)
{
    return static_cast<std::size_t>(rectangle.y) * bytesPerRow + static_cast<std::size_t>(rectangle.x) * 4;
}

bool isUsable(const PixelRect& rectangle, std::size_t bytesPerRow)
{
    return !rectangle.isEmpty() && rectangle.x >= 0 && rectangle.y >= 0 && bytesPerRow <= INT_MAX
        && bytesPerRow / 4 >= static_cast<std::size_t>(rectangle.x) + static_cast<std::size_t>(rectangle.width);
}

}  // namespace

Result<void> LibswscalePictureScaler::scale(const std::byte* source, PixelRect sourceSize, std::size_t sourceBytesPerRow,
    std::byte* destination, PixelRect destinationSize, std::size_t destinationBytesPerRow)
{
    if (!isUsable(sourceSize, sourceBytesPerRow) || !isUsable(destinationSize, destinationBytesPerRow))
        return fail(libavError(AVERROR(EINVAL), what));
    const bool sameSizes = sourceSize.width == sourceSize_.width && sourceSize.height == sourceSize_.height
        && destinationSize.width == destinationSize_.width && destinationSize.height == destinationSize_.height;
    if (!scaler_ || !sameSizes) {
        scaler_.reset(sws_getContext(sourceSize.width, sourceSize.height, AV_PIX_FMT_BGR0, destinationSize.width, destinationSize.height,
            AV_PIX_FMT_BGR0, flags, nullptr, nullptr, nullptr));
        if (!scaler_)
            return fail(libavError(AVERROR(EINVAL), what));
        sourceSize_ = sourceSize;
        destinationSize_ = destinationSize;
    }
    const std::uint8_t* sourcePlanes[4] = {reinterpret_cast<const std::uint8_t*>(source + offsetOf(sourceSize, sourceBytesPerRow))};
    std::uint8_t* destinationPlanes[4] = {reinterpret_cast<std::uint8_t*>(destination + offsetOf(destinationSize, destinationBytesPerRow))};
    const int sourceStrides[4] = {static_cast<int>(sourceBytesPerRow)};
    const int destinationStrides[4] = {static_cast<int>(destinationBytesPerRow)};
    const int rows = sws_scale(scaler_.get(), sourcePlanes, sourceStrides, 0, sourceSize.height, destinationPlanes, destinationStrides);
    if (rows != destinationSize.height)
        return fail(libavError(rows < 0 ? rows : AVERROR_EXTERNAL, what));
    return {};
}

}  // namespace velmora::linux_backend
