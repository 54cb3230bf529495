// The file systems of Linux, by their numbers.
#pragma once

#include <cstdint>

namespace velmora::mp4 {

/// Whether every process that could write the files of a file system of that type (statfs(2)) sees its locks. Those of network and
/// user-space file systems may end at this computer.
[[nodiscard]] bool hasTrustworthyLocks(std::uint64_t fileSystemType);

}  // namespace velmora::mp4
