// When the next picture may be taken.
#pragma once

#include "base/MonotonicClock.h"

#include <algorithm>
#include <chrono>

namespace velmora::engine {

/// Holds pictures to one an interval on average. After one that was taken late, the next may come up to a quarter of the interval
/// early, because a source that draws at the very rate of the limit would otherwise lose a frame to every late wake-up.
class FramePacer {
public:
    explicit FramePacer(std::chrono::nanoseconds interval) : interval_(interval) { }

    /// The time from which a picture may be taken.
    [[nodiscard]] MonotonicTime due() const { return next_ - interval_ / 4; }

    void taken(MonotonicTime now) { next_ = std::max(next_, now) + interval_; }

private:
    std::chrono::nanoseconds interval_;
    MonotonicTime next_;
};

}  // namespace velmora::engine
