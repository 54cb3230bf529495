// Times as a preview shows and exports them.
#pragma once

#include "media/MediaTime.h"

#include <QString>

#include <cstdint>

namespace velmora::preview_times {

/// Ticks a second of what is exported and of what the player is told.
inline constexpr std::int32_t timescale = 600;

/// The nearest time on that scale.
[[nodiscard]] inline MediaTime exported(double seconds)
{
    return MediaTime::fromSeconds(seconds, timescale);
}

/// "%02d:%02d" of minutes and seconds; hours count as minutes.
[[nodiscard]] QString whole(double seconds);

/// The same with the tenths of a second, "%02d:%02d.%d".
[[nodiscard]] QString withTenths(double seconds);

}  // namespace velmora::preview_times
