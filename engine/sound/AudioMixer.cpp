#include "engine/sound/AudioMixer.h"

#include <algorithm>
#include <cassert>
#include <cmath>

namespace velmora::engine {

namespace {

// How far ahead of the clock sound may be: the delay of a wireless loudspeaker with room to spare.
constexpr std::int64_t secondsKept = 3;

}  // namespace

AudioMixer::AudioMixer(std::int32_t sampleRate, std::int32_t channelCount, MonotonicTime origin)
    : clock_{origin, sampleRate}
    , channelCount_(static_cast<std::size_t>(channelCount))
    , capacity_(secondsKept * sampleRate)
    , ring_(static_cast<std::size_t>(capacity_) * channelCount_)
{
    assert(sampleRate > 0 && channelCount > 0);
}

int AudioMixer::addInput(std::chrono::nanoseconds tolerance)
{
    const auto frames = std::max<std::int64_t>(1, tolerance.count() * clock_.sampleRate / FrameClock::second);
    inputs_.emplace(++lastInput_, Input{InputTimeline{static_cast<std::int32_t>(frames)}});
    return lastInput_;
}

void AudioMixer::removeInput(int input)
{
    inputs_.erase(input);
}

void AudioMixer::write(int input, MonotonicTime stamp, std::span<const float> samples, MonotonicTime now)
{
    const auto found = inputs_.find(input);
    assert(found != inputs_.end());
    auto& source = found->second;
    if (now - source.lastWritten > silenceAfter)
        source.timeline.restart();
    source.lastWritten = now;

    const auto frames = static_cast<std::int32_t>(samples.size() / channelCount_);
    const auto placement = source.timeline.place(clock_.frameAt(stamp), frames);
    auto rest = samples.subspan(static_cast<std::size_t>(placement.skipped) * channelCount_);
    if (placement.stretch != 0)
        rest = stretched(rest, frames - placement.skipped + placement.stretch);
    add(placement.position, rest);
}

/// `samples` over another number of frames, by straight lines between neighbours: for one frame in hundreds nobody hears the difference.
std::span<const float> AudioMixer::stretched(std::span<const float> samples, std::int32_t frames)
{
    const auto before = samples.size() / channelCount_;
    const auto after = static_cast<std::size_t>(frames);
    assert(before > 1 && after > 1);
    stretchBuffer_.resize(after * channelCount_);
    const double step = static_cast<double>(before - 1) / static_cast<double>(after - 1);
    for (std::size_t i = 0; i < after; ++i) {
        const double place = static_cast<double>(i) * step;
        const auto left = std::min(static_cast<std::size_t>(place), before - 2);
        const auto part = static_cast<float>(place - static_cast<double>(left));
        for (std::size_t channel = 0; channel < channelCount_; ++channel) {
            const float a = samples[left * channelCount_ + channel];
            const float b = samples[(left + 1) * channelCount_ + channel];
            stretchBuffer_[i * channelCount_ + channel] = a + (b - a) * part;
        }
    }
    return stretchBuffer_;
}

void AudioMixer::add(std::int64_t position, std::span<const float> samples)
{
    const auto frames = static_cast<std::int64_t>(samples.size() / channelCount_);
    const auto begin = std::max(position, next_);
    const auto end = std::min(position + frames, next_ + capacity_);
    auto* source = samples.data() + static_cast<std::size_t>(std::max<std::int64_t>(0, begin - position)) * channelCount_;
    for (auto frame = begin; frame < end; ++frame) {
        auto* target = ring_.data() + static_cast<std::size_t>(frame % capacity_) * channelCount_;
        for (std::size_t channel = 0; channel < channelCount_; ++channel)
            target[channel] += *source++;
    }
}

std::int64_t AudioMixer::readableFrames(MonotonicTime now) const
{
    bool anySpeaks = false;
    std::int64_t horizon = 0;
    for (const auto& [id, input] : inputs_) {
        const auto end = input.timeline.end();
        if (!end || now - input.lastWritten > silenceAfter)
            continue;
        horizon = anySpeaks ? std::min(horizon, *end) : *end;
        anySpeaks = true;
    }
    if (anySpeaks)
        horizon = std::min(horizon, clock_.frameAt(now + greatestLead));
    else
        horizon = clock_.frameAt(now - silenceDelay);
    return std::clamp<std::int64_t>(horizon - next_, 0, capacity_);
}

MonotonicTime AudioMixer::read(std::span<float> samples)
{
    const auto stamp = clock_.timeOf(next_);
    const auto frames = static_cast<std::int64_t>(samples.size() / channelCount_);
    auto* target = samples.data();
    for (std::int64_t i = 0; i < frames; ++i, ++next_) {
        auto* source = ring_.data() + static_cast<std::size_t>(next_ % capacity_) * channelCount_;
        for (std::size_t channel = 0; channel < channelCount_; ++channel) {
            *target++ = source[channel];
            source[channel] = 0;
        }
    }
    return stamp;
}

}  // namespace velmora::engine
