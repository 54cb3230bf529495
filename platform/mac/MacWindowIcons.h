// The icons of the applications whose windows ScreenCaptureKit has listed. Objective-C++ only.
#pragma once

#include "platform/WindowIcons.h"
#include "platform/mac/ShareableObjects.h"

#include <memory>

namespace velmora::mac_backend {

/// Of windows that are in `objects`.
[[nodiscard]] std::shared_ptr<platform::WindowIcons> makeWindowIcons(std::shared_ptr<ShareableObjects> objects);

}  // namespace velmora::mac_backend
