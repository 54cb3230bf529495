// The icons of installed applications, found as freedesktop.org has it for icon themes (version 0.13).
#pragma once

#include "platform/ApplicationIcon.h"

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace velmora::linux_backend {

/// Finds and draws them. Reads a theme when it is first asked for and keeps where its icons are, not the icons. Used on one thread, any.
class IconTheme {
public:
    /// Folders with themes, most important first.
    explicit IconTheme(std::vector<std::filesystem::path> folders);

    /// Those of the user and of the system, by HOME, XDG_DATA_HOME and XDG_DATA_DIRS.
    static IconTheme fromEnvironment();

    /// The icon of that name in the theme, in those that it builds on, in "hicolor", or beside the themes; or the file, if `icon` is an absolute
    /// path. Files of more than 4 MiB and pictures of more than 1024 pixels a side are passed over. The result is a square of `side` pixels.
    [[nodiscard]] std::optional<platform::ApplicationIcon> draw(const std::string& icon, const std::string& theme, int side);

private:
    struct IconFolder {
        std::filesystem::path path;
        int smallest = 0;  ///< pixels that its icons are made for
        int largest = 0;
    };
    struct Theme {
        std::vector<IconFolder> folders;  ///< those that exist
        std::vector<std::string> parents;
    };

    const Theme& themeNamed(const std::string& name);
    [[nodiscard]] Theme read(const std::string& name) const;
    std::optional<platform::ApplicationIcon> drawFrom(const Theme& theme, const std::string& icon, int side);

    std::vector<std::filesystem::path> folders_;
    std::map<std::string, Theme> themes_;
};

}  // namespace velmora::linux_backend
