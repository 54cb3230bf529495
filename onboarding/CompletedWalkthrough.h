// The preference that remembers the walkthrough.
#pragma once

#include <string_view>

namespace velmora {

/// Set when the walkthrough has been finished or skipped.
inline constexpr std::string_view hasCompletedWalkthroughKey = "hasCompletedWalkthrough";

}  // namespace velmora
