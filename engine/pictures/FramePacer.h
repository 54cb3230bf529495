// When the next picture may be taken.
#pragma once

#include <algorithm>
#include <cstdint>

namespace velmora::engine {

/// Holds pictures to one an interval on average. After one that was taken late, the next may come up to a quarter of the interval
/// early, because a source that draws at the very rate of the limit would otherwise lose a frame to every late wake-up.
/// Times are nanoseconds of one clock.
class FramePacer {
public:
    explicit FramePacer(std::int64_t interval) : interval_(interval) { }

    /// The time from which a picture may be taken.
    [[nodiscard]] std::int64_t due() const { return next_ - interval_ / 4; }

    void taken(std::int64_t now) { next_ = std::max(next_, now) + interval_; }

private:
    std::int64_t interval_;
    std::int64_t next_ = 0;
};

}  // namespace velmora::engine
