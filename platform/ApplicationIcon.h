// Seam: the icon of an application, our own for services that show it.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

namespace velmora::platform {

/// A square. Rows from the top, without gaps; a pixel is red, green, blue and alpha, a byte each, not premultiplied.
struct ApplicationIcon {
    int side = 0;  ///< pixels
    std::vector<std::uint8_t> rgba;
};

/// Paints the icon when a service needs it for the first time; main thread.
using MakeApplicationIcon = std::function<ApplicationIcon()>;

}  // namespace velmora::platform
