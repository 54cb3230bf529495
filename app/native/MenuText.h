// The words of a row where the system draws the menu.
#pragma once

#include "app/native/MenuItem.h"

#include <string>

namespace velmora {

/// The title in one line of at most 80 characters; what is left out is before its ending. Always UTF-8.
[[nodiscard]] std::string menuText(const MenuItem& item);

}  // namespace velmora
