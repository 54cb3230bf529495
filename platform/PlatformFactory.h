// Seam: the functions that belong to the platform before a back end is chosen, and the one that chooses it.
#pragma once

#include "base/SerialQueue.h"
#include "platform/ApplicationIcon.h"
#include "platform/PlatformServices.h"

#include <memory>

namespace velmora::platform {

/// What holds for the whole process, such as how its memory is allocated. To be called first in main, before there are other threads.
void prepareProcess();

/// Chooses the back end for the desktop that this process runs on. Once, on the main thread, at program start; connects to nothing
/// until a service is used. `mainExecutor` is the main thread.
PlatformServices makePlatformServices(std::shared_ptr<Executor> mainExecutor, MakeApplicationIcon makeIcon);

}  // namespace velmora::platform
