// Keeps the encoder's picture up to date.
#pragma once

#include "engine/codecs/ColourConversion.h"
#include "engine/codecs/DirtyArea.h"
#include "media/PixelBuffer.h"
#include "platform/linux/ffmpeg/AvHandles.h"

namespace velmora::linux_backend {

/// Converts one stream of pictures of one size into one 4:2:0 frame, of which only the changed part is redone. Used on one thread.
class PictureConverter {
public:
    PictureConverter(std::int32_t width, std::int32_t height, engine::Yuv420View::Layout layout);

    /// The frame that shows `picture`; stays valid until the next call. `changed` is relative to the picture of the call before.
    /// Whoever takes a reference to the frame keeps what it shows: then the next call writes into another one. Null when out of memory.
    AVFrame* convert(const PixelBuffer& picture, const engine::DirtyArea& changed);

private:
    const std::int32_t width_;
    const std::int32_t height_;
    const engine::Yuv420View::Layout layout_;
    AvFrame frame_;
};

}  // namespace velmora::linux_backend
