#include "platform/linux/LinuxFileManager.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <pwd.h>
#include <system_error>
#include <unistd.h>

namespace velmora::linux_backend {

namespace {

std::string environment(const char* name)
{
    const char* value = std::getenv(name);
    return value ? value : "";
}

std::filesystem::path configurationDirectory(const std::filesystem::path& home)
{
    const auto chosen = environment("XDG_CONFIG_HOME");
    // The base directory rules say that a relative path is to be ignored.
    return !chosen.empty() && chosen.front() == '/' ? std::filesystem::path{chosen} : home / ".config";
}

Error fileError(const std::error_code& error, const std::filesystem::path& path)
{
    return posixError(error.value(), path.native());
}

class LinuxFileManager final : public platform::FileManager {
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
        const passwd* entry = ::getpwuid(::getuid());
        return entry && entry->pw_dir ? entry->pw_dir : "/";
    }

    [[nodiscard]] bool fileExists(const std::filesystem::path& path, bool* isDirectory) const override
    {
        std::error_code ignored;
        const auto status = std::filesystem::status(path, ignored);
        if (isDirectory)
            *isDirectory = std::filesystem::is_directory(status);
        return std::filesystem::exists(status);
    }

    Result<void> createDirectory(const std::filesystem::path& path) override
    {
        std::error_code error;
        std::filesystem::create_directories(path, error);
        if (error)
            return fail(fileError(error, path));
        return {};
    }

    Result<void> removeFile(const std::filesystem::path& path) override
    {
        // unlink, because std::filesystem::remove would take an empty folder too.
        if (::unlink(path.c_str()) != 0)
            return fail(posixError(errno, path.native()));
        return {};
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
        // The last entry holds, as when a shell reads the file.
        result = value.starts_with('/') ? std::filesystem::path{value}.lexically_normal() : std::filesystem::path{};
    }
    if (!result.empty() && !result.has_filename())
        result = result.parent_path();
    return result == home.lexically_normal() ? std::filesystem::path{} : result;
}

}  // namespace velmora::linux_backend
