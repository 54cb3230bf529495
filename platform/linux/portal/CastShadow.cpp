#include "platform/linux/portal/CastShadow.h"

#include <array>
#include <cstdint>

namespace velmora::linux_backend {

namespace {

constexpr std::byte opaque{0xff};

/// How many pixels from `x`, `y` on are see-through, at most `length`.
std::int32_t seeThrough(
    const CastPicture& picture, std::int32_t x, std::int32_t y, std::int32_t stepX, std::int32_t stepY, std::int32_t length)
{
    for (std::int32_t count = 0; count < length; ++count) {
        const auto column = static_cast<std::size_t>(picture.content.x + x + count * stepX);
        const auto row = static_cast<std::size_t>(picture.content.y + y + count * stepY);
        if (picture.pixels[row * picture.bytesPerRow + column * bytesPerPixel + 3] == opaque)
            return count;
    }
    return length;
}

/// A window's edges are straight: the border counts where it is equally wide in three places.
template <typename Border>
std::optional<std::int32_t> borderOf(std::int32_t side, std::int32_t length, Border border)
{
    const std::array<std::int32_t, 3> widths{border(side / 4), border(side / 2), border(side - side / 4 - 1)};
    if (widths[0] != widths[1] || widths[1] != widths[2] || widths[0] > length / 3)
        return std::nullopt;
    return widths[0];
}

}  // namespace

std::optional<PixelRect> contentWithoutShadow(const CastPicture& picture)
{
    const auto& content = picture.content;
    const auto width = content.width;
    const auto height = content.height;
    const auto left = borderOf(height, width, [&](std::int32_t y) { return seeThrough(picture, 0, y, 1, 0, width); });
    const auto right = borderOf(height, width, [&](std::int32_t y) { return seeThrough(picture, width - 1, y, -1, 0, width); });
    const auto top = borderOf(width, height, [&](std::int32_t x) { return seeThrough(picture, x, 0, 0, 1, height); });
    const auto bottom = borderOf(width, height, [&](std::int32_t x) { return seeThrough(picture, x, height - 1, 0, -1, height); });
    if (!left || !right || !top || !bottom)
        return std::nullopt;
    return PixelRect{content.x + *left, content.y + *top, width - *left - *right, height - *top - *bottom};
}

}  // namespace velmora::linux_backend
