#include "platform/linux/ffmpeg/PictureConverter.h"

#include <cassert>

namespace velmora::linux_backend {

PictureConverter::PictureConverter(std::int32_t width, std::int32_t height, Yuv420View::Layout layout)
    : width_(width)
    , height_(height)
    , layout_(layout)
{
}

AVFrame* PictureConverter::convert(const PixelBuffer& picture, const DirtyArea& changed)
{
    assert(picture.width == width_ && picture.height == height_);
    bool convertsAll = changed.isWhole();
    if (!frame_ || !av_frame_is_writable(frame_.get())) {
        // Converting all of it costs no more than copying what did not change.
        frame_ = makeFrame();
        convertsAll = true;
    }
    if (!frame_)
        return nullptr;

    const BgraView source{picture.baseAddress, picture.bytesPerRow, width_, height_};
    const Yuv420View destination{layout_, frame_->data[0], static_cast<std::size_t>(frame_->linesize[0]), frame_->data[1], frame_->data[2],
        static_cast<std::size_t>(frame_->linesize[1])};
    if (convertsAll) {
        convertToYuv420(source, {0, 0, width_, height_}, destination);
    } else {
        for (const PixelRect& rectangle : changed.rectangles())
            convertToYuv420(source, rectangle, destination);
    }
    return frame_.get();
}

AvFrame PictureConverter::makeFrame() const
{
    AvFrame frame{av_frame_alloc()};
    if (!frame)
        return nullptr;
    frame->width = paddedToEven(width_);
    frame->height = paddedToEven(height_);
    frame->format = layout_ == Yuv420View::Layout::i420 ? AV_PIX_FMT_YUV420P : AV_PIX_FMT_NV12;
    return av_frame_get_buffer(frame.get(), 0) == 0 ? std::move(frame) : nullptr;
}

}  // namespace velmora::linux_backend
