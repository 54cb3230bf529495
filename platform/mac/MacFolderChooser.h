// The system's panel for a folder on a Mac.
#pragma once

#include "platform/FolderChooser.h"

#include <memory>

namespace velmora::mac_backend {

/// It belongs to no window: a program in the menu bar has none that stays.
std::shared_ptr<platform::FolderChooser> makeFolderChooser();

}  // namespace velmora::mac_backend
