// The provider that ScreenCapture.h promises. Objective-C++ only.
#pragma once

#include "platform/ShareableContent.h"
#include "platform/mac/ShareableObjects.h"

#include <memory>

namespace velmora::mac_backend {

/// Its answers are kept in `objects`.
std::shared_ptr<platform::ShareableContentProvider> makeShareableContent(std::shared_ptr<ShareableObjects> objects);

}  // namespace velmora::mac_backend
