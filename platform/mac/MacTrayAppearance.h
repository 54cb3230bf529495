// The look of the menu bar on a Mac.
#pragma once

#include "platform/TrayAppearance.h"

#include <memory>

namespace velmora::mac_backend {

/// Items are black there, as pictures that are marked as templates: the menu bar gives them the colour that its background wants.
std::shared_ptr<platform::TrayAppearance> makeTrayAppearance();

}  // namespace velmora::mac_backend
