// A stretch of time in media.
#pragma once

#include "media/MediaTime.h"

namespace velmora {

/// From `start` up to, but without, `end`.
struct TimeRange {
    MediaTime start;
    MediaTime end;

    friend bool operator==(const TimeRange&, const TimeRange&) = default;
};

}  // namespace velmora
