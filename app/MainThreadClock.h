// The clock of the program's main thread.
#pragma once

#include "platform/Clock.h"

namespace velmora {

/// Timers run from the event loop of the main thread, to the millisecond.
class MainThreadClock final : public platform::Clock {
public:
    [[nodiscard]] std::chrono::system_clock::time_point now() const override;
    [[nodiscard]] std::unique_ptr<platform::Timer> schedule(std::chrono::nanoseconds delay, UniqueFunction<void()> work) override;
};

}  // namespace velmora
