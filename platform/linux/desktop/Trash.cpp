#include "platform/linux/desktop/Trash.h"

#include <QByteArray>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <mntent.h>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>
#include <vector>

namespace velmora::linux_backend {

namespace {

constexpr std::string_view infoSuffix = ".trashinfo";
constexpr std::string_view infoHeading = "[Trash Info]";
constexpr std::string_view pathKey = "Path=";
constexpr std::string_view dateKey = "DeletionDate=";
// Readers have to ignore keys that they do not know. Both values are of one length, so that one takes the other's place.
constexpr std::string_view ownKey = "X-Velmora-Recording=";
constexpr std::string_view notOffered = "new";
constexpr std::string_view offered = "old";
constexpr std::size_t longestInfo = 65536;
constexpr int mostNames = 1000;
constexpr mode_t privateFolder = 0700;

struct TrashFolder {
    std::filesystem::path path;
    std::string info;  ///< of the file that is put into it
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
std::string infoText(const std::string& origin, bool isDiscardedRecording)
{
    const auto encoded = QByteArray::fromStdString(origin).toPercentEncoding("/").toStdString();
    const auto line = [](std::string_view key, std::string_view value) { return std::string{key}.append(value) + '\n'; };
    return line(infoHeading, {}) + line(pathKey, encoded) + line(dateKey, localDate())
        + (isDiscardedRecording ? line(ownKey, notOffered) : std::string{});
}

/// What an information file says.
struct Info {
    std::filesystem::path origin;  ///< as it is written there
    std::chrono::system_clock::time_point deleted;
    std::string_view offer;  ///< part of the text
};

std::optional<std::chrono::system_clock::time_point> timeOf(const std::string& localDate)
{
    std::tm local{};
    if (!::strptime(localDate.c_str(), "%Y-%m-%dT%H:%M:%S", &local))
        return std::nullopt;
    local.tm_isdst = -1;  // whatever it was then
    ::tzset();
    return std::chrono::system_clock::from_time_t(std::mktime(&local));
}

/// None for what we have not written ourselves.
std::optional<Info> parsedInfo(std::string_view text)
{
    const auto nextLine = [&text] {
        const auto line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        return line;
    };
    if (nextLine() != infoHeading)
        return std::nullopt;
    std::optional<std::string_view> path;
    std::optional<std::string_view> date;
    std::optional<std::string_view> offer;
    while (!text.empty()) {
        const auto line = nextLine();
        // Of a key that is there twice, the first counts.
        for (const auto& [key, value] : {std::pair{pathKey, &path}, {dateKey, &date}, {ownKey, &offer}}) {
            if (line.starts_with(key) && !*value)
                *value = line.substr(key.size());
        }
    }
    if (!path || !date || !offer)
        return std::nullopt;
    const auto origin = QByteArray::fromPercentEncoding({path->data(), static_cast<qsizetype>(path->size())}).toStdString();
    const auto deleted = timeOf(std::string{*date});
    if (!deleted || origin.empty() || origin.find('\0') != std::string::npos)
        return std::nullopt;
    return Info{origin, *deleted, *offer};
}

/// Closes itself.
class OpenInfo {
public:
    OpenInfo(const std::filesystem::path& path, int flags)
        : descriptor_(::open(path.c_str(), flags | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY))
    {
    }
    ~OpenInfo()
    {
        if (descriptor_ >= 0)
            ::close(descriptor_);
    }
    OpenInfo(const OpenInfo&) = delete;
    OpenInfo& operator=(const OpenInfo&) = delete;

    [[nodiscard]] std::string text() const
    {
        struct stat status { };
        if (descriptor_ < 0 || ::fstat(descriptor_, &status) != 0 || !S_ISREG(status.st_mode))
            return {};
        std::string text(longestInfo, '\0');
        const auto size = ::pread(descriptor_, text.data(), text.size(), 0);
        text.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
        return text;
    }

