// Mixes several sources of sound into one track without gaps.
#pragma once

#include "base/MonotonicClock.h"
#include "engine/sound/FrameClock.h"
#include "engine/sound/InputTimeline.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <span>
#include <vector>

namespace velmora::engine {

/// Adds interleaved 32-bit float blocks at the places that their time stamps say, and gives out the sum as one track that counts
/// counted by MonotonicClock from its origin, digital silence where no source spoke. Used by one thread.
///
/// While sources speak, the track follows them: it is given out as far as all of them have come, yet never further ahead of the clock
/// than `greatestLead`, because what a slow device plays in two seconds is known now and another source may still add to it. When
/// none has spoken for `silenceAfter`, it follows the clock at a distance of `silenceDelay`. What comes too late for its place is
/// left out, and so is what lies more than three seconds after the next frame to be given out.
class AudioMixer {
public:
    static constexpr std::chrono::milliseconds silenceAfter{250};
    static constexpr std::chrono::milliseconds silenceDelay{100};
    static constexpr std::chrono::milliseconds greatestLead{50};

    AudioMixer(std::int32_t sampleRate, std::int32_t channelCount, MonotonicTime origin);

    /// `tolerance`: how far this source's time stamps jitter when all is well.
    int addInput(std::chrono::nanoseconds tolerance);
    void removeInput(int input);

    /// Adds a block of `input` whose first frame is heard at `stamp`; `now` is when it came.
    void write(int input, MonotonicTime stamp, std::span<const float> samples, MonotonicTime now);

    /// Frames that can be given out at `now`.
    [[nodiscard]] std::int64_t readableFrames(MonotonicTime now) const;

    /// Gives out the next frames, as many as `samples` holds; no more than are readable. Returns the time stamp of the first.
    MonotonicTime read(std::span<float> samples);

private:
    struct Input {
        InputTimeline timeline;
        MonotonicTime lastWritten{};
    };

    void add(std::int64_t position, std::span<const float> samples);
    std::span<const float> stretched(std::span<const float> samples, std::int32_t frames);

    FrameClock clock_;
    std::size_t channelCount_;
    std::int64_t capacity_;  ///< frames
    std::int64_t next_ = 0;  ///< the next frame to be given out
    int lastInput_ = 0;
    std::map<int, Input> inputs_;
    std::vector<float> ring_;
    std::vector<float> stretchBuffer_;
};

}  // namespace velmora::engine
