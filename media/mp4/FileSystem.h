// What each operating system has a call of its own for.
#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <sys/types.h>

/// Nothing here keeps state; any thread. Errors are errno values; 0 is success.
namespace velmora::mp4::file_system {

/// open(2)'s flags for a folder that is only used to name what is in it.
[[nodiscard]] int folderFlags();

/// Makes the file at least `size` bytes long, with room on the disk for all of them. Where the file system cannot set room aside the file
/// is as long, and no more.
[[nodiscard]] int allocate(int descriptor, off_t size);

/// Returns when the file's bytes and length would survive a loss of power, as far as the file system can be asked to.
[[nodiscard]] int sync(int descriptor);

/// As renameat(2), but EEXIST where anything has the new name. ENOSYS: this file system only renames by replacing.
[[nodiscard]] int renameWithoutReplacing(int fromFolder, const char* from, int toFolder, const char* to);

/// Copies without the bytes passing through this process, from and to an offset. How many bytes; none where that cannot be done, or
/// nothing was copied.
[[nodiscard]] std::optional<std::size_t> copyRange(int from, off_t fromOffset, int to, off_t toOffset, std::size_t size);

/// Where the system says that the file lies; none when it does not say. May lead to nothing, or to another file by now.
[[nodiscard]] std::optional<std::filesystem::path> pathOf(int descriptor);

/// Whether every process that could write the file sees its locks; none when the system does not say, which leaves errno.
[[nodiscard]] std::optional<bool> hasTrustworthyLocks(int descriptor);

}  // namespace velmora::mp4::file_system
