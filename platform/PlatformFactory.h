// Seam: the one function that chooses the back end.
#pragma once

#include "base/SerialQueue.h"
#include "platform/ApplicationIcon.h"
#include "platform/PlatformServices.h"

#include <memory>

namespace velmora::platform {

/// Chooses the back end for the desktop that this process runs on. Once, on the main thread, at program start; connects to nothing
/// until a service is used. `mainExecutor` is the main thread.
PlatformServices makePlatformServices(std::shared_ptr<Executor> mainExecutor, MakeApplicationIcon makeIcon);

}  // namespace velmora::platform
