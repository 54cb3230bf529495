// The desktop entry that starts the program at log-in: freedesktop.org, Desktop Application Autostart 0.5.
#pragma once

#include "platform/LoginItem.h"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace velmora::linux_backend {

struct AutostartOptions {
    std::filesystem::path userFolder;  ///< the one that counts first
    std::vector<std::filesystem::path> systemFolders;  ///< the most important first
    std::vector<std::string> desktops;  ///< names of the one that runs
    std::string fileName = "com.velmora.Velmora.desktop";

    /// From XDG_CONFIG_HOME, XDG_CONFIG_DIRS and XDG_CURRENT_DESKTOP.
    static AutostartOptions fromEnvironment(const std::filesystem::path& home);
};

/// Switched on, there is an entry of the user's: the system's, without the keys that keep it from being started. Switched off, that entry
/// is gone again; one that somebody has changed, or a system's that is on, is hidden instead. An entry that starts another program is left
/// alone. Files are replaced in one step and never written through a link, so what a link leads to stays as it is.
std::shared_ptr<platform::LoginItem> makeLoginItem(AutostartOptions options);

}  // namespace velmora::linux_backend
