#include "platform/mac/PictureScaling.h"

#include "engine/pictures/FitRectangle.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

namespace velmora::mac_backend {

namespace {

constexpr std::size_t bytesPerPixel = 4;
constexpr std::int64_t one = 256;

/// Between which two pixels of a line one of the target lies, and how near to the second, of `one`.
struct Between {
    std::size_t first = 0;
    std::size_t second = 0;
    std::int64_t weight = 0;
};

/// The middles of the pixels lie on each other.
Between between(std::int32_t at, std::int32_t side, std::int32_t sourceSide)
{
    const std::int64_t middle = ((2 * std::int64_t{at} + 1) * sourceSide * one / side - one) / 2;
    const std::int64_t inside = std::clamp<std::int64_t>(middle, 0, (std::int64_t{sourceSide} - 1) * one);
    const auto first = static_cast<std::size_t>(inside / one);
    return {first, std::min(first + 1, static_cast<std::size_t>(sourceSide) - 1), inside % one};
}

std::uint8_t mixed(const std::byte* line, const std::byte* nextLine, const Between& column, std::int64_t rowWeight, std::size_t channel)
{
    const auto value = [channel](const std::byte* of, std::size_t pixel) {
        return std::to_integer<std::int64_t>(of[pixel * bytesPerPixel + channel]);
    };
    const std::int64_t above = value(line, column.first) * (one - column.weight) + value(line, column.second) * column.weight;
    const std::int64_t below = value(nextLine, column.first) * (one - column.weight) + value(nextLine, column.second) * column.weight;
    return static_cast<std::uint8_t>((above * (one - rowWeight) + below * rowWeight) / (one * one));
}

}  // namespace

void drawFitted(const PixelBuffer& picture, const platform::PictureTarget& target)
{
    if (target.width < 1 || target.height < 1)
        return;
    constexpr std::uint32_t black = 0xFF000000;
    const auto fit = engine::fitRectangle(picture.width, picture.height, target.width, target.height);
    std::vector<Between> columns;
    columns.reserve(static_cast<std::size_t>(fit.width));
    for (std::int32_t x = 0; x < fit.width; ++x)
        columns.push_back(between(x, fit.width, picture.width));
    for (std::int32_t y = 0; y < target.height; ++y) {
        std::byte* const row = target.pixels + static_cast<std::size_t>(y) * target.bytesPerRow;
        for (std::int32_t x = 0; x < target.width; ++x)
            std::memcpy(row + static_cast<std::size_t>(x) * bytesPerPixel, &black, sizeof black);
        if (y < fit.y || y >= fit.y + fit.height)
            continue;
        const auto lines = between(y - fit.y, fit.height, picture.height);
        const std::byte* const line = picture.baseAddress + lines.first * picture.bytesPerRow;
        const std::byte* const nextLine = picture.baseAddress + lines.second * picture.bytesPerRow;
        std::byte* out = row + static_cast<std::size_t>(fit.x) * bytesPerPixel;
        for (const auto& column : columns) {
            for (std::size_t channel = 0; channel < 3; ++channel)
                out[channel] = static_cast<std::byte>(mixed(line, nextLine, column, lines.weight, channel));
            out += bytesPerPixel;
        }
    }
}

}  // namespace velmora::mac_backend
