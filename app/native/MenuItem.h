// The rows of a menu as data, for whoever draws it: a widget, a panel over the bus, or a Mac's menu bar.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace velmora {

enum class MenuAction {
    none,
    toggleRecording,
    togglePause,
    selectWindow,
    stopCapture,
    openRecentClip,
    openFolder,
    openGuide,
    openSettings,
    showClips,
    quit
};

/// A key with the modifiers that are held with it.
struct KeyEquivalent {
    char key = 0;  ///< in lower case
    bool withCommand = false;
    bool withOption = false;

    friend bool operator==(const KeyEquivalent&, const KeyEquivalent&) = default;
};

struct MenuItem {
    enum class Kind { separator, header, entry, remark };  ///< a remark takes as many lines as it needs, where they can be wrapped

    Kind kind = Kind::entry;
    std::string title;  ///< plain text
    std::string caption = {};  ///< what is said beneath the title, in lines; a menu that is drawn by others goes without
    std::string ending;  ///< of the title: what is kept of it when it is shortened
    MenuAction action = MenuAction::none;
    bool isEnabled = true;
    std::optional<KeyEquivalent> keyEquivalent;
    std::filesystem::path representedFile;  ///< openRecentClip: the clip
    std::vector<MenuItem> submenu;  ///< not empty: the item opens it and has no action of its own
    std::string submenuTitle;  ///< what assistive technology calls the submenu

    friend bool operator==(const MenuItem&, const MenuItem&) = default;
};

}  // namespace velmora
