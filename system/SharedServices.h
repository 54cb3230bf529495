// What the shared instances are wired up with.
#pragma once

#include "base/SerialQueue.h"
#include "platform/Clock.h"
#include "platform/PlatformServices.h"

#include <memory>

namespace velmora {

/// The platform services of this process, for the `shared()` instances and for nothing else: every type takes what it works with in its
/// constructor. Main thread only.
struct SharedServices {
    platform::PlatformServices platform;
    std::shared_ptr<Executor> mainExecutor;
    std::shared_ptr<platform::Clock> clock;

    /// Once, before the first shared instance is used.
    static void install(SharedServices services);

    /// They must have been installed.
    static const SharedServices& current();
};

}  // namespace velmora
