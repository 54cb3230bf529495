// Windows of this program that float above others on a Mac.
#pragma once

#include "platform/FloatingWindows.h"

#include <memory>

namespace velmora::mac_backend {

/// A native window is the address of its NSView. A window in front is there on all spaces, also beside one that has the whole screen. An area
/// is not cut out: clicks go through a window where it is transparent, and everywhere without one.
std::shared_ptr<platform::FloatingWindows> makeFloatingWindows();

}  // namespace velmora::mac_backend
