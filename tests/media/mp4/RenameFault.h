// A file system that cannot rename without replacing, as some are.
#pragma once

#include <atomic>

namespace velmora::test {

/// While above 0, renameat2() fails with this value for errno.
extern std::atomic<int> renameError;

/// The same for link(): a file system without second names.
extern std::atomic<int> linkError;

}  // namespace velmora::test
