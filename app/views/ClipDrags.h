// Clips that are dragged out of the program's windows.
#pragma once

#include "system/SharedServices.h"

#include <QImage>

#include <cstddef>
#include <filesystem>
#include <functional>
#include <vector>

namespace velmora {

/// What follows the pointer: the first clip's picture, or the program's mark where it is null, and how many there are where they are several.
/// For a screen with `scale` pixels to a point.
[[nodiscard]] QImage draggedPicture(const QImage& picture, std::size_t count, double scale);

/// Has clips dragged, the first button of the pointer being held. Main thread only.
using DragClips = std::function<void(std::vector<std::filesystem::path>)>;

/// By the platform's drags, with pictures that are kept already: a drag does not wait until one is made.
[[nodiscard]] DragClips makeClipDrags(const SharedServices& services);

}  // namespace velmora
