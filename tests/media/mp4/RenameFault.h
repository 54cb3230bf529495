// A file system that cannot rename without replacing, as some cannot, or on which others are busy.
#pragma once

#include <atomic>
#include <functional>

namespace velmora::test {

/// While above 0, renameat2() fails with this errno.
extern std::atomic<int> renameError;

/// The same for link(): a file system without second names.
extern std::atomic<int> linkError;

/// Called once, right before renameat2() does its work.
extern std::function<void()> beforeRename;

}  // namespace velmora::test
