// The end for states from which no program can go on.
#pragma once

#include <string_view>

namespace velmora {

/// Writes `reason` to standard error and aborts, in every build.
[[noreturn]] void fatalError(std::string_view reason);

}  // namespace velmora
