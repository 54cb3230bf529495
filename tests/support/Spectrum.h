// How strong a frequency is in a piece of sound.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <span>

namespace velmora::test {

/// The amplitude of the sine of `frequency` in `channel` of interleaved samples, by Goertzel's algorithm under a Hann window: one
/// pass, and what is 10 Hz away in a second of sound leaks in at less than -100 dB.
inline double amplitudeAt(
    std::span<const float> interleaved, std::size_t channelCount, std::size_t channel, double sampleRate, double frequency)
{
    const auto frames = interleaved.size() / channelCount;
    if (frames < 2)
        return 0;
    const double omega = 2 * std::numbers::pi * frequency / sampleRate;
    const double coefficient = 2 * std::cos(omega);
    double previous = 0;
    double beforePrevious = 0;
    double windowSum = 0;
    for (std::size_t i = 0; i < frames; ++i) {
        const double window = 0.5 - 0.5 * std::cos(2 * std::numbers::pi * static_cast<double>(i) / static_cast<double>(frames));
        windowSum += window;
        const double current =
            static_cast<double>(interleaved[i * channelCount + channel]) * window + coefficient * previous - beforePrevious;
        beforePrevious = previous;
        previous = current;
    }
    const double power = previous * previous + beforePrevious * beforePrevious - coefficient * previous * beforePrevious;
    return 2 * std::sqrt(std::max(0.0, power)) / windowSum;
}

/// In decibels relative to full scale; -200 for nothing at all.
inline double decibels(double amplitude)
{
    return amplitude > 1e-10 ? 20 * std::log10(amplitude) : -200;
}

}  // namespace velmora::test
