// The part of a window that nobody has drawn yet.
#pragma once

#include "base/Geometry.h"

#include <vector>

namespace velmora::engine {

/// At first all of a window's content, less with each part that is drawn. Its parts do not overlap.
class UnpaintedArea {
public:
    explicit UnpaintedArea(PixelRect content = {});

    void paint(PixelRect drawn);

    [[nodiscard]] bool isEmpty() const { return parts_.empty(); }

private:
    std::vector<PixelRect> parts_;
};

}  // namespace velmora::engine
