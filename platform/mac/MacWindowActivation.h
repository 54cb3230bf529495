// Windows of this program on a Mac, and the screen where the user is.
#pragma once

#include "platform/WindowActivation.h"

#include <memory>

namespace velmora::mac_backend {

/// A native window is the address of its NSView. Screens are in points, from the top left corner of the first.
std::shared_ptr<platform::WindowActivation> makeWindowActivation();

}  // namespace velmora::mac_backend
