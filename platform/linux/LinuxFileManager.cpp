#include "platform/linux/LinuxFileManager.h"

#include "platform/posix/PosixFileManager.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <optional>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace velmora::linux_backend {

namespace {

std::string environment(const char* name)
{
    const char* value = std::getenv(name);
    return value ? value : "";
}

std::optional<std::filesystem::path> accountsHome()
{
    passwd account{};
    passwd* found = nullptr;
    std::vector<char> texts(1024);
    constexpr std::size_t longest = 1 << 20;
    while (::getpwuid_r(::getuid(), &account, texts.data(), texts.size(), &found) == ERANGE && texts.size() < longest)
        texts.resize(texts.size() * 2);
    if (!found || !found->pw_dir || *found->pw_dir == '\0')
        return std::nullopt;
    return found->pw_dir;
}

std::filesystem::path configurationDirectory(const std::filesystem::path& home)
{
    const auto chosen = environment("XDG_CONFIG_HOME");
    // The base directory rules say that a relative path is to be ignored.
    return !chosen.empty() && chosen.front() == '/' ? std::filesystem::path{chosen} : home / ".config";
}

std::chrono::system_clock::time_point timePoint(const struct statx_timestamp& time)
{
    const auto sinceEpoch = std::chrono::seconds{time.tv_sec} + std::chrono::nanoseconds{time.tv_nsec};
    return std::chrono::system_clock::time_point{std::chrono::duration_cast<std::chrono::system_clock::duration>(sinceEpoch)};
}

class LinuxFileManager final : public posix_backend::PosixFileManager {
public:
    [[nodiscard]] std::vector<std::filesystem::path> moviesDirectories() const override
    {
        const auto home = homeDirectory();
        std::ifstream file{configurationDirectory(home) / "user-dirs.dirs"};
        const std::string text{std::istreambuf_iterator<char>{file}, {}};
        const auto videos = videosDirectory(text, home);
        if (videos.empty())
            return {};
        return {videos};
    }

    [[nodiscard]] std::filesystem::path homeDirectory() const override
    {
        if (const auto home = environment("HOME"); !home.empty() && home.front() == '/')
            return home;
        return accountsHome().value_or("/");
    }

    [[nodiscard]] Result<platform::FileAttributes> attributesOfItem(const std::filesystem::path& path) const override
    {
        struct statx found { };
        if (::statx(AT_FDCWD, path.c_str(), 0, STATX_SIZE | STATX_MTIME | STATX_BTIME, &found) != 0)
            return fail(posixError(errno, path.native()));
        platform::FileAttributes attributes;
        attributes.size = static_cast<std::int64_t>(found.stx_size);
        // Not every file system keeps a time of birth.
        if ((found.stx_mask & STATX_BTIME) != 0)
            attributes.creationDate = timePoint(found.stx_btime);
        else if ((found.stx_mask & STATX_MTIME) != 0)
            attributes.creationDate = timePoint(found.stx_mtime);
        return attributes;
    }
};

}  // namespace

std::shared_ptr<platform::FileManager> makeFileManager()
{
    return std::make_shared<LinuxFileManager>();
}

std::filesystem::path videosDirectory(std::string_view userDirectories, const std::filesystem::path& home)
{
    constexpr std::string_view key = "XDG_VIDEOS_DIR=\"";
    constexpr std::string_view homePrefix = "$HOME";
    std::filesystem::path result;
    while (!userDirectories.empty()) {
        const auto end = userDirectories.find('\n');
        auto line = userDirectories.substr(0, end);
        userDirectories.remove_prefix(end == std::string_view::npos ? userDirectories.size() : end + 1);

        line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
        if (!line.starts_with(key))
            continue;
        line.remove_prefix(key.size());
        std::string value;
        bool closed = false;
        for (std::size_t i = 0; i < line.size() && !closed; ++i) {
            if (line[i] == '"')
                closed = true;
            else
                value += line[i] == '\\' && i + 1 < line.size() ? line[++i] : line[i];
        }
        if (!closed)
            continue;
        if (value.starts_with(homePrefix) && (value.size() == homePrefix.size() || value[homePrefix.size()] == '/'))
            value = home.native() + value.substr(homePrefix.size());
        // The last entry counts, as when a shell reads the file.
        result = value.starts_with('/') ? std::filesystem::path{value}.lexically_normal() : std::filesystem::path{};
    }
    if (!result.empty() && !result.has_filename())
        result = result.parent_path();
    return result == home.lexically_normal() ? std::filesystem::path{} : result;
}

}  // namespace velmora::linux_backend
