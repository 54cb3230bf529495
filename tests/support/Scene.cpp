#include "tests/support/Scene.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace velmora::test {

namespace {

constexpr std::uint32_t hash(int x, int y, std::uint32_t layer)
{
    std::uint32_t value = static_cast<std::uint32_t>(x) * 0x9e3779b1U ^ static_cast<std::uint32_t>(y) * 0x85ebca6bU ^ layer * 0xc2b2ae35U;
    value ^= value >> 15U;
    value *= 0x2c1b3c6dU;
    value ^= value >> 12U;
    value *= 0x297a2d39U;
    return value ^ value >> 15U;
}

/// 0 to 255, from random values at every 2^`scale` quarters of a pixel and what lies straight between them.
constexpr int smooth(int x, int y, int scale, std::uint32_t layer)
{
    const int side = 1 << scale;
    const int left = x >> scale;
    const int top = y >> scale;
    const int right = x & (side - 1);
    const int down = y & (side - 1);
    const auto corner = [&](int dx, int dy) { return static_cast<int>(hash(left + dx, top + dy, layer) & 255U); };
    const int above = corner(0, 0) * (side - right) + corner(1, 0) * right;
    const int below = corner(0, 1) * (side - right) + corner(1, 1) * right;
    return (above * (side - down) + below * down) >> (2 * scale);
}

/// -`amplitude` to `amplitude` - 1; no picture shares it with the next. `amplitude` is a power of two.
constexpr int grain(int x, int y, std::uint32_t index, int amplitude)
{
    return static_cast<int>(hash(x, y, 100 + index) & static_cast<std::uint32_t>(2 * amplitude - 1)) - amplitude;
}

constexpr std::uint8_t grey(int value)
{
    return static_cast<std::uint8_t>(std::clamp(value, 16, 235));
}

/// Pictures shown back and forth: neighbours are always alike.
template <std::uint32_t count>
constexpr std::uint32_t backAndForth(std::uint32_t frame)
{
    const auto place = frame % (2 * count - 2);
    return place < count ? place : 2 * count - 2 - place;
}

template <std::uint32_t count>
constexpr std::uint32_t roundAndRound(std::uint32_t frame)
{
    return frame % count;
}

constexpr std::uint32_t grainPictures = 24;

/// Three layers that move apart by quarters of a pixel, the nearest fastest.
constexpr std::uint8_t grainAt(int x, int y, std::uint32_t index)
{
    const int time = static_cast<int>(index);
    const int far = smooth(4 * x + 5 * time, 4 * y + time, 8, 1);
    const int middle = smooth(4 * x - 11 * time, 4 * y + 7 * time, 6, 2);
    const int near = smooth(4 * x + 19 * time, 4 * y + 13 * time, 4, 3);
    return grey(40 + far / 2 + middle / 4 + near / 8 + grain(x, y, index, 8) / 2);
}

/// Soft light, round things with sharp edges and a surface, in quarters of a pixel. Another layer is another photograph.
constexpr int photograph(int x, int y, std::uint32_t layer)
{
    constexpr int scale = 10;
    int value = smooth(x, y, 11, layer) / 2 + smooth(x, y, 9, layer + 1) / 8 + smooth(x, y, 5, layer + 2) / 16 + 30;
    const auto thing = hash(x >> scale, y >> scale, layer + 3);
    const int right = (x & ((1 << scale) - 1)) - (1 << (scale - 1));
    const int down = (y & ((1 << scale) - 1)) - (1 << (scale - 1));
    const int radius = 100 + static_cast<int>(thing & 255U);
    if (right * right + down * down < radius * radius)
        value = static_cast<int>(thing >> 8U & 127U) + 50 + (right + down) / 16 + smooth(x, y, 4, layer + 4) / 10;
    return value;
}

constexpr std::uint32_t filmPictures = 36;

constexpr std::uint8_t filmAt(int x, int y, std::uint32_t index)
{
    const int time = static_cast<int>(index);
    return grey(photograph(4 * x + 6 * time, 4 * y + time, 10) + grain(x, y, index, 2));
}

/// Whether there is ink at a point of a page of signs, each of them some of seven strokes, in words and lines of unequal length.
constexpr bool hasInk(int x, int y, int lineHeight, std::uint32_t layer)
{
    constexpr int advance = 9;
    const int line = y / lineHeight;
    const int sign = x / advance;
    const auto strokes = hash(sign, line, layer);
    const bool isBehindTheEnd = sign > 20 + static_cast<int>(hash(0, line, layer + 1) % 110U);
    if (sign < 2 || isBehindTheEnd || strokes % 6 == 0)
        return false;
    const int right = x % advance - 1;
    const int down = y % lineHeight - (lineHeight - 11) / 2;
    if (right < 0 || right > 6 || down < 0 || down > 10)
        return false;
    const bool isLeft = right < 2;
    const bool isRight = right > 4;
    const bool isUpper = down < 6;
    const bool stroke[] = {down<2, down == 5, down> 8, isLeft && isUpper, isLeft && !isUpper, isRight && isUpper, isRight && !isUpper};
    for (std::uint32_t which = 0; which < std::size(stroke); ++which) {
        if (stroke[which] && (strokes >> (8 + which) & 1U) != 0)
            return true;
    }
    return false;
}

constexpr int textLine = 24;
constexpr int textStep = 4;
constexpr std::uint32_t textPictures = 60;

constexpr std::uint8_t textAt(int x, int y, std::uint32_t index)
{
    constexpr int period = textStep * static_cast<int>(textPictures);
    static_assert(period % textLine == 0);
    return hasInk(x, (y + textStep * static_cast<int>(index)) % period, textLine, 20) ? 30 : 235;
}

constexpr int terminalLine = 20;
constexpr std::uint32_t terminalPictures = 24;

constexpr std::uint32_t terminalIndexOf(std::uint32_t frame)
{
    return frame / 2 % terminalPictures;
}

constexpr std::uint8_t terminalAt(int x, int y, std::uint32_t index)
{
    constexpr int period = terminalLine * static_cast<int>(terminalPictures);
    return hasInk(x, (y + terminalLine * static_cast<int>(index)) % period, terminalLine, 30) ? 210 : 24;
}

constexpr std::uint32_t slidePictures = 8;

constexpr std::uint32_t slideIndexOf(std::uint32_t frame)
{
    return frame / 120 % slidePictures;
}

constexpr std::uint8_t slideAt(int x, int y, std::uint32_t index)
{
    return index % 2 == 0 ? grey(photograph(4 * x, 4 * y, 40 + 10 * index)) : hasInk(x, y, 36, 40 + 10 * index) ? 40 : 225;
}

constexpr Scene scenes[] = {{"grain", grainPictures, backAndForth<grainPictures>, grainAt},
    {"film", filmPictures, backAndForth<filmPictures>, filmAt}, {"text", textPictures, roundAndRound<textPictures>, textAt},
    {"terminal", terminalPictures, terminalIndexOf, terminalAt}, {"slides", slidePictures, slideIndexOf, slideAt}};

}  // namespace

std::vector<std::uint8_t> Scene::picture(std::uint32_t index, int width, int height) const
{
    std::vector<std::uint8_t> pixels;
    pixels.reserve(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x)
            pixels.push_back(greyAt(x, y, index));
    }
    return pixels;
}

const Scene* Scene::named(std::string_view name)
{
    const auto* found = std::find_if(std::begin(scenes), std::end(scenes), [&](const Scene& scene) { return scene.name == name; });
    return found == std::end(scenes) ? nullptr : found;
}

}  // namespace velmora::test
