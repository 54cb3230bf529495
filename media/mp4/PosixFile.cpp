#include "media/mp4/PosixFile.h"

#include "media/mp4/FileSystem.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <limits>
#include <string>
#include <sys/file.h>
#include <sys/stat.h>
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

// The code says no more than that it cannot be used; the words have to.
Error noFile(mode_t mode, const std::filesystem::path& path)
{
    auto name = path.filename();
    if (name.empty() || name == ".")
        name = path;
    return {
        std::string{posixErrorDomain}, EINVAL, name.string() + (S_ISDIR(mode) ? " is a folder." : " is not an ordinary file."), nullptr};
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

Result<std::unique_ptr<File>> PosixFile::create(const std::filesystem::path& path)
{
    const int folder = ::open(folderOf(path).c_str(), file_system::folderFlags());
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
        return fail(noFile(status.st_mode, path));
    const int descriptor = ::open(path.c_str(), flags | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (descriptor < 0)
        return fail(pathError(errno, path));
    std::unique_ptr<File> file{new PosixFile{descriptor, path, {AT_FDCWD, path}}};
    if (::fstat(descriptor, &status) != 0)
        return fail(pathError(errno, path));
    if (!S_ISREG(status.st_mode))
        return fail(noFile(status.st_mode, path));
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
    if (const int errnoValue = file_system::allocate(descriptor_, *length); errnoValue != 0)
        return fail(error(errnoValue));
    return {};
}

Result<void> PosixFile::sync()
{
    if (const int errnoValue = file_system::sync(descriptor_); errnoValue != 0)
        return fail(error(errnoValue));
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
    auto path = file_system::pathOf(descriptor_);
    if (!path || !isAt(AT_FDCWD, *path))
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
    static_cast<void>(file_system::renameWithoutReplacing(AT_FDCWD, path.c_str(), entry_.folder, entry_.name.c_str()));
    return fail(pathError(ENOENT, path));
}

Result<void> PosixFile::renameTo(const std::filesystem::path& path) const
{
    const int refusal = file_system::renameWithoutReplacing(entry_.folder, entry_.name.c_str(), AT_FDCWD, path.c_str());
    if (refusal == 0)
        return {};
    if (refusal != ENOSYS)
        return fail(pathError(refusal, path));
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
    struct stat status { };
    const auto hasTrustworthyLocks = file_system::hasTrustworthyLocks(descriptor_);
    if (!hasTrustworthyLocks || ::fstat(descriptor_, &status) != 0)
        return fail(error(errno));
    constexpr std::int64_t silence = 60;  // seconds
    // A clock ahead of ours counts too.
    return !*hasTrustworthyLocks && ::time(nullptr) - status.st_mtime < silence;
}

Result<std::size_t> PosixFile::copySomeFrom(
    File& source, std::uint64_t from, std::uint64_t to, std::size_t count, std::span<std::byte> buffer)
{
    const auto* other = dynamic_cast<PosixFile*>(&source);
    const auto sourceOffset = fileOffset(from);
    const auto targetOffset = fileOffset(to);
    if (other && sourceOffset && targetOffset) {
        if (const auto copied =
                file_system::copyRange(other->descriptor_, *sourceOffset, descriptor_, *targetOffset, std::min(count, largestTransfer)))
            return *copied;
    }
    return File::copySomeFrom(source, from, to, count, buffer);
}

}  // namespace velmora::mp4
