// Dragging files out of this program on a Mac.
#pragma once

#include "platform/FileDrags.h"

#include <memory>

namespace velmora::mac_backend {

/// A drag begins in the window that has got the press of the button, at once, and goes on when that has gone.
std::shared_ptr<platform::FileDrags> makeFileDrags();

}  // namespace velmora::mac_backend
