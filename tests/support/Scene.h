// Grey pictures that move all over, with a camera's grain: for comparing what encoders make of them. The same number gives the same
// picture on every machine.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace velmora::test {

class Scene {
public:
    /// How many pictures, shown back and forth: neighbours are always alike.
    static constexpr std::uint32_t count = 24;

    /// Which of them belongs to a frame.
    static constexpr std::uint32_t indexOf(std::uint32_t frame)
    {
        const auto place = frame % (2 * count - 2);
        return place < count ? place : 2 * count - 2 - place;
    }

    /// Rows from the top, a byte a pixel, 0 black to 255 white.
    static std::vector<std::uint8_t> picture(std::uint32_t index, int width, int height)
    {
        std::vector<std::uint8_t> pixels(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
        auto* pixel = pixels.data();
        const int time = static_cast<int>(index);
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x, ++pixel) {
                // Three layers that move apart by quarters of a pixel, the nearest fastest, and grain that no picture shares
                // with the next.
                const int far = smooth(4 * x + 5 * time, 4 * y + time, 8, 1);
                const int middle = smooth(4 * x - 11 * time, 4 * y + 7 * time, 6, 2);
                const int near = smooth(4 * x + 19 * time, 4 * y + 13 * time, 4, 3);
                const int grain = static_cast<int>(hash(x, y, 100 + index) & 15U) - 8;
                *pixel = static_cast<std::uint8_t>(std::clamp(40 + far / 2 + middle / 4 + near / 8 + grain / 2, 16, 235));
            }
        }
        return pixels;
    }

private:
    static constexpr std::uint32_t hash(int x, int y, std::uint32_t layer)
    {
        std::uint32_t value =
            static_cast<std::uint32_t>(x) * 0x9e3779b1U ^ static_cast<std::uint32_t>(y) * 0x85ebca6bU ^ layer * 0xc2b2ae35U;
        value ^= value >> 15U;
        value *= 0x2c1b3c6dU;
        value ^= value >> 12U;
        value *= 0x297a2d39U;
        return value ^ value >> 15U;
    }

    /// 0 to 255, from random values at every 2^`scale` quarters of a pixel and what lies straight between them.
    static constexpr int smooth(int x, int y, int scale, std::uint32_t layer)
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
};

}  // namespace velmora::test
