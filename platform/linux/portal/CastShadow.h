// The shadow that a window draws around itself.
#pragma once

#include "base/Geometry.h"
#include "platform/linux/portal/CastBuffer.h"

#include <optional>

namespace velmora::linux_backend {

/// The content of the picture without the border of see-through pixels around it, which is a shadow that the window's program drew. GNOME
/// shares such a window with its shadow, in formats that by their names have no alpha, but leaves it in the fourth byte.
///
/// None while that is uncertain: a window may have see-through parts of its own, or be see-through while it opens. Reads pixels.
[[nodiscard]] std::optional<PixelRect> contentWithoutShadow(const CastPicture& picture);

}  // namespace velmora::linux_backend
