// Frames of a track and the times at which they are heard.
#pragma once

#include "base/MonotonicClock.h"

#include <chrono>
#include <cstdint>

namespace velmora::engine {

/// Frame 0 is heard at `origin`. Calculated in two parts, because nanoseconds times a sample
/// rate overflow after two days.
struct FrameClock {
    MonotonicTime origin;
    std::int64_t sampleRate = 48000;

    /// The frame nearest to `time`.
    [[nodiscard]] constexpr std::int64_t frameAt(MonotonicTime time) const
    {
        const auto elapsed = (time - origin).count();
        const auto rest = elapsed % second * sampleRate;
        return elapsed / second * sampleRate + (rest + (rest < 0 ? -second / 2 : second / 2)) / second;
    }

    /// The nanosecond nearest to `frame`, which is not negative.
    [[nodiscard]] constexpr MonotonicTime timeOf(std::int64_t frame) const
    {
        return origin + std::chrono::seconds{frame / sampleRate}
        + std::chrono::nanoseconds{(frame % sampleRate * second + sampleRate / 2) / sampleRate};
    }

    static constexpr std::int64_t second = std::chrono::nanoseconds{std::chrono::seconds{1}}.count();
};

}  // namespace velmora::engine
