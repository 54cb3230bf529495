// What changed in a picture, in a few rectangles.
#pragma once

#include "base/Geometry.h"

#include <vector>

namespace velmora::engine {

/// A union of rectangles that stays small: beyond `maximumRectangles` it becomes their bounding rectangle. Rectangles may overlap.
class DamageRegion {
public:
    static constexpr std::size_t maximumRectangles = 8;

    void add(PixelRect rectangle);
    void add(const DamageRegion& other);
    void clear() { rectangles_.clear(); }

    [[nodiscard]] bool isEmpty() const { return rectangles_.empty(); }
    [[nodiscard]] PixelRect bound() const;
    [[nodiscard]] const std::vector<PixelRect>& rectangles() const { return rectangles_; }

private:
    std::vector<PixelRect> rectangles_;
};

[[nodiscard]] inline bool contains(const PixelRect& outer, const PixelRect& inner)
{
    return inner.isEmpty() || outer.intersected(inner) == inner;
}

[[nodiscard]] inline PixelRect translated(PixelRect rectangle, std::int32_t dx, std::int32_t dy)
{
    return {rectangle.x + dx, rectangle.y + dy, rectangle.width, rectangle.height};
}

}  // namespace velmora::engine
