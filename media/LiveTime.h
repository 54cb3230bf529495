// Moments as the samples of a stream carry them.
#pragma once

#include "base/MonotonicClock.h"
#include "media/MediaTime.h"

#include <chrono>

namespace velmora {

/// The time stamp of what was there at that moment.
[[nodiscard]] constexpr MediaTime liveTime(MonotonicTime moment)
{
    return MediaTime::nanoseconds(moment.time_since_epoch().count());
}

/// The moment that a valid time stamp names.
[[nodiscard]] inline MonotonicTime momentOf(MediaTime timeStamp)
{
    return MonotonicTime{std::chrono::nanoseconds{timeStamp.converted(MediaTime::nanosecondScale).value}};
}

}  // namespace velmora
