#include "engine/pictures/UnpaintedArea.h"

#include <utility>

namespace velmora::engine {

UnpaintedArea::UnpaintedArea(PixelRect content)
{
    if (!content.isEmpty())
        parts_.push_back(content);
}

void UnpaintedArea::paint(PixelRect drawn)
{
    std::vector<PixelRect> left;
    const auto keep = [&left](PixelRect part) {
        if (!part.isEmpty())
            left.push_back(part);
    };
    for (const auto& part : parts_) {
        const auto gone = part.intersected(drawn);
        if (gone.isEmpty()) {
            keep(part);
            continue;
        }
        const auto below = gone.y + gone.height;
        const auto beside = gone.x + gone.width;
        keep({part.x, part.y, part.width, gone.y - part.y});
        keep({part.x, gone.y, gone.x - part.x, gone.height});
        keep({beside, gone.y, part.x + part.width - beside, gone.height});
        keep({part.x, below, part.width, part.y + part.height - below});
    }
    parts_ = std::move(left);
}

}  // namespace velmora::engine
