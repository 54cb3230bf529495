#include "engine/pictures/DamageRegion.h"

#include <algorithm>

namespace velmora::engine {

void DamageRegion::add(PixelRect rectangle)
{
    if (rectangle.isEmpty())
        return;
    for (const auto& known : rectangles_) {
        if (contains(known, rectangle))
            return;
    }
    std::erase_if(rectangles_, [&](const PixelRect& known) { return contains(rectangle, known); });
    if (rectangles_.size() == maximumRectangles) {
        const auto all = bound().united(rectangle);
        rectangles_.assign(1, all);
        return;
    }
    rectangles_.push_back(rectangle);
}

void DamageRegion::add(const DamageRegion& other)
{
    for (const auto& rectangle : other.rectangles_)
        add(rectangle);
}

PixelRect DamageRegion::bound() const
{
    PixelRect all;
    for (const auto& rectangle : rectangles_)
        all = all.united(rectangle);
    return all;
}

}  // namespace velmora::engine
