// When the next picture may be taken.
#pragma once

#include "base/MonotonicClock.h"

#include <algorithm>
#include <chrono>

namespace velmora::engine {

/// Holds pictures to one an interval on average, never two within half of one. After one that was taken late, the next may come up to an
/// interval early, but for those two rules: a source that draws at the very rate of the limit would otherwise lose a frame to every late
/// wake-up, and each of its pictures would be taken as late as the latest so far.
class FramePacer {
public:
    explicit FramePacer(std::chrono::nanoseconds interval) : interval_(interval) { }

    /// The time from which a picture may be taken.
    [[nodiscard]] MonotonicTime due() const { return std::max(next_ - interval_, earliest_); }

    void taken(MonotonicTime now)
    {
        next_ = std::max(next_, now) + interval_;
        earliest_ = now + interval_ / 2;
    }

private:
    std::chrono::nanoseconds interval_;
    MonotonicTime next_;  ///< after all pictures so far, one an interval
    MonotonicTime earliest_;
};

}  // namespace velmora::engine
