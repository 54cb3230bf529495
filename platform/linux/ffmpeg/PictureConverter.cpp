#include "platform/linux/ffmpeg/PictureConverter.h"

#include "platform/linux/ffmpeg/Yuv420Frame.h"

#include <cassert>

namespace velmora::linux_backend {

PictureConverter::PictureConverter(std::int32_t width, std::int32_t height, engine::Yuv420View::Layout layout)
    : width_(width)
    , height_(height)
    , layout_(layout)
{
}

AVFrame* PictureConverter::convert(const PixelBuffer& picture, const engine::DirtyArea& changed)
{
    assert(picture.width == width_ && picture.height == height_);
    bool convertsAll = changed.isWhole();
    if (!frame_ || !av_frame_is_writable(frame_.get())) {
        // Converting all of it costs no more than copying what did not change.
        frame_ = makeYuv420Frame(layout_, engine::paddedToEven(width_), engine::paddedToEven(height_));
        convertsAll = true;
    }
    if (!frame_)
        return nullptr;

    const engine::BgraView source{picture.baseAddress, picture.bytesPerRow, width_, height_};
    const engine::Yuv420View destination{layout_, frame_->data[0], static_cast<std::size_t>(frame_->linesize[0]), frame_->data[1],
        frame_->data[2], static_cast<std::size_t>(frame_->linesize[1])};
    if (convertsAll) {
        engine::convertToYuv420(source, {0, 0, width_, height_}, destination);
    } else {
        for (const PixelRect& rectangle : changed.rectangles())
            engine::convertToYuv420(source, rectangle, destination);
    }
    return frame_.get();
}

}  // namespace velmora::linux_backend
