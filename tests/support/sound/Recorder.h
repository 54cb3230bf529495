// Keeps what a source of sound delivers, for tests to examine.
#pragma once

#include "base/Mutex.h"
#include "media/SampleBuffer.h"
#include "tests/support/Spectrum.h"

#include <chrono>
#include <cstdint>
#include <cstring>
#include <functional>
#include <utility>
#include <vector>

namespace velmora::test {

/// In the nanoseconds in which sound is timed.
inline constexpr std::int64_t millisecond = 1'000'000;

class Recorder {
public:
    static constexpr std::size_t channelCount = 2;
    static constexpr double sampleRate = 48000;

    struct Block {
        std::int64_t stamp = 0;  ///< nanoseconds
        std::size_t begin = 0;  ///< in frames
        std::size_t frames = 0;
        std::int64_t arrival = 0;  ///< CLOCK_MONOTONIC nanoseconds
    };

    void add(const SampleBufferRef& sample)
    {
        MutexLock lock(mutex_);
        const auto frames = static_cast<std::size_t>(sample->sampleCount);
        const auto now = std::chrono::steady_clock::now().time_since_epoch();
        blocks_.push_back(
            {sample->presentationTimeStamp.value, samples_.size() / channelCount, frames, std::chrono::nanoseconds{now}.count()});
        const auto before = samples_.size();
        samples_.resize(before + frames * channelCount);
        std::memcpy(samples_.data() + before, sample->data.bytes.data(), frames * channelCount * sizeof(float));
        last_ = sample;
        arrived_.notifyAll();
    }

    /// Frames so far.
    std::size_t position()
    {
        MutexLock lock(mutex_);
        return samples_.size() / channelCount;
    }

    std::vector<Block> blocks()
    {
        MutexLock lock(mutex_);
        return blocks_;
    }

    SampleBufferRef last()
    {
        MutexLock lock(mutex_);
        return last_;
    }

    /// Interleaved samples of [begin, begin + frames).
    std::vector<float> samples(std::size_t begin, std::size_t frames)
    {
        MutexLock lock(mutex_);
        const auto first = samples_.begin() + static_cast<std::ptrdiff_t>(begin * channelCount);
        return {first, first + static_cast<std::ptrdiff_t>(frames * channelCount)};
    }

    /// Waits until `frames` have come after `begin`; false if they have not within a minute.
    bool waitFor(std::size_t begin, std::size_t frames)
    {
        return waitUntil([&] { return position() >= begin + frames; });
    }

    /// Waits until `condition` holds after some block; false if it has not within a minute.
    bool waitUntil(const std::function<bool()>& condition)
    {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes{1};
        for (;;) {
            if (condition())
                return true;
            MutexLock lock(mutex_);
            if (!arrived_.waitUntil(mutex_, deadline) && std::chrono::steady_clock::now() >= deadline)
                return false;
        }
    }

    /// The level of `frequency` in dB relative to full scale over [begin, begin + frames).
    double level(std::size_t begin, std::size_t frames, double frequency, std::size_t channel = 0)
    {
        return decibels(amplitudeAt(samples(begin, frames), channelCount, channel, sampleRate, frequency));
    }

    /// Waits until the last fifth of a second holds the tone at its full level, or (`present` false) next to nothing of it. `meanwhile` is
    /// called for every block.
    bool waitForTone(
        double frequency, bool present = true, const std::function<void()>& meanwhile = [] {})
    {
        constexpr std::size_t window = 9600;
        const auto begin = position();
        return waitUntil([&] {
            meanwhile();
            const auto end = position();
            if (end < begin + window)
                return false;
            const auto now = level(end - window, window, frequency);
            return present ? now > -7 : now < -80;
        });
    }

    /// Waits for a second from now on that holds all of `tone` at half of full scale, and returns how loud `other` is in it, in dB against
    /// the tone. A second in which the player itself stumbled (a loaded machine) is skipped: a break in a tone is heard at every
    /// frequency. None within a minute gives 0.
    double cleanestSecond(double tone, double other, std::size_t channel = 0)
    {
        constexpr std::size_t window = 48000;
        constexpr double half = -6.02;
        auto begin = position();
        double result = 0;
        waitUntil([&] {
            if (position() < begin + window)
                return false;
            const auto loudness = level(begin, window, tone, channel);
            const auto relative = level(begin, window, other, channel) - loudness;
            begin += window;
            if (std::abs(loudness - half) > 0.2)
                return false;
            result = relative;
            return result < -60;
        });
        return result;
    }

    /// The largest difference, in nanoseconds, between a block's time and the end of the previous one.
    std::int64_t largestGap()
    {
        std::int64_t largest = 0;
        const auto all = blocks();
        for (std::size_t i = 1; i < all.size(); ++i) {
            const auto expected = all[i - 1].stamp + static_cast<std::int64_t>(static_cast<double>(all[i - 1].frames) * 1e9 / sampleRate);
            largest = std::max(largest, std::abs(all[i].stamp - expected));
        }
        return largest;
    }

private:
    Mutex mutex_;
    ConditionVariable arrived_;
    std::vector<Block> blocks_ GUARDED_BY(mutex_);
    std::vector<float> samples_ GUARDED_BY(mutex_);
    SampleBufferRef last_ GUARDED_BY(mutex_);
};

}  // namespace velmora::test
