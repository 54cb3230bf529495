// The clock for everything that is captured.
#pragma once

#include <chrono>
#include <ctime>

namespace velmora {

/// The clock of the system that captured samples are stamped with: on Linux CLOCK_MONOTONIC, which X and PipeWire count in nanoseconds; on
/// a Mac the host time of mach_absolute_time(), which stands still while the machine sleeps, as CLOCK_MONOTONIC does not there.
#if defined(__APPLE__)
inline constexpr clockid_t captureClock = CLOCK_UPTIME_RAW;
#else
inline constexpr clockid_t captureClock = CLOCK_MONOTONIC;
#endif

/// A clock as std::chrono describes one; the library's own steady clock does not say which of the system's it is.
struct MonotonicClock {
    using duration = std::chrono::nanoseconds;
    using rep = duration::rep;
    using period = duration::period;
    using time_point = std::chrono::time_point<MonotonicClock>;
    static constexpr bool is_steady = true;

    [[nodiscard]] static time_point now() noexcept
    {
        timespec now{};
        ::clock_gettime(captureClock, &now);
        return time_point{std::chrono::seconds{now.tv_sec} + std::chrono::nanoseconds{now.tv_nsec}};
    }
};

/// A moment of that clock, to the nanosecond.
using MonotonicTime = MonotonicClock::time_point;

/// `duration`, which is not negative, as system calls take it.
[[nodiscard]] constexpr timespec toTimespec(std::chrono::nanoseconds duration)
{
    const auto seconds = std::chrono::floor<std::chrono::seconds>(duration);
    return {static_cast<time_t>(seconds.count()), static_cast<long>((duration - seconds).count())};
}

}  // namespace velmora
