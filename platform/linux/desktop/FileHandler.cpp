#include "platform/linux/desktop/FileHandler.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <map>
#include <optional>
#include <sstream>

namespace velmora::linux_backend {

namespace {

constexpr std::size_t longestLine = 64 * 1024;

using Values = std::map<std::string, std::string, std::less<>>;

std::string variable(const char* name)
{
    const char* value = std::getenv(name);
    return value ? value : "";
}

std::vector<std::string> parts(const std::string& text, char separator)
{
    std::vector<std::string> found;
    std::istringstream stream{text};
    for (std::string part; std::getline(stream, part, separator);) {
        if (!part.empty())
            found.push_back(part);
    }
    return found;
}

std::vector<std::filesystem::path> folders(
    const char* first, const std::string& firstDefault, const char* others, const char* othersDefault)
{
    std::vector<std::filesystem::path> found;
    auto all = parts(variable(others).empty() ? othersDefault : variable(others), ':');
    all.insert(all.begin(), variable(first).empty() ? firstDefault : variable(first));
    // A relative path counts as none (XDG Base Directory).
    std::copy_if(all.begin(), all.end(), std::back_inserter(found), [](const auto& folder) { return folder.starts_with('/'); });
    return found;
}

std::string trimmed(const std::string& text)
{
    const auto begin = text.find_first_not_of(" \t\r");
    return begin == std::string::npos ? std::string{} : text.substr(begin, text.find_last_not_of(" \t\r") - begin + 1);
}

/// What a file of groups and keys has in one group; of a key that comes twice, the first.
Values readGroup(const std::filesystem::path& file, std::string_view group)
{
    Values values;
    std::error_code error;
    // Reading anything else, a pipe for example, could wait for ever.
    if (!std::filesystem::is_regular_file(file, error))
        return values;
    std::ifstream stream{file};
    bool isInGroup = false;
    for (std::string line; std::getline(stream, line) && line.size() < longestLine;) {
        line = trimmed(line);
        if (line.starts_with('['))
            isInGroup = line == '[' + std::string{group} + ']';
        const auto equals = line.find('=');
        if (isInGroup && equals != std::string::npos && !line.starts_with('#'))
            values.emplace(trimmed(line.substr(0, equals)), trimmed(line.substr(equals + 1)));
    }
    return values;
}

/// Of the entry with that name, wherever it is first: none where it is nowhere or removed.
std::optional<std::string> nameOf(const FileHandlerPlaces& places, const std::string& entry)
{
    // A name, and no way to any other place.
    if (entry.find('/') != std::string::npos)
        return std::nullopt;
    for (const auto& folder : places.data) {
        const auto values = readGroup(folder / "applications" / entry, "Desktop Entry");
        if (values.empty())
            continue;
        if (const auto hidden = values.find("Hidden"); hidden != values.end() && hidden->second == "true")
            return std::nullopt;
        const auto language = places.language.substr(0, places.language.find('_'));
        for (const auto& key : {"Name[" + places.language + ']', "Name[" + language + ']', std::string{"Name"}}) {
            if (const auto name = values.find(key); name != values.end() && !name->second.empty())
                return name->second;
        }
        return std::nullopt;
    }
    return std::nullopt;
}

}  // namespace

FileHandlerPlaces FileHandlerPlaces::fromEnvironment()
{
    const auto home = variable("HOME");
    FileHandlerPlaces places;
    places.configuration = folders("XDG_CONFIG_HOME", home + "/.config", "XDG_CONFIG_DIRS", "/etc/xdg");
    places.data = folders("XDG_DATA_HOME", home + "/.local/share", "XDG_DATA_DIRS", "/usr/local/share:/usr/share");
    for (auto desktop : parts(variable("XDG_CURRENT_DESKTOP"), ':')) {
        std::transform(desktop.begin(), desktop.end(), desktop.begin(),
            [](char letter) { return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter; });
        places.desktops.push_back(std::move(desktop));
    }
    for (const auto* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        if (const auto value = variable(name); !value.empty()) {
            places.language = value.substr(0, value.find_first_of(".@"));
            break;
        }
    }
    return places;
}

std::string fileHandlerName(const FileHandlerPlaces& places, std::string_view type)
{
    const auto firstInstalled = [&](const std::filesystem::path& list, const char* group) -> std::string {
        const auto values = readGroup(list, group);
        const auto entries = values.find(type);
        if (entries == values.end())
            return {};
        for (const auto& entry : parts(entries->second, ';')) {
            if (const auto name = nameOf(places, entry))
                return *name;
        }
        return {};
    };
    auto lists = places.configuration;
    for (const auto& folder : places.data)
        lists.push_back(folder / "applications");
    for (const auto& folder : lists) {
        for (const auto& desktop : places.desktops) {
            if (auto name = firstInstalled(folder / (desktop + "-mimeapps.list"), "Default Applications"); !name.empty())
                return name;
        }
        if (auto name = firstInstalled(folder / "mimeapps.list", "Default Applications"); !name.empty())
            return name;
    }
    for (const auto& folder : places.data) {
        if (auto name = firstInstalled(folder / "applications" / "mimeinfo.cache", "MIME Cache"); !name.empty())
            return name;
    }
    return {};
}

}  // namespace velmora::linux_backend
