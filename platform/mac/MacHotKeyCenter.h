// Hot keys of the Carbon Event Manager, which are the desktop's own on a Mac.
#pragma once

#include "platform/HotKeyCenter.h"

#include <memory>

namespace velmora::mac_backend {

/// Its events come in the main thread's event loop. Nothing is registered with the system before the first call.
std::shared_ptr<platform::HotKeyCenter> makeHotKeyCenter();

}  // namespace velmora::mac_backend
