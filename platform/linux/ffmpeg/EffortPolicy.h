// When a running encoder should try less hard, and when harder.
#pragma once

#include "base/MonotonicClock.h"
#include "platform/linux/ffmpeg/VideoEncoder.h"

#include <chrono>
#include <optional>

namespace velmora::linux_backend {

/// Less with the first picture that is dropped, one step at a time. More only after many seconds of moving pictures of which none was
/// dropped, and with time to spare for what that costs; each time that goes wrong soon the next try waits twice as long, so that a machine
/// between two efforts keeps to the lower one. Moments come from whoever calls and do not go back. Not thread-safe.
class EffortPolicy {
public:
    /// After an encoder's first picture, drops say nothing of its effort for so long: pictures had to wait for it to be opened.
    static constexpr std::chrono::milliseconds settling{250};
    static constexpr std::chrono::seconds firstWait{10};
    static constexpr std::chrono::seconds longestWait{320};
    /// A change that could not be made is not wanted again for so long.
    static constexpr std::chrono::seconds restAfterFailure{5};
    /// Pictures that are further apart count as that far apart: a still window tells nothing of what a moving one costs.
    static constexpr std::chrono::milliseconds longestInterval{100};

    /// `effort` is what the encoder runs with.
    explicit EffortPolicy(EncodingEffort effort) : effort_(effort), wanted_(effort) { }

    /// What the encoder runs with.
    [[nodiscard]] EncodingEffort effort() const { return effort_; }

    /// What it should run with; at most one step away.
    [[nodiscard]] EncodingEffort wanted() const { return wanted_; }

    /// A picture was encoded from `begin` to `end`, whatever else the machine did meanwhile.
    void encoded(MonotonicTime begin, MonotonicTime end);

    /// Pictures were dropped, because the encoder had not done with others.
    void dropped(MonotonicTime now);

    /// The next picture is encoded with the effort that is wanted.
    void changed();

    /// That effort cannot be had, or was not needed for too long.
    void changeFailed(MonotonicTime now);

private:
    void beginEvidence();
    void count(std::chrono::nanoseconds interval);

    EncodingEffort effort_;
    EncodingEffort wanted_;
    bool awaitsFirstPicture_ = true;  ///< of this encoder
    MonotonicTime settled_{};
    MonotonicTime restUntil_{};
    std::optional<MonotonicTime> lastBegin_;
    std::chrono::nanoseconds lastDuration_{0};
    std::chrono::nanoseconds active_{0};  ///< of moving pictures, none of which was dropped
    std::chrono::nanoseconds busy_{0};  ///< of that
    std::chrono::nanoseconds wait_ = firstWait;  ///< until more is tried
    std::chrono::nanoseconds probation_{0};  ///< left of it for the effort that was raised last
};

}  // namespace velmora::linux_backend
