// Where a picture of one size lies within a picture of another.
#pragma once

#include "base/Geometry.h"

#include <algorithm>
#include <cstdint>

namespace velmora::engine {

/// The largest rectangle of the source's shape inside the destination, centred. Both sizes are at least 1 x 1, and so is the result.
[[nodiscard]] inline PixelRect fitRectangle(std::int32_t sourceWidth, std::int32_t sourceHeight, std::int32_t width, std::int32_t height)
{
    const std::int64_t sw = sourceWidth;
    const std::int64_t sh = sourceHeight;
    std::int64_t fittedWidth = width;
    std::int64_t fittedHeight = height;
    if (sw * height >= sh * width)
        fittedHeight = std::clamp<std::int64_t>((sh * width + sw / 2) / sw, 1, height);
    else
        fittedWidth = std::clamp<std::int64_t>((sw * height + sh / 2) / sh, 1, width);
    return {static_cast<std::int32_t>((width - fittedWidth) / 2), static_cast<std::int32_t>((height - fittedHeight) / 2),
        static_cast<std::int32_t>(fittedWidth), static_cast<std::int32_t>(fittedHeight)};
}

}  // namespace velmora::engine
