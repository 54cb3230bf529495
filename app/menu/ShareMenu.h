// The menu of what a clip can be shared with.
#pragma once

#include "library/views/SmallFiles.h"
#include "platform/SharingServices.h"

#include <QPoint>

#include <filesystem>
#include <memory>

namespace velmora {

/// Opens the menu with its top left corner at `position`, in points of the screen. It lives on its own until something is chosen or it is
/// closed, even when what opened it is gone.
void popUpShareMenu(std::shared_ptr<platform::SharingServices> sharing, std::shared_ptr<SmallFiles> smallFiles,
    const std::filesystem::path& file, const QPoint& position);

}  // namespace velmora
