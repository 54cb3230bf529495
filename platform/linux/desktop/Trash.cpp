#include "platform/linux/desktop/Trash.h"

#include <QByteArray>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace velmora::linux_backend {

namespace {

constexpr std::string_view infoSuffix = ".trashinfo";
constexpr int mostNames = 1000;
constexpr mode_t privateFolder = 0700;

struct TrashFolder {
    std::filesystem::path path;
    std::string origin;  ///< of the file, as this trash's information gives it
};

Error trashError(int errnoValue, const std::filesystem::path& path)
{
    return posixError(errnoValue, path.native());
}

Result<void> makeFolder(const std::filesystem::path& path)
{
    if (::mkdir(path.c_str(), privateFolder) == 0)
        return {};
    const int errnoValue = errno;
    std::error_code ignored;
    if (std::filesystem::is_directory(path, ignored))
        return {};
    return fail(trashError(errnoValue, path));
}

/// With the folders above it.
Result<void> makeFolders(const std::filesystem::path& path)
{
    std::error_code ignored;
    if (std::filesystem::is_directory(path, ignored))
        return {};
    if (path.has_relative_path()) {
        if (auto made = makeFolders(path.parent_path()); !made)
            return made;
    }
    return makeFolder(path);
}

/// A folder that somebody other than its user could have put in our way: a link does not count, nor does somebody else's.
Result<void> makeOwnFolder(const std::filesystem::path& path, uid_t user)
{
    static_cast<void>(::mkdir(path.c_str(), privateFolder));
    struct stat status { };
    if (::lstat(path.c_str(), &status) != 0)
        return fail(trashError(errno, path));
    if (!S_ISDIR(status.st_mode))
        return fail(trashError(ENOTDIR, path));
    if (status.st_uid != user)
        return fail(trashError(EPERM, path));
    return {};
}

/// An administrator made it for all users: everybody may write, nobody may take away another's.
bool isSharedTrash(const std::filesystem::path& path)
{
    struct stat status { };
    return ::lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && (status.st_mode & S_ISVTX) != 0;
}

std::string localDate()
{
    const auto now = std::time(nullptr);
    std::tm local{};
    ::tzset();
    ::localtime_r(&now, &local);
    std::array<char, 32> text{};
    return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &local)};
}

// RFC 2396, byte by byte, with the slashes as they are.
std::string infoText(const std::string& origin)
{
    const auto encoded = QByteArray::fromStdString(origin).toPercentEncoding("/").toStdString();
    return "[Trash Info]\nPath=" + encoded + "\nDeletionDate=" + localDate() + '\n';
}

/// The name in the trash at the `attempt`-th attempt, counted from 1, short enough for the information's suffix.
std::string nameInTrash(const std::filesystem::path& path, int attempt)
{
    const auto counter = attempt == 1 ? std::string{} : '.' + std::to_string(attempt);
    auto stem = path.stem().native();
    auto extension = path.extension().native();
    const auto room = NAME_MAX - infoSuffix.size() - counter.size();
    extension.resize(std::min(extension.size(), room / 2));
    if (stem.size() + extension.size() > room) {
        auto size = room - extension.size();
        // Not within a character of UTF-8, which has at most three bytes after the first.
        for (int i = 0; i < 3 && (static_cast<unsigned char>(stem[size]) & 0xC0U) == 0x80U; ++i)
            --size;
        stem.resize(size);
    }
    return stem + counter + extension;
}

Result<void> createInfo(const std::filesystem::path& path, std::string_view text)
{
    const int descriptor = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (descriptor < 0)
        return fail(trashError(errno, path));
    const auto written = ::write(descriptor, text.data(), text.size());
    int errnoValue = written < 0 ? errno : static_cast<std::size_t>(written) == text.size() ? 0 : ENOSPC;
    if (::close(descriptor) != 0 && errnoValue == 0)
        errnoValue = errno;
    if (errnoValue == 0)
        return {};
    ::unlink(path.c_str());
    return fail(trashError(errnoValue, path));
}

Result<engine::TrashedFile> putInto(const TrashFolder& trash, const std::filesystem::path& path, const Trash::Move& move)
{
    for (const char* folder : {"files", "info"}) {
        if (auto made = makeFolder(trash.path / folder); !made)
            return fail(made.error());
    }
    const auto text = infoText(trash.origin);
    for (int attempt = 1; attempt <= mostNames; ++attempt) {
        const auto name = nameInTrash(path, attempt);
        const engine::TrashedFile trashed{trash.path / "files" / name, trash.path / "info" / (name + std::string{infoSuffix})};
        auto result = createInfo(trashed.info, text);
        if (result) {
            result = move(trashed.file);
            if (result)
                return trashed;
            ::unlink(trashed.info.c_str());
        }
        if (result.error().code != EEXIST)
            return fail(result.error());
    }
    return fail(trashError(EEXIST, trash.path));
}

}  // namespace

Trash::Places Trash::placesOfUser(const std::filesystem::path& home)
{
    const char* chosen = std::getenv("XDG_DATA_HOME");
    // The base directory rules say that a relative path is to be ignored.
    const auto data = chosen && *chosen == '/' ? std::filesystem::path{chosen} : home / ".local/share";
    return {data / "Trash", mountPoint, ::geteuid()};
}

Result<engine::TrashedFile> Trash::put(const std::filesystem::path& path, const Move& move) const
{
    std::error_code error;
    const auto absolute = std::filesystem::absolute(path, error);
    if (error)
        return fail(trashError(error.value(), path));

    const auto atHome = makeFolders(places_.home);
    auto result = atHome ? putInto({places_.home, absolute.lexically_normal().native()}, path, move) : fail(atHome.error());
    if (result)
        return result;

    const auto folder = std::filesystem::canonical(absolute.parent_path(), error);
    const auto top = error || !places_.topDirectory ? std::filesystem::path{} : places_.topDirectory(folder);
    if (top.empty())
        return result;
    const auto origin = (folder / absolute.filename()).lexically_relative(top).native();
    const auto user = std::to_string(places_.user);
    std::vector<std::filesystem::path> candidates{top / (".Trash-" + user)};
    if (isSharedTrash(top / ".Trash"))
        candidates.insert(candidates.begin(), top / ".Trash" / user);
    for (const auto& candidate : candidates) {
        const auto made = makeOwnFolder(candidate, places_.user);
        result = made ? putInto({candidate, origin}, path, move) : fail(made.error());
        if (result)
            return result;
    }
    return result;
}

void Trash::remove(const engine::TrashedFile& trashed) const
{
    ::unlink(trashed.file.c_str());
    ::unlink(trashed.info.c_str());
}

std::filesystem::path mountPoint(const std::filesystem::path& folder)
{
    std::error_code error;
    auto point = std::filesystem::canonical(folder, error);
    struct stat status { };
    if (error || ::stat(point.c_str(), &status) != 0)
        return {};
    const auto device = status.st_dev;
    while (point.has_relative_path() && ::stat(point.parent_path().c_str(), &status) == 0 && status.st_dev == device)
        point = point.parent_path();
    return point;
}

}  // namespace velmora::linux_backend
