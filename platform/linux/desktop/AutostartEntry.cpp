#include "platform/linux/desktop/AutostartEntry.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <optional>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace velmora::linux_backend {

namespace {

constexpr const char* autostartDomain = "Velmora.AutostartEntry";
constexpr std::string_view entryGroup = "[Desktop Entry]";
constexpr std::string_view ourProgram = "velmora";
constexpr std::streamsize largestEntry = 64 * 1024;

std::string_view trimmed(std::string_view text)
{
    constexpr std::string_view space = " \t\r";
    const auto begin = text.find_first_not_of(space);
    return begin == std::string_view::npos ? std::string_view{} : text.substr(begin, text.find_last_not_of(space) - begin + 1);
}

std::vector<std::string> split(std::string_view text, std::string_view separators)
{
    std::vector<std::string> parts;
    while (!text.empty()) {
        const auto end = std::min(text.find_first_of(separators), text.size());
        if (end > 0)
            parts.emplace_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return parts;
}

/// The text of an entry, line by line.
class Entry {
public:
    explicit Entry(std::string text) : text_(std::move(text)) { }

    [[nodiscard]] const std::string& text() const { return text_; }

    /// Empty where there is no such key.
    [[nodiscard]] std::string value(std::string_view key) const
    {
        std::string found;
        forEachLine([&](std::string_view line, bool isInGroup) {
            if (isInGroup && keyOf(line) == key)
                found = trimmed(line.substr(line.find('=') + 1));
        });
        return found;
    }

    [[nodiscard]] Entry without(const std::vector<std::string_view>& keys) const
    {
        std::string rest;
        forEachLine([&](std::string_view line, bool isInGroup) {
            if (!isInGroup || std::find(keys.begin(), keys.end(), keyOf(line)) == keys.end())
                rest.append(line).append("\n");
        });
        return Entry{std::move(rest)};
    }

    [[nodiscard]] Entry hidden() const
    {
        std::string lines;
        bool isWritten = false;
        without({"Hidden"}).forEachLine([&](std::string_view line, bool isInGroup) {
            lines.append(line).append("\n");
            if (isInGroup && !std::exchange(isWritten, true))
                lines += "Hidden=true\n";
        });
        return Entry{std::move(lines)};
    }

    [[nodiscard]] bool startsSomething() const { return !value("Exec").empty(); }

    /// By itself or within a line for the shell.
    [[nodiscard]] bool startsUs() const
    {
        const auto words = split(value("Exec"), " \t\"';&|");
        return std::any_of(
            words.begin(), words.end(), [](const std::string& word) { return std::filesystem::path{word}.filename() == ourProgram; });
    }

    [[nodiscard]] bool isShownOn(const std::vector<std::string>& desktops) const
    {
        const auto names = [&](std::string_view key) {
            const auto listed = split(value(key), ";");
            return std::any_of(listed.begin(), listed.end(),
                [&](const std::string& name) { return std::find(desktops.begin(), desktops.end(), name) != desktops.end(); });
        };
        return (value("OnlyShowIn").empty() || names("OnlyShowIn")) && !names("NotShowIn");
    }

    [[nodiscard]] bool isOn(const std::vector<std::string>& desktops) const
    {
        return startsUs() && value("Hidden") != "true" && value("X-GNOME-Autostart-enabled") != "false" && isShownOn(desktops);
    }

private:
    static std::string_view keyOf(std::string_view line)
    {
        const auto separator = line.find('=');
        return separator == std::string_view::npos || line.starts_with('#') ? std::string_view{} : trimmed(line.substr(0, separator));
    }

    template <typename Work>
    void forEachLine(Work work) const
    {
        bool isInGroup = false;
        for (std::string_view rest = text_; !rest.empty();) {
            const auto end = std::min(rest.find('\n'), rest.size());
            const auto line = rest.substr(0, end);
            rest.remove_prefix(std::min(end + 1, rest.size()));
            if (trimmed(line).starts_with('['))
                isInGroup = trimmed(line) == entryGroup;
            work(line, isInGroup);
        }
    }

    std::string text_;
};

/// None where nothing is. What is there and is no file says nothing, as a link to /dev/null does, and is not opened.
std::optional<Entry> readEntry(const std::filesystem::path& path)
{
    std::error_code error;
    const auto status = std::filesystem::status(path, error);
    if (!std::filesystem::exists(status))
        return std::nullopt;
    std::string text;
    if (std::filesystem::is_regular_file(status)) {
        std::ifstream file{path, std::ios::binary};
        text.resize(static_cast<std::size_t>(largestEntry));
        file.read(text.data(), largestEntry);
        text.resize(static_cast<std::size_t>(file.gcount()));
    }
    return Entry{std::move(text)};
}

Result<void> writeEntry(const std::filesystem::path& path, const std::string& text)
{
    std::error_code error;
    std::filesystem::create_directories(path.parent_path(), error);
    auto temporary = (path.parent_path() / ("." + path.filename().native() + ".XXXXXX")).native();
    const int file = ::mkstemp(temporary.data());
    if (file < 0)
        return fail(posixError(errno, path.native()));
    const bool isWritten = ::write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size()) && ::fchmod(file, 0644) == 0;
    int failure = isWritten ? 0 : errno != 0 ? errno : EIO;
    ::close(file);
    if (isWritten && ::rename(temporary.c_str(), path.c_str()) != 0)
        failure = errno;
    if (failure == 0)
        return {};
    ::unlink(temporary.c_str());
    return fail(posixError(failure, path.native()));
}

class AutostartEntry final : public platform::LoginItem {
public:
    explicit AutostartEntry(AutostartOptions options) : options_(std::move(options)) { }

