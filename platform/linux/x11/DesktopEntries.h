// The names and icons under which applications are installed (freedesktop.org desktop entries, version 1.5).
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velmora::linux_backend {

/// What a desktop entry says that is of use here.
struct DesktopEntry {
    std::string name;  ///< in the locale asked for
    std::string startupWMClass;  ///< may be empty
    std::string icon;  ///< a name in the icon theme or an absolute path; may be empty
    bool isHidden = false;  ///< counts as deleted
};

/// Reads the text of a desktop entry. Nothing when it is not an application or has no name. `locales` as from `preferredLocales`.
[[nodiscard]] std::optional<DesktopEntry> parseDesktopEntry(std::string_view text, const std::vector<std::string>& locales);

/// The keys that "Name[…]" is looked for under, best first, for a POSIX locale name such as "de_AT.UTF-8@euro".
[[nodiscard]] std::vector<std::string> preferredLocales(std::string_view localeName);

/// The installed applications, looked up by the class of a window. Reads the entries at the first look-up and again after one
/// of their directories has changed. Used on one thread.
class DesktopEntries {
public:
    /// `dataDirectories`, most important first, each with a folder "applications".
    DesktopEntries(std::vector<std::filesystem::path> dataDirectories, std::string_view localeName);

    /// From XDG_DATA_HOME, XDG_DATA_DIRS and LC_ALL, LC_MESSAGES, LANG.
    static DesktopEntries fromEnvironment();

    /// The name of the application with windows of this WM_CLASS: by StartupWMClass, else by the entry's file name. Case does not
    /// matter.
    [[nodiscard]] std::optional<std::string> nameFor(std::string_view windowClass, std::string_view instance);

    /// What that entry says of its icon; empty where there is no entry or no icon.
    [[nodiscard]] std::string iconFor(std::string_view windowClass, std::string_view instance);

    /// To be called once before a series of look-ups: looks whether a directory has changed.
    void refresh();

private:
    using Stamps = std::map<std::filesystem::path, std::filesystem::file_time_type>;

    struct Application {
        std::string name;
        std::string icon;
    };
    using Applications = std::map<std::string, Application>;

    void read();
    [[nodiscard]] const Application* find(std::string_view windowClass, std::string_view instance);

    std::vector<std::filesystem::path> directories_;
    std::vector<std::string> locales_;
    Stamps stamps_;
    bool isRead_ = false;
    Applications byClass_;
    Applications byFileName_;
};

}  // namespace velmora::linux_backend
