// What an X server and its window manager say of monitors, panels and the focus.
#pragma once

#include "platform/linux/x11/Connection.h"
#include "platform/linux/x11/MainScreen.h"

namespace velmora::linux_backend {

/// By RandR 1.5; none without it.
[[nodiscard]] std::vector<Monitor> readMonitors(const Connection& connection);

/// As it is now. What is missing, or goes away while it is asked for, is left out. Waits for some round trips to the server, whatever the
/// number of windows.
[[nodiscard]] DesktopLayout readDesktopLayout(const Connection& connection);

}  // namespace velmora::linux_backend
