// What is in each of the program's windows.
#pragma once

#include "app/SharedInstances.h"
#include "app/WindowPresenting.h"
#include "app/menu/TrayHost.h"
#include "app/views/QuickWindows.h"
#include "library/views/RunningExports.h"
#include "library/views/SmallFiles.h"
#include "platform/Player.h"
#include "system/SharedServices.h"

#include <functional>
#include <memory>

namespace velmora {

/// What the contents are made from.
struct WindowContentParts {
    const SharedServices& services;
    SharedInstances instances;
    std::shared_ptr<RunningExports> runningExports;  ///< keeps what previews export
    std::function<std::shared_ptr<WindowPresenting>()> windows;  ///< none before there is a delegate and after
    const TrayHost& trayHost;
    std::shared_ptr<SmallFiles> smallFiles;
};

/// Has the views of the windows that a menu leads to, the picker and the preview, read in advance: for when a menu opens.
void prepareWindowContents();

/// The same for the preview, and what it plays with. That stays in memory, so it is for when a preview is about to be asked for.
void preparePreview(platform::PlayerFactory& players);

QuickContent makeWindowContent(const WindowDescription& description, const WindowContentParts& parts);

}  // namespace velmora
