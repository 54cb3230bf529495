// What the machine says before it sleeps and when it has woken.
#pragma once

#include "base/UniqueFunction.h"

#include <functional>
#include <memory>

namespace velmora::mac_backend {

/// Called on the main thread.
struct SleepObserver {
    /// The machine sleeps when `readyToSleep` has been called or released, or after 30 seconds; it may be called on any thread.
    std::function<void(const std::function<UniqueFunction<void()>()>& makeReadyToSleep)> willSleep;
    std::function<void()> didWake;
};

/// Observes until it is destroyed.
class SleepWatch {
public:
    virtual ~SleepWatch() = default;
};

/// Null where the system says nothing of sleep.
[[nodiscard]] std::unique_ptr<SleepWatch> watchSleep(SleepObserver observer);

}  // namespace velmora::mac_backend
