#include "media/mp4/FileSystem.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <string_view>
#include <sys/mount.h>
#include <sys/param.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velmora::mp4::file_system {

namespace {

constexpr off_t blockSize = 512;  // what st_blocks counts

}  // namespace

int folderFlags()
{
    return O_RDONLY | O_DIRECTORY | O_CLOEXEC;
}

int allocate(int descriptor, off_t size)
{
    struct stat status { };
    if (::fstat(descriptor, &status) != 0)
        return errno;
    if (const off_t present = status.st_blocks * blockSize; present < size) {
        // Counted from the end of what the file has on the disk. All of it or nothing; in one piece it need not be.
        fstore_t request{};
        request.fst_flags = F_ALLOCATEALL;
        request.fst_posmode = F_PEOFPOSMODE;
        request.fst_length = size - present;
        int result = 0;
        do
            result = ::fcntl(descriptor, F_PREALLOCATE, &request);
        while (result == -1 && errno == EINTR);
        if (result == -1 && errno != ENOTSUP && errno != EINVAL)
            return errno;
    }
    // Room lies behind the file's end until the end is moved.
    while (status.st_size < size && ::ftruncate(descriptor, size) != 0) {
        if (errno != EINTR)
            return errno;
    }
    return 0;
}

int sync(int descriptor)
{
    // fsync() leaves the bytes in the drive's own memory. Only some file systems reach through to the drive; those of the network do not.
    if (::fcntl(descriptor, F_FULLFSYNC) != -1)
        return 0;
    if (errno != ENOTSUP && errno != EINVAL && errno != ENOTTY)
        return errno;
    return ::fsync(descriptor) != 0 && errno != EINVAL ? errno : 0;
}

int renameWithoutReplacing(int fromFolder, const char* from, int toFolder, const char* to)
{
    if (::renameatx_np(fromFolder, from, toFolder, to, RENAME_EXCL) == 0)
        return 0;
    return errno == ENOTSUP || errno == EINVAL ? ENOSYS : errno;
}

std::optional<std::size_t> copyRange(int, off_t, int, off_t, std::size_t)
{
    return std::nullopt;
}

std::optional<std::filesystem::path> pathOf(int descriptor)
{
    char path[MAXPATHLEN];
    if (::fcntl(descriptor, F_GETPATH, path) == -1)
        return std::nullopt;
    return std::filesystem::path{path};
}

std::optional<bool> hasTrustworthyLocks(int descriptor)
{
    struct statfs status { };
    if (::fstatfs(descriptor, &status) != 0)
        return std::nullopt;
    // User-space file systems call themselves local; they carry the name of what they are made with.
    const std::string_view type{status.f_fstypename};
    return (status.f_flags & MNT_LOCAL) != 0 && type.find("fuse") == std::string_view::npos;
}

}  // namespace velmora::mp4::file_system
