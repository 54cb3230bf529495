#include "platform/linux/x11/DesktopEntries.h"

#include "platform/linux/x11/Text.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <set>
#include <system_error>

namespace velmora::linux_backend {

namespace {

namespace fs = std::filesystem;

std::string_view trimmed(std::string_view text)
{
    constexpr std::string_view blanks = " \t\r";
    const auto first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::string unescaped(std::string_view value)
{
    std::string result;
    for (std::size_t index = 0; index < value.size(); ++index) {
        if (value[index] != '\\' || index + 1 == value.size()) {
            result += value[index];
            continue;
        }
        switch (value[++index]) {
        case 's':
            result += ' ';
            break;
        case 'n':
            result += '\n';
            break;
        case 't':
            result += '\t';
            break;
        case 'r':
            result += '\r';
            break;
        default:
            result += value[index];
            break;
        }
    }
    return validUtf8(result);
}

std::string lowered(std::string_view text)
{
    std::string result{text};
    std::transform(
        result.begin(), result.end(), result.begin(), [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return result;
}

std::string environment(const char* name)
{
    const char* value = std::getenv(name);
    return value ? value : "";
}

}  // namespace

std::vector<std::string> preferredLocales(std::string_view localeName)
{
    const auto at = localeName.find('@');
    const std::string modifier{at == std::string_view::npos ? std::string_view{} : localeName.substr(at)};
    auto base = localeName.substr(0, at);
    base = base.substr(0, base.find('.'));
    if (base.empty() || base == "C" || base == "POSIX")
        return {};
    const std::string territory{base};
    const std::string language{base.substr(0, base.find('_'))};
    std::vector<std::string> result;
    for (const auto& candidate : {territory + modifier, territory, language + modifier, language}) {
        if (std::find(result.begin(), result.end(), candidate) == result.end())
            result.push_back(candidate);
    }
    return result;
}

std::optional<DesktopEntry> parseDesktopEntry(std::string_view text, const std::vector<std::string>& locales)
{
    DesktopEntry entry;
    bool isInGroup = false;
    bool isApplication = false;
    auto bestRank = locales.size() + 1;
    while (!text.empty()) {
        const auto end = text.find('\n');
        const auto line = trimmed(text.substr(0, end));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        if (line.empty() || line.front() == '#')
            continue;
        if (line.front() == '[') {
            // Groups after the first describe the entry's actions.
            if (isInGroup)
                break;
            isInGroup = line == "[Desktop Entry]";
            continue;
        }
        const auto equals = line.find('=');
        if (!isInGroup || equals == std::string_view::npos)
            continue;
        const auto key = trimmed(line.substr(0, equals));
        const auto value = trimmed(line.substr(equals + 1));
        if (key == "Type") {
            isApplication = value == "Application";
        } else if (key == "Hidden") {
            entry.isHidden = value == "true";
        } else if (key == "StartupWMClass") {
            entry.startupWMClass = unescaped(value);
        } else if (key == "Icon") {
            entry.icon = unescaped(value);
        } else if (key.starts_with("Name")) {
            auto rank = locales.size();
            if (key.size() > 4) {
                if (key[4] != '[' || key.back() != ']')
                    continue;
                const auto found = std::find(locales.begin(), locales.end(), key.substr(5, key.size() - 6));
                if (found == locales.end())
                    continue;
                rank = static_cast<std::size_t>(found - locales.begin());
            }
            if (rank < bestRank) {
                bestRank = rank;
                entry.name = unescaped(value);
            }
        }
    }
    if (!isApplication || entry.name.empty())
        return std::nullopt;
    return entry;
}

DesktopEntries::DesktopEntries(std::vector<fs::path> dataDirectories, std::string_view localeName)
    : directories_(std::move(dataDirectories))
    , locales_(preferredLocales(localeName))
{
}

DesktopEntries DesktopEntries::fromEnvironment()
{
    std::vector<fs::path> directories;
    const auto dataHome = environment("XDG_DATA_HOME");
    const auto home = environment("HOME");
    if (!dataHome.empty())
        directories.emplace_back(dataHome);
    else if (!home.empty())
        directories.emplace_back(fs::path(home) / ".local/share");
    auto others = environment("XDG_DATA_DIRS");
    if (others.empty())
        others = "/usr/local/share:/usr/share";
    for (std::string_view rest = others; !rest.empty();) {
        const auto colon = rest.find(':');
        if (colon != 0)
            directories.emplace_back(rest.substr(0, colon));
        rest.remove_prefix(colon == std::string_view::npos ? rest.size() : colon + 1);
    }
    std::string locale;
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        if (locale.empty())
            locale = environment(name);
    }
    return DesktopEntries{std::move(directories), locale};
}

void DesktopEntries::refresh()
{
    if (!isRead_)
        return;
    for (const auto& [directory, stamp] : stamps_) {
        std::error_code error;
        const auto now = fs::last_write_time(directory, error);
        if ((error ? fs::file_time_type::min() : now) != stamp) {
            isRead_ = false;
            return;
        }
    }
}

void DesktopEntries::read()
{
    isRead_ = true;
    stamps_.clear();
    byClass_.clear();
    byFileName_.clear();
    std::set<std::string> seen;
    const auto stamp = [this](const fs::path& directory) {
        std::error_code error;
        const auto time = fs::last_write_time(directory, error);
        stamps_[directory] = error ? fs::file_time_type::min() : time;
    };
    for (const auto& dataDirectory : directories_) {
        const auto applications = dataDirectory / "applications";
        stamp(applications);
        std::error_code error;
        std::vector<fs::path> files;
        for (auto entry = fs::recursive_directory_iterator(applications, fs::directory_options::skip_permission_denied, error);
             !error && entry != fs::recursive_directory_iterator(); entry.increment(error)) {
            std::error_code ignored;
            if (entry->is_directory(ignored))
                stamp(entry->path());
            else if (entry->path().extension() == ".desktop" && entry->is_regular_file(ignored))
                files.push_back(entry->path());
        }
        // The order of a directory is arbitrary; which of two entries for one class comes first must not be.
        std::sort(files.begin(), files.end());
        for (const auto& file : files) {
            // An entry hides those with the same id in less important directories.
            if (!seen.insert(fs::relative(file, applications, error).string()).second)
                continue;
            std::ifstream stream(file, std::ios::binary);
            const std::string text{std::istreambuf_iterator<char>(stream), {}};
            const auto entry = parseDesktopEntry(text, locales_);
            if (!entry || entry->isHidden)
                continue;
            if (!entry->startupWMClass.empty())
                byClass_.emplace(lowered(entry->startupWMClass), Application{entry->name, entry->icon});
            byFileName_.emplace(lowered(file.stem().string()), Application{entry->name, entry->icon});
        }
    }
}

const DesktopEntries::Application* DesktopEntries::find(std::string_view windowClass, std::string_view instance)
{
    if (!isRead_)
        read();
    for (const auto* applications : {&byClass_, &byFileName_}) {
        for (const auto key : {windowClass, instance}) {
            if (const auto found = applications->find(lowered(key)); !key.empty() && found != applications->end())
                return &found->second;
        }
    }
    return nullptr;
}

std::optional<std::string> DesktopEntries::nameFor(std::string_view windowClass, std::string_view instance)
{
    const auto* application = find(windowClass, instance);
    return application ? std::optional{application->name} : std::nullopt;
}

std::string DesktopEntries::iconFor(std::string_view windowClass, std::string_view instance)
{
    const auto* application = find(windowClass, instance);
    return application ? application->icon : std::string{};
}

}  // namespace velmora::linux_backend
