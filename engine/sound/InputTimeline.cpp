#include "engine/sound/InputTimeline.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstdlib>

namespace velmora::engine {

namespace {

// Slow enough to see through jitter of the stamps, quick enough for clocks that differ by 0.1 %.
constexpr double averagingWeight = 1.0 / 32;

}  // namespace

InputTimeline::InputTimeline(std::int32_t tolerance) : tolerance_(tolerance)
{
    assert(tolerance > 0);
}

void InputTimeline::restart()
{
    next_.reset();
    suspectedError_.reset();
    overlap_ = 0;
    averageError_ = 0;
}

std::int32_t InputTimeline::drift(std::int64_t error)
{
    averageError_ += (static_cast<double>(error) - averageError_) * averagingWeight;
    if (std::abs(averageError_) < static_cast<double>(tolerance_) / 4)
        return 0;
    return averageError_ > 0 ? 1 : -1;
}

BlockPlacement InputTimeline::place(std::int64_t stamp, std::int32_t frames)
{
    assert(frames >= 0);
    if (!next_)
        next_ = stamp;

    std::int32_t stretch = 0;
    const std::int64_t error = stamp - (*next_ - overlap_);
    if (std::llabs(error) <= tolerance_) {
        suspectedError_.reset();
        stretch = drift(error);
    } else if (suspectedError_ && std::llabs(error - *suspectedError_) <= tolerance_) {
        suspectedError_.reset();
        averageError_ = 0;
        // An overlap that is still being left out may turn out shorter or longer than thought.
        const auto shift = error - overlap_;
        overlap_ = std::max<std::int64_t>(0, -shift);
        *next_ += std::max<std::int64_t>(0, shift);
    } else {
        suspectedError_ = error;
    }

    BlockPlacement placement;
    placement.position = *next_;
    placement.skipped = static_cast<std::int32_t>(std::min<std::int64_t>(overlap_, frames));
    overlap_ -= placement.skipped;
    const auto rest = frames - placement.skipped;
    // Stretching a block this short would be heard.
    placement.stretch = rest >= 64 ? stretch : 0;
    *next_ += rest + placement.stretch;
    return placement;
}

}  // namespace velmora::engine
