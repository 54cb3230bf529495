// How lengths and sizes of clips are written for people.
#pragma once

#include <cstdint>
#include <string>

namespace velmora {

/// "62:05": whole minutes and seconds, rounded.
[[nodiscard]] std::string formattedDuration(double seconds);

/// "1.5 MB": in bytes, KB or MB of 1000, written as the user's locale writes numbers.
[[nodiscard]] std::string formattedFileSize(std::int64_t bytes);

}  // namespace velmora
