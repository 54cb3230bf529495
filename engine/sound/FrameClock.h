// Frames of a track and the times at which they are heard.
#pragma once

#include <cstdint>

namespace velmora::engine {

/// Frame 0 is heard at `origin`. Times are CLOCK_MONOTONIC nanoseconds. Calculated in two parts, because nanoseconds times a sample
/// rate overflow after two days.
struct FrameClock {
    std::int64_t origin = 0;
    std::int64_t sampleRate = 48000;

    /// The frame nearest to `time`.
    [[nodiscard]] constexpr std::int64_t frameAt(std::int64_t time) const
    {
        const auto elapsed = time - origin;
        const auto rest = elapsed % second * sampleRate;
        return elapsed / second * sampleRate + (rest + (rest < 0 ? -second / 2 : second / 2)) / second;
    }

    /// The nanosecond nearest to `frame`, which is not negative.
    [[nodiscard]] constexpr std::int64_t timeOf(std::int64_t frame) const
    {
        return origin + frame / sampleRate * second + (frame % sampleRate * second + sampleRate / 2) / sampleRate;
    }

    static constexpr std::int64_t second = 1'000'000'000;
};

}  // namespace velmora::engine
