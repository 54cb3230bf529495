// Seam: the time of day, and work at a later time.
#pragma once

#include "base/UniqueFunction.h"

#include <chrono>
#include <memory>

namespace velmora::platform {

/// A piece of work that is due once. Destroying it invalidates it.
class Timer {
public:
    virtual ~Timer() = default;
};

/// Main thread only.
class Clock {
public:
    virtual ~Clock() = default;

    /// The wall clock, which may jump.
    [[nodiscard]] virtual std::chrono::system_clock::time_point now() const = 0;

    /// Runs `work` once on the main thread when `delay` has passed, unless the timer is destroyed first. `work` may destroy its timer.
    [[nodiscard]] virtual std::unique_ptr<Timer> schedule(std::chrono::nanoseconds delay, UniqueFunction<void()> work) = 0;
};

}  // namespace velmora::platform