    void overwrite(std::size_t position, std::string_view text) const
    {
        [[maybe_unused]] const auto written = ::pwrite(descriptor_, text.data(), text.size(), static_cast<off_t>(position));
    }

private:
    const int descriptor_;
};

bool isRegularFile(const std::filesystem::path& path)
{
    struct stat status { };
    return ::lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

bool isOwnFolder(const std::filesystem::path& path, uid_t user)
{
    struct stat status { };
    return ::lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == user;
}

/// That of the file system which a trash is for; `trash` is not the user's own.
std::filesystem::path topOf(const std::filesystem::path& trash)
{
    const auto parent = trash.parent_path();
    return parent.filename() == ".Trash" ? parent.parent_path() : parent;
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
    for (int attempt = 1; attempt <= mostNames; ++attempt) {
        const auto name = nameInTrash(path, attempt);
        const engine::TrashedFile trashed{trash.path / "files" / name, trash.path / "info" / (name + std::string{infoSuffix})};
        auto result = createInfo(trashed.info, trash.info);
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
    return {data / "Trash", mountPoint, ::geteuid(), mountPoints};
}

Result<engine::TrashedFile> Trash::put(const std::filesystem::path& path, const Move& move) const
{
    return putWithInfo(path, move, true);
}

Result<engine::TrashedFile> Trash::putDeleted(const std::filesystem::path& path, const Move& move) const
{
    return putWithInfo(path, move, false);
}

Result<engine::TrashedFile> Trash::putWithInfo(const std::filesystem::path& path, const Move& move, bool isDiscardedRecording) const
{
    std::error_code error;
    const auto absolute = std::filesystem::absolute(path, error);
    if (error)
        return fail(trashError(error.value(), path));

    const auto atHome = makeFolders(places_.home);
    auto result = atHome ? putInto({places_.home, infoText(absolute.lexically_normal().native(), isDiscardedRecording)}, path, move)
                         : fail(atHome.error());
    if (result)
        return result;

    const auto folder = std::filesystem::canonical(absolute.parent_path(), error);
    const auto top = error || !places_.topDirectory ? std::filesystem::path{} : places_.topDirectory(folder);
    if (top.empty())
        return result;
    const auto info = infoText((folder / absolute.filename()).lexically_relative(top).native(), isDiscardedRecording);
    const auto user = std::to_string(places_.user);
    std::vector<std::filesystem::path> candidates{top / (".Trash-" + user)};
    if (isSharedTrash(top / ".Trash"))
        candidates.insert(candidates.begin(), top / ".Trash" / user);
    for (const auto& candidate : candidates) {
        const auto made = makeOwnFolder(candidate, places_.user);
        result = made ? putInto({candidate, info}, path, move) : fail(made.error());
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

/// Those that are there, each once: a file system may be mounted at more places than one.
std::vector<std::filesystem::path> Trash::folders() const
{
    std::vector<std::filesystem::path> found;
    std::vector<std::pair<dev_t, ino_t>> known;
    const auto add = [&](const std::filesystem::path& trash) {
        struct stat status { };
        if (::stat((trash / "info").c_str(), &status) != 0 || !S_ISDIR(status.st_mode))
            return;
        const std::pair identity{status.st_dev, status.st_ino};
        if (std::find(known.begin(), known.end(), identity) != known.end())
            return;
        known.push_back(identity);
        found.push_back(trash);
    };
    add(places_.home);
    const auto user = std::to_string(places_.user);
    for (const auto& top : places_.topDirectories ? places_.topDirectories() : std::vector<std::filesystem::path>{}) {
        if (isSharedTrash(top / ".Trash") && isOwnFolder(top / ".Trash" / user, places_.user))
            add(top / ".Trash" / user);
        if (isOwnFolder(top / (".Trash-" + user), places_.user))
            add(top / (".Trash-" + user));
    }
    return found;
}

std::vector<engine::TrashEntry> Trash::entries() const
{
    std::vector<engine::TrashEntry> found;
    for (const auto& trash : folders()) {
        std::error_code error;
        for (std::filesystem::directory_iterator infos{trash / "info", error}, end; !error && infos != end; infos.increment(error)) {
            const auto& info = infos->path();
            if (info.extension() != infoSuffix)
                continue;
            if (auto known = entry({trash / "files" / info.stem(), info}))
                found.push_back(std::move(*known));
        }
    }
    return found;
}

std::optional<engine::TrashEntry> Trash::entry(const engine::TrashedFile& trashed) const
{
    const auto text = OpenInfo{trashed.info, O_RDONLY}.text();
    const auto info = parsedInfo(text);
    if (!info || !isRegularFile(trashed.file))
        return std::nullopt;
    auto origin = info->origin;
    // Below the top of a file system the path is relative to it.
    if (origin.is_relative())
        origin = topOf(trashed.info.parent_path().parent_path()) / origin;
    return engine::TrashEntry{trashed, origin.lexically_normal(), info->deleted, info->offer != notOffered};
}

void Trash::noteOffered(const engine::TrashedFile& trashed) const
{
    const OpenInfo file{trashed.info, O_RDWR};
    const auto text = file.text();
    if (const auto info = parsedInfo(text); info && info->offer == notOffered)
        file.overwrite(static_cast<std::size_t>(info->offer.data() - text.data()), offered);
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

std::vector<std::filesystem::path> mountPoints()
{
    std::vector<std::filesystem::path> points;
    auto* table = ::setmntent("/proc/self/mounts", "re");
    if (!table)
        return points;
    mntent entry{};
    std::array<char, 4096> buffer{};
    while (::getmntent_r(table, &entry, buffer.data(), static_cast<int>(buffer.size()))) {
        if (std::string_view{entry.mnt_type} != "autofs")
            points.emplace_back(entry.mnt_dir);
    }
    ::endmntent(table);
    // A root by chroot has no entry of its own, but what is in no other file system is in its.
    if (std::ranges::find(points, "/") == points.end())
        points.emplace_back("/");
    return points;
}

}  // namespace velmora::linux_backend
