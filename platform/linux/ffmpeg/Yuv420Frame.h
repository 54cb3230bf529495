// Frames in 4:2:0 in our own memory.
#pragma once

#include "engine/codecs/ColourConversion.h"
#include "platform/linux/ffmpeg/AvHandles.h"

#include <cstdint>

namespace velmora::linux_backend {

[[nodiscard]] AVPixelFormat pixelFormat(engine::Yuv420View::Layout layout);

/// A frame whose pixels are not set. `width` and `height` are even. Null when out of memory.
[[nodiscard]] AvFrame makeYuv420Frame(engine::Yuv420View::Layout layout, std::int32_t width, std::int32_t height);

/// Makes every pixel's colour grey; its brightness stays.
void removeColours(AVFrame& frame);

/// The same, but all black.
[[nodiscard]] AvFrame makeBlackFrame(engine::Yuv420View::Layout layout, std::int32_t width, std::int32_t height);

}  // namespace velmora::linux_backend
