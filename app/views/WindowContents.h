// What is in each of the program's windows.
#pragma once

#include "app/views/QuickWindows.h"
#include "library/views/RunningExports.h"
#include "system/SharedServices.h"

namespace velmora {

/// `runningExports` keeps what previews export.
QuickContent makeWindowContent(
    const WindowDescription& description, const SharedServices& services, const std::shared_ptr<RunningExports>& runningExports);

}  // namespace velmora
