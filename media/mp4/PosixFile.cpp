#include "media/mp4/PosixFile.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <limits>
#include <string>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <system_error>
#include <unistd.h>

namespace velmora::mp4 {

namespace {

// One call moves less than this; the kernel's own limit is just under 2 GiB.
constexpr std::size_t largestTransfer = std::size_t{1} << 30;

Result<off_t> fileOffset(std::uint64_t offset)
{
    if (offset > static_cast<std::uint64_t>(std::numeric_limits<off_t>::max()))
        return fail(posixError(EFBIG, ""));
    return static_cast<off_t>(offset);
}

std::filesystem::path folderOf(const std::filesystem::path& path)
{
    return path.has_parent_path() ? path.parent_path() : std::filesystem::path{"."};
}

Error pathError(int errnoValue, const std::filesystem::path& path)
{
    return posixError(errnoValue, path.filename().string());
}

// Replaces a name that nothing had and that only this call can have given; for file systems that have no better way.
int moveOverReservation(int folder, const std::filesystem::path& from, const std::filesystem::path& to)
{
    const int reserved = ::open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0666);
    if (reserved < 0)
        return errno;
    ::close(reserved);
    if (::renameat(folder, from.c_str(), AT_FDCWD, to.c_str()) == 0)
        return 0;
    const int errnoValue = errno;
    ::unlink(to.c_str());
    return errnoValue;
}

}  // namespace

bool hasTrustworthyLocks(std::uint64_t fileSystemType)
{
    // NFS, SMB, SMB2, CIFS, FUSE, 9P, Ceph, AFS, Coda, OCFS2, GFS2.
    constexpr std::array<std::uint64_t, 11> shared{
        0x6969, 0x517B, 0xFE534D42, 0xFF534D42, 0x65735546, 0x01021997, 0x00C36400, 0x5346414F, 0x73757245, 0x7461636F, 0x01161970};
    return std::find(shared.begin(), shared.end(), fileSystemType) == shared.end();
}

Result<std::unique_ptr<File>> PosixFile::create(const std::filesystem::path& path)
{
    const int folder = ::open(folderOf(path).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0)
        return fail(pathError(errno, path));
    const int descriptor = ::openat(folder, path.filename().c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0666);
    if (descriptor < 0) {
        const int errnoValue = errno;
        ::close(folder);
        return fail(pathError(errnoValue, path));
    }
    return std::unique_ptr<File>{new PosixFile{descriptor, path, {folder, path.filename()}}};
}

Result<std::unique_ptr<File>> PosixFile::openForReading(const std::filesystem::path& path)
{
    return open(path, O_RDONLY);
}

Result<std::unique_ptr<File>> PosixFile::openForUpdating(const std::filesystem::path& path)
{
    return open(path, O_RDWR | O_NOFOLLOW);
}

Result<std::unique_ptr<File>> PosixFile::open(const std::filesystem::path& path, int flags)
{
    // Checked before it is opened, because opening a device can have effects; and again afterwards, because the name may have
    // changed hands in between. O_NONBLOCK keeps a FIFO from hanging us in that moment.
    struct stat status { };
    if ((flags & O_NOFOLLOW ? ::lstat(path.c_str(), &status) : ::stat(path.c_str(), &status)) != 0)
        return fail(pathError(errno, path));
    if (S_ISLNK(status.st_mode))
        return fail(pathError(ELOOP, path));
    if (!S_ISREG(status.st_mode))
        return fail(pathError(EINVAL, path));
    const int descriptor = ::open(path.c_str(), flags | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (descriptor < 0)
        return fail(pathError(errno, path));
    std::unique_ptr<File> file{new PosixFile{descriptor, path, {AT_FDCWD, path}}};
    if (::fstat(descriptor, &status) != 0)
        return fail(pathError(errno, path));
    if (!S_ISREG(status.st_mode))
        return fail(pathError(EINVAL, path));
    return file;
}

PosixFile::~PosixFile()
{
    ::close(descriptor_);
    if (entry_.folder != AT_FDCWD)
        ::close(entry_.folder);
}

Error PosixFile::error(int errnoValue) const
{
    return pathError(errnoValue, path_);
}

Result<std::size_t> PosixFile::writeSomeAt(std::uint64_t offset, std::span<const std::byte> bytes)
{
    const auto position = fileOffset(offset);
    if (!position)
        return fail(error(EFBIG));
    for (;;) {
        const auto written = ::pwrite(descriptor_, bytes.data(), std::min(bytes.size(), largestTransfer), *position);
        if (written > 0)
            return static_cast<std::size_t>(written);
        if (written == 0)
            return fail(error(ENOSPC));
        if (errno != EINTR)
            return fail(error(errno));
    }
}

Result<std::size_t> PosixFile::readSomeAt(std::uint64_t offset, std::span<std::byte> bytes)
{
    const auto position = fileOffset(offset);
    if (!position)
        return std::size_t{0};
    for (;;) {
        const auto read = ::pread(descriptor_, bytes.data(), std::min(bytes.size(), largestTransfer), *position);
        if (read >= 0)
            return static_cast<std::size_t>(read);
        if (errno != EINTR)
            return fail(error(errno));
    }
}

Result<std::uint64_t> PosixFile::size()
{
    struct stat status { };
    if (::fstat(descriptor_, &status) != 0)
        return fail(error(errno));
    return static_cast<std::uint64_t>(status.st_size);
}

Result<void> PosixFile::truncate(std::uint64_t size)
{
    const auto length = fileOffset(size);
    if (!length)
        return fail(error(EFBIG));
    int result = 0;
    do
        result = ::ftruncate(descriptor_, *length);
    while (result != 0 && errno == EINTR);
    if (result != 0)
        return fail(error(errno));
    return {};
}

Result<void> PosixFile::allocate(std::uint64_t size)
{
    const auto length = fileOffset(size);
    if (!length)
        return fail(error(EFBIG));
    int result = 0;
    do
        result = ::posix_fallocate(descriptor_, 0, *length);
    while (result == EINTR);
    if (result != 0)
        return fail(error(result));
    return {};
}

Result<void> PosixFile::sync()
{
    // EINVAL: a file system that cannot be asked to.
    if (::fdatasync(descriptor_) != 0 && errno != EINVAL)
        return fail(error(errno));
    return {};
}

Result<void> PosixFile::syncFolder()
{
    const int descriptor = ::open(folderOf(path_).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0)
        return fail(error(errno));
    const int result = ::fsync(descriptor);
    const int errnoValue = errno;
    ::close(descriptor);
    if (result != 0)
        return fail(error(errnoValue));
    return {};
}

Result<bool> PosixFile::tryLock()
{
    // flock belongs to the open file, not to the process: closing another descriptor of the same file does not drop it.
    if (::flock(descriptor_, LOCK_EX | LOCK_NB) == 0)
        return true;
    if (errno == EWOULDBLOCK)
        return false;
    return fail(error(errno));
}

bool PosixFile::isAt(int folder, const std::filesystem::path& name) const
{
    struct stat named { };
    struct stat ours { };
    return ::fstatat(folder, name.c_str(), &named, AT_SYMLINK_NOFOLLOW) == 0 && ::fstat(descriptor_, &ours) == 0
        && named.st_dev == ours.st_dev && named.st_ino == ours.st_ino;
}

bool PosixFile::isStillInFolder()
{
    return isAt(AT_FDCWD, path_);
}

std::optional<std::filesystem::path> PosixFile::currentPath()
{
    // For a deleted file this is a name that leads nowhere.
    std::error_code error;
    auto path = std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(descriptor_), error);
    if (error || !isAt(AT_FDCWD, path))
        return std::nullopt;
    return path;
}

