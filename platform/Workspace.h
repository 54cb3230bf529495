// Seam: the desktop around the program: opening things, and what happens to the machine.
#pragma once

#include "base/UniqueFunction.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velmora::platform {

/// Where a desktop has keys bound to commands of the user's.
struct KeySettings {
    std::string place;  ///< for people, as the desktop names it
    bool canBeOpened = false;  ///< its program is there

    friend bool operator==(const KeySettings&, const KeySettings&) = default;
};

/// How the user wants everything on display.
struct DisplayOptions {
    bool reducesMotion = false;
    bool increasesContrast = false;
    double textScale = 1;  ///< of the size of text, 0.5 to 3

    friend bool operator==(const DisplayOptions&, const DisplayOptions&) = default;
};

/// Called on the main thread. An empty function is not called.
struct WorkspaceObserver {
    /// The machine is about to sleep. It waits, as long as the system allows, until the argument is called or released.
    std::function<void(UniqueFunction<void()> readyToSleep)> willSleep;
    std::function<void()> didWake;

    /// A display was added, removed or moved, or changed its mode.
    std::function<void()> screenParametersDidChange;

    /// What the user wants of everything on display has changed.
    std::function<void()> accessibilityDisplayOptionsDidChange;

    /// `fileBrowserName` has changed: it has been found.
    std::function<void()> fileBrowserDidChange = {};
};

/// Main thread only. Nothing here waits for another program; what cannot be done is left undone.
class Workspace {
public:
    virtual ~Workspace() = default;

    /// Adds an observer for the rest of the process. Observing begins with the first one.
    virtual void addObserver(WorkspaceObserver observer) = 0;

    /// What the user has asked the desktop for. Known while observers are there; nothing in particular until the desktop has said so.
    [[nodiscard]] virtual DisplayOptions accessibilityDisplayOptions() const = 0;

    /// What people call the program that opens folders here, such as "Files". Found while observers are there; empty until then, and
    /// where there is none.
    [[nodiscard]] virtual std::string fileBrowserName() const = 0;

    /// Opens a file or folder with the user's program for it.
    virtual void open(const std::filesystem::path& path) = 0;

    /// Opens a link. That to the settings of screen recording opens this desktop's own page for it; nothing where none is known.
    virtual void openURL(std::string_view url) = 0;

    /// None where it is not known of this desktop.
    [[nodiscard]] virtual std::optional<KeySettings> keySettings() const = 0;

    /// Shows that page, if it can be opened.
    virtual void openKeySettings() = 0;

    /// Shows the files selected in the file browser.
    virtual void activateFileViewerSelecting(const std::vector<std::filesystem::path>& files) = 0;
};

}  // namespace velmora::platform
