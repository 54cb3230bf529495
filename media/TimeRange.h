// A stretch of time in media.
#pragma once

#include "media/MediaTime.h"

#include <cstdint>
#include <limits>

namespace velmora {

/// From `start` up to, but without, `end`.
struct TimeRange {
    MediaTime start;
    MediaTime end;

    friend bool operator==(const TimeRange&, const TimeRange&) = default;
};

/// From the beginning of a clip to whatever its end is.
inline constexpr TimeRange wholeClip{MediaTime::zero(), {std::numeric_limits<std::int64_t>::max(), 1}};

}  // namespace velmora
