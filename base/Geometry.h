// Rectangles: in points with doubles, in pixels with integers. The origin is the top left; y grows downwards.
#pragma once

#include <algorithm>
#include <cstdint>

namespace velmora {

struct Rect {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;

    /// True when the two share an area. Rectangles that only touch at an edge do not intersect.
    [[nodiscard]] bool intersects(const Rect& other) const
    {
        return x < other.x + other.width && other.x < x + width && y < other.y + other.height && other.y < y + height;
    }

    friend bool operator==(const Rect&, const Rect&) = default;
};

struct PixelRect {
    std::int32_t x = 0;
    std::int32_t y = 0;
    std::int32_t width = 0;
    std::int32_t height = 0;

    [[nodiscard]] bool isEmpty() const { return width <= 0 || height <= 0; }

    [[nodiscard]] PixelRect intersected(const PixelRect& other) const
    {
        const auto left = std::max(x, other.x);
        const auto top = std::max(y, other.y);
        const auto right = std::min(x + width, other.x + other.width);
        const auto bottom = std::min(y + height, other.y + other.height);
        return {left, top, std::max(0, right - left), std::max(0, bottom - top)};
    }

    [[nodiscard]] PixelRect united(const PixelRect& other) const
    {
        if (isEmpty())
            return other;
        if (other.isEmpty())
            return *this;
        const auto left = std::min(x, other.x);
        const auto top = std::min(y, other.y);
        return {left, top, std::max(x + width, other.x + other.width) - left, std::max(y + height, other.y + other.height) - top};
    }

    friend bool operator==(const PixelRect&, const PixelRect&) = default;
};

}  // namespace velmora