    [[nodiscard]] Status status() const override
    {
        const auto user = readEntry(userFile());
        const auto system = systemEntry();
        if (user && user->startsSomething() && !user->startsUs())
            return {false, false, userFile().native() + " starts another program. Remove it to have Velmora start at log-in."};
        const auto& effective = user ? user : system;
        if (!base(user, system))
            return {false, false, "Velmora is not installed, so there is nothing to start at log-in."};
        return {effective->isOn(options_.desktops), true, {}};
    }

    Result<void> setOn(bool isOn) override
    {
        const auto now = status();
        if (!now.canBeChanged)
            return fail(autostartDomain, 1, now.remark);
        if (now.isOn == isOn)
            return {};
        return isOn ? switchOn() : switchOff();
    }

private:
    [[nodiscard]] std::filesystem::path userFile() const { return options_.userFolder / options_.fileName; }

    [[nodiscard]] std::optional<Entry> systemEntry() const
    {
        for (const auto& folder : options_.systemFolders) {
            if (auto entry = readEntry(folder / options_.fileName))
                return entry;
        }
        return std::nullopt;
    }

    /// What an entry that is switched on is made from.
    static const Entry* base(const std::optional<Entry>& user, const std::optional<Entry>& system)
    {
        if (user && user->startsUs())
            return &*user;
        return system && system->startsUs() ? &*system : nullptr;
    }

    [[nodiscard]] Entry switchedOn(const Entry& entry) const
    {
        auto on = entry.without({"Hidden", "X-GNOME-Autostart-enabled"});
        return on.isShownOn(options_.desktops) ? on : on.without({"OnlyShowIn", "NotShowIn"});
    }

    [[nodiscard]] Result<void> switchOn() const
    {
        const auto user = readEntry(userFile());
        const auto system = systemEntry();
        return writeEntry(userFile(), switchedOn(*base(user, system)).text());
    }

    [[nodiscard]] Result<void> switchOff() const
    {
        const auto user = readEntry(userFile());
        const auto system = systemEntry();
        const bool isOurs = user && system && user->text() == switchedOn(*system).text();
        if (!isOurs || system->isOn(options_.desktops))
            return writeEntry(userFile(), base(user, system)->hidden().text());
        return ::unlink(userFile().c_str()) == 0 ? Result<void>{} : fail(posixError(errno, userFile().native()));
    }

    const AutostartOptions options_;
};

std::string_view autostartEnvironment(const char* name)
{
    const char* value = std::getenv(name);
    return value ? value : "";
}

}  // namespace

AutostartOptions AutostartOptions::fromEnvironment(const std::filesystem::path& home)
{
    AutostartOptions options;
    // A relative path is to be ignored: XDG Base Directory 0.8.
    const std::filesystem::path configuration{autostartEnvironment("XDG_CONFIG_HOME")};
    options.userFolder = (configuration.is_absolute() ? configuration : home / ".config") / "autostart";
    auto folders = split(autostartEnvironment("XDG_CONFIG_DIRS"), ":");
    if (folders.empty())
        folders.emplace_back("/etc/xdg");
    for (const auto& folder : folders) {
        if (std::filesystem::path{folder}.is_absolute())
            options.systemFolders.push_back(std::filesystem::path{folder} / "autostart");
    }
    options.desktops = split(autostartEnvironment("XDG_CURRENT_DESKTOP"), ":");
    return options;
}

std::shared_ptr<platform::LoginItem> makeLoginItem(AutostartOptions options)
{
    return std::make_shared<AutostartEntry>(std::move(options));
}

}  // namespace velmora::linux_backend
