// A file system that cannot rename without replacing, as some are, or on which others are busy.
#pragma once

#include <atomic>
#include <functional>

namespace velmora::test {

/// While above 0, renameat2() fails with this value for errno.
extern std::atomic<int> renameError;

/// The same for link(): a file system without second names.
extern std::atomic<int> linkError;

/// Called once, right before renameat2() does its work.
extern std::function<void()> beforeRename;

}  // namespace velmora::test
