// Our own dialog for choosing a folder.
#pragma once

#include "platform/FileManager.h"
#include "platform/FolderChooser.h"
#include "platform/WindowActivation.h"

#include <memory>

namespace velmora {

/// A window that blocks the one that had the focus until it is answered or closed.
std::shared_ptr<platform::FolderChooser> makeFolderChooserWindow(
    std::shared_ptr<platform::FileManager> fileManager, std::shared_ptr<platform::WindowActivation> activation);

}  // namespace velmora
