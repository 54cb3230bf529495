// The clock for everything that is captured.
#pragma once

#include <cstdint>
#include <ctime>

namespace velmora {

inline constexpr std::int64_t nanosecondsPerSecond = 1'000'000'000;

/// CLOCK_MONOTONIC in nanoseconds: what X, PipeWire and the media times of a recording count.
[[nodiscard]] inline std::int64_t monotonicNow()
{
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return std::int64_t{now.tv_sec} * nanosecondsPerSecond + now.tv_nsec;
}

}  // namespace velmora
