#include "platform/linux/ffmpeg/Yuv420Frame.h"

#include <cstddef>
#include <cstring>
#include <utility>

namespace velmora::linux_backend {

namespace {

// ITU-R BT.709, 8 bits: black, and no colour difference.
constexpr int black = 16;
constexpr int grey = 128;

void fillPlane(AVFrame& frame, int plane, int rows, int value)
{
    std::memset(frame.data[plane], value, static_cast<std::size_t>(frame.linesize[plane]) * static_cast<std::size_t>(rows));
}

}  // namespace

AVPixelFormat pixelFormat(engine::Yuv420View::Layout layout)
{
    return layout == engine::Yuv420View::Layout::i420 ? AV_PIX_FMT_YUV420P : AV_PIX_FMT_NV12;
}

AvFrame makeYuv420Frame(engine::Yuv420View::Layout layout, std::int32_t width, std::int32_t height)
{
    AvFrame frame{av_frame_alloc()};
    if (!frame)
        return nullptr;
    frame->width = width;
    frame->height = height;
    frame->format = pixelFormat(layout);
    return av_frame_get_buffer(frame.get(), 0) == 0 ? std::move(frame) : nullptr;
}

void removeColours(AVFrame& frame)
{
    // In NV12 the second plane holds both colours.
    for (int plane = 1; plane < 3 && frame.data[plane]; ++plane)
        fillPlane(frame, plane, frame.height / 2, grey);
}

AvFrame makeBlackFrame(engine::Yuv420View::Layout layout, std::int32_t width, std::int32_t height)
{
    AvFrame frame = makeYuv420Frame(layout, width, height);
    if (frame) {
        fillPlane(*frame, 0, frame->height, black);
        removeColours(*frame);
    }
    return frame;
}

}  // namespace velmora::linux_backend
