#include "tests/media/mp4/RenameFault.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>

namespace velmora::test {

std::atomic<int> renameError{0};
std::atomic<int> linkError{0};
std::function<void()> beforeRename;

}  // namespace velmora::test

// Takes precedence over the C library's.
extern "C" int renameat2(int oldFolder, const char* oldPath, int newFolder, const char* newPath, unsigned int flags) noexcept;

int renameat2(int oldFolder, const char* oldPath, int newFolder, const char* newPath, unsigned int flags) noexcept
{
    if (const int error = velmora::test::renameError; error > 0) {
        errno = error;
        return -1;
    }
    if (const auto others = std::exchange(velmora::test::beforeRename, nullptr))
        others();
    return static_cast<int>(::syscall(SYS_renameat2, oldFolder, oldPath, newFolder, newPath, flags));
}

extern "C" int linkat(int fromFolder, const char* from, int toFolder, const char* to, int flags) noexcept;

int linkat(int fromFolder, const char* from, int toFolder, const char* to, int flags) noexcept
{
    if (const int error = velmora::test::linkError; error > 0) {
        errno = error;
        return -1;
    }
    return static_cast<int>(::syscall(SYS_linkat, fromFolder, from, toFolder, to, flags));
}
