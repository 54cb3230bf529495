// The clock for everything that is captured.
#pragma once

#include <chrono>
#include <ctime>

namespace velmora {

/// CLOCK_MONOTONIC, which X, PipeWire and the media times of a recording count in nanoseconds. A clock as std::chrono describes one; the
/// library's own steady clock does not say which of the system's it is.
struct MonotonicClock {
    using duration = std::chrono::nanoseconds;
    using rep = duration::rep;
    using period = duration::period;
    using time_point = std::chrono::time_point<MonotonicClock>;
    static constexpr bool is_steady = true;

    [[nodiscard]] static time_point now() noexcept
    {
        timespec now{};
        ::clock_gettime(CLOCK_MONOTONIC, &now);
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
