// Which windows' applications play.
#pragma once

#include "platform/SoundActivity.h"

#include <cstdint>
#include <map>
#include <set>
#include <vector>

namespace velmora {

/// All windows of the nearest process that owns any, going from each that plays to what it comes from: a browser's helper plays for the
/// browser's windows, but a player that was started in a terminal not for the terminal's. `owners` has the process of each window, where that
/// is known.
[[nodiscard]] std::set<std::uint32_t> soundingWindows(
    const std::vector<platform::ProcessLineage>& playing, const std::map<std::uint32_t, std::int32_t>& owners);

}  // namespace velmora
