// The part of a picture that changed, gathered over several pictures.
#pragma once

#include "base/Geometry.h"

#include <array>
#include <cstddef>
#include <span>

namespace velmora::engine {

/// A few rectangles, or everything. Never allocates: when there are too many rectangles, the last one grows over the rest.
class DirtyArea {
public:
    static constexpr std::size_t capacity = 8;

    static DirtyArea whole()
    {
        DirtyArea area;
        area.isWhole_ = true;
        return area;
    }

    [[nodiscard]] bool isWhole() const { return isWhole_; }

    [[nodiscard]] bool isEmpty() const { return !isWhole_ && count_ == 0; }

    /// Meaningless when whole.
    [[nodiscard]] std::span<const PixelRect> rectangles() const { return {rectangles_.data(), count_}; }

    void add(const PixelRect& rectangle)
    {
        if (rectangle.isEmpty())
            return;
        if (count_ < capacity)
            rectangles_[count_++] = rectangle;
        else
            rectangles_[capacity - 1] = rectangles_[capacity - 1].united(rectangle);
    }

    void add(const DirtyArea& other)
    {
        isWhole_ = isWhole_ || other.isWhole_;
        for (const PixelRect& rectangle : other.rectangles())
            add(rectangle);
    }

private:
    std::array<PixelRect, capacity> rectangles_{};
    std::size_t count_ = 0;
    bool isWhole_ = false;
};

}  // namespace velmora::engine
