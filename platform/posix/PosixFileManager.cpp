#include "platform/posix/PosixFileManager.h"

#include "media/mp4/PosixFile.h"

#include <cerrno>
#include <fcntl.h>
#include <system_error>
#include <unistd.h>

namespace velmora::posix_backend {

namespace {

Error fileError(const std::error_code& error, const std::filesystem::path& path)
{
    return posixError(error.value(), path.native());
}

}  // namespace

bool PosixFileManager::fileExists(const std::filesystem::path& path, bool* isDirectory) const
{
    std::error_code ignored;
    const auto status = std::filesystem::status(path, ignored);
    if (isDirectory)
        *isDirectory = std::filesystem::is_directory(status);
    return std::filesystem::exists(status);
}

Result<std::vector<std::filesystem::path>> PosixFileManager::contentsOfDirectory(
    const std::filesystem::path& directory, bool skipsHiddenFiles) const
{
    std::error_code error;
    std::vector<std::filesystem::path> contents;
    for (auto entry = std::filesystem::directory_iterator{directory, error}; !error && entry != std::filesystem::directory_iterator{};
         entry.increment(error)) {
        if (!skipsHiddenFiles || !entry->path().filename().native().starts_with('.'))
            contents.push_back(entry->path());
    }
    if (error)
        return fail(fileError(error, directory));
    return contents;
}

Result<void> PosixFileManager::checkWritable(const std::filesystem::path& directory) const
{
    // With the dot, a file is an error too.
    if (::faccessat(AT_FDCWD, (directory / ".").c_str(), W_OK | X_OK, AT_EACCESS) != 0)
        return fail(posixError(errno, directory.native()));
    return {};
}

Result<void> PosixFileManager::createDirectory(const std::filesystem::path& path)
{
    std::error_code error;
    std::filesystem::create_directories(path, error);
    if (error)
        return fail(fileError(error, path));
    return {};
}

Result<void> PosixFileManager::removeFile(const std::filesystem::path& path)
{
    // A recorder's lock is on its file; while we hold it ourselves, nobody who wants the name can slip in between.
    const auto file = mp4::PosixFile::openForUpdating(path);
    if (file) {
        const auto locked = (*file)->tryLock();
        if (locked && !*locked)
            return fail(posixError(EBUSY, path.native()));
        return (*file)->removeFromFolder();
    }
    if (const int code = file.error().code; code != ELOOP && code != EINVAL && code != EACCES) {
        return fail(posixError(code, path.native()));
    }
    // unlink, because std::filesystem::remove would take an empty folder too.
    if (::unlink(path.c_str()) != 0)
        return fail(posixError(errno, path.native()));
    return {};
}

}  // namespace velmora::posix_backend
