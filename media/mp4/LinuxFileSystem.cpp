#include "media/mp4/FileSystem.h"
#include "media/mp4/LinuxFileSystemTypes.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <string>
#include <sys/vfs.h>
#include <system_error>
#include <unistd.h>

namespace velmora::mp4 {

bool hasTrustworthyLocks(std::uint64_t fileSystemType)
{
    // NFS, SMB, SMB2, CIFS, FUSE, 9P, Ceph, AFS, Coda, OCFS2, GFS2.
    constexpr std::array<std::uint64_t, 11> shared{
        0x6969, 0x517B, 0xFE534D42, 0xFF534D42, 0x65735546, 0x01021997, 0x00C36400, 0x5346414F, 0x73757245, 0x7461636F, 0x01161970};
    return std::find(shared.begin(), shared.end(), fileSystemType) == shared.end();
}

namespace file_system {

int folderFlags()
{
    return O_PATH | O_DIRECTORY | O_CLOEXEC;
}

int allocate(int descriptor, off_t size)
{
    int result = 0;
    do
        result = ::posix_fallocate(descriptor, 0, size);
    while (result == EINTR);
    return result;
}

int sync(int descriptor)
{
    // EINVAL: a file system that cannot be asked to.
    return ::fdatasync(descriptor) != 0 && errno != EINVAL ? errno : 0;
}

int renameWithoutReplacing(int fromFolder, const char* from, int toFolder, const char* to)
{
    if (::renameat2(fromFolder, from, toFolder, to, RENAME_NOREPLACE) == 0)
        return 0;
    return errno == EINVAL ? ENOSYS : errno;
}

std::optional<std::size_t> copyRange(int from, off_t fromOffset, int to, off_t toOffset, std::size_t size)
{
    const auto copied = ::copy_file_range(from, &fromOffset, to, &toOffset, size, 0);
    // Even an alleged end is left to reading and writing: some file systems report an end of files that have more, and one file system
    // may be unable to copy to another.
    return copied > 0 ? std::optional{static_cast<std::size_t>(copied)} : std::nullopt;
}

std::optional<std::filesystem::path> pathOf(int descriptor)
{
    // For a deleted file this is a name that leads nowhere.
    std::error_code error;
    auto path = std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(descriptor), error);
    return error ? std::nullopt : std::optional{std::move(path)};
}

std::optional<bool> hasTrustworthyLocks(int descriptor)
{
    struct statfs status { };
    if (::fstatfs(descriptor, &status) != 0)
        return std::nullopt;
    return mp4::hasTrustworthyLocks(static_cast<std::uint32_t>(status.f_type));
}

}  // namespace file_system
}  // namespace velmora::mp4