Result<void> PosixFile::removeFromFolder()
{
    if (!isAt(entry_.folder, entry_.name))
        return {};
    if (::unlinkat(entry_.folder, entry_.name.c_str(), 0) != 0 && errno != ENOENT)
        return fail(error(errno));
    return {};
}

Result<void> PosixFile::moveTo(const std::filesystem::path& path)
{
    if (!isAt(entry_.folder, entry_.name))
        return fail(pathError(ENOENT, path));
    if (auto renamed = renameTo(path); !renamed)
        return renamed;
    if (isAt(AT_FDCWD, path))
        return {};
    // Between the check and the rename another file took the name that was ours: it goes back.
    static_cast<void>(::renameat2(AT_FDCWD, path.c_str(), entry_.folder, entry_.name.c_str(), RENAME_NOREPLACE));
    return fail(pathError(ENOENT, path));
}

Result<void> PosixFile::renameTo(const std::filesystem::path& path) const
{
    if (::renameat2(entry_.folder, entry_.name.c_str(), AT_FDCWD, path.c_str(), RENAME_NOREPLACE) == 0)
        return {};
    if (errno != EINVAL && errno != ENOSYS)
        return fail(pathError(errno, path));
    // A file system that can only rename by replacing; a second name never replaces.
    if (::linkat(entry_.folder, entry_.name.c_str(), AT_FDCWD, path.c_str(), 0) != 0) {
        // FAT has no second names, and says so in one of these ways.
        if (errno != EPERM && errno != EOPNOTSUPP && errno != ENOSYS && errno != EINVAL)
            return fail(pathError(errno, path));
        if (const int errnoValue = moveOverReservation(entry_.folder, entry_.name, path); errnoValue != 0)
            return fail(pathError(errnoValue, path));
        return {};
    }
    if (::unlinkat(entry_.folder, entry_.name.c_str(), 0) == 0)
        return {};
    const int errnoValue = errno;
    ::unlink(path.c_str());
    return fail(error(errnoValue));
}

Result<bool> PosixFile::mayHaveWriterElsewhere()
{
    struct statfs fileSystem { };
    struct stat status { };
    if (::fstatfs(descriptor_, &fileSystem) != 0 || ::fstat(descriptor_, &status) != 0)
        return fail(error(errno));
    constexpr std::int64_t silence = 60;  // seconds
    // A clock ahead of ours counts too.
    return !hasTrustworthyLocks(static_cast<std::uint32_t>(fileSystem.f_type)) && ::time(nullptr) - status.st_mtime < silence;
}

Result<std::size_t> PosixFile::copySomeFrom(
    File& source, std::uint64_t from, std::uint64_t to, std::size_t count, std::span<std::byte> buffer)
{
    const auto* other = dynamic_cast<PosixFile*>(&source);
    const auto sourceOffset = fileOffset(from);
    const auto targetOffset = fileOffset(to);
    if (other && sourceOffset && targetOffset) {
        auto in = *sourceOffset;
        auto out = *targetOffset;
        const auto copied = ::copy_file_range(other->descriptor_, &in, descriptor_, &out, std::min(count, largestTransfer), 0);
        if (copied > 0)
            return static_cast<std::size_t>(copied);
        // Anything else, even an alleged end, is left to reading and writing: some file systems report an end of files that have
        // more, and one file system may be unable to copy to another.
    }
    return File::copySomeFrom(source, from, to, count, buffer);
}

}  // namespace velmora::mp4
