// The process behind the display.
#pragma once

#include <sys/types.h>

namespace velmora::benchmarks {

/// By the socket to it. Throws when there is no display.
[[nodiscard]] pid_t displayServer();

}  // namespace velmora::benchmarks
