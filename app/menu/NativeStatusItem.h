// The status item where the system draws it and its menu.
#pragma once

#include "app/menu/StatusItem.h"
#include "app/native/StatusBarItem.h"

#include <memory>

namespace velmora {

/// The picture at one and two pixels a point.
[[nodiscard]] BarPicture barPicture(const MenuBarImage& image);

/// What the system draws goes without captions.
std::unique_ptr<StatusItem> makeNativeStatusItem(std::unique_ptr<StatusBarItem> item);

}  // namespace velmora
