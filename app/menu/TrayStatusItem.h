// The status item in the desktop's tray.
#pragma once

#include "app/menu/StatusItem.h"

#include <memory>

namespace velmora {

/// By StatusNotifierItem where the desktop has a host for it, else by XEmbed. Where there is neither, the item waits for one: it appears
/// with it. A click opens our own menu at the pointer; a host that draws the menu itself gets it over the bus.
std::unique_ptr<StatusItem> makeTrayStatusItem();

/// Whether the desktop has a place for the item now.
[[nodiscard]] bool hasTray();

}  // namespace velmora
