// The status item in the desktop's tray.
#pragma once

#include "app/menu/StatusItem.h"
#include "app/menu/TrayHost.h"
#include "platform/TrayAppearance.h"

#include <memory>

namespace velmora {

/// By StatusNotifierItem where the desktop has a host for it, else by XEmbed. Where there is neither, the item waits for one and appears
/// with it. A click opens our own menu at the pointer; a host that draws the menu itself gets it over the bus.
/// The image is in the colour that the tray gives; where it gives none, a host that knows our icons by name gets the name and colours them
/// itself, and any other gets a light mark with a dark edge, which shows on every background.
/// `menuDidOpen` is called each time that a menu of the item has come onto the screen.
/// `host`, which outlives the item, has to have answered before it appears.
std::unique_ptr<StatusItem> makeTrayStatusItem(
    std::shared_ptr<platform::TrayAppearance> appearance, TrayHost& host, std::function<void()> menuDidOpen);

}  // namespace velmora
