// The menu as data: what is in it in every state, whoever draws it.
#pragma once

#include "capture/CaptureState.h"
#include "library/ClipItem.h"
#include "windows/CapturedWindowInfo.h"

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

/// What the menu is made from.
struct MenuContent {
    const CaptureState& state;
    const std::optional<CapturedWindowInfo>& selectedWindow;
    const std::vector<ClipItem>& recentClips;  ///< newest first
    bool isRecording = false;  ///< frames go into a file, which the capture's end discards
    std::string stateCaption = {};  ///< beneath the state
    std::string fileBrowser = {};  ///< what people call it here; empty where that is not known
    std::string notice = {};  ///< what is wrong or being waited for; a caption below the state where there is something to say
};

/// How many clips the submenu lists at most.
inline constexpr std::size_t recentClipCount = 5;

/// The row that leads to the window with all clips, for a menu that has it.
[[nodiscard]] MenuItem showClipsItem();

/// The row that pauses the recording in progress, or goes on with one that is paused, for a menu that has it.
[[nodiscard]] MenuItem pauseItem(bool isPaused);

/// Whether one menu can be made the other by changing captions.
[[nodiscard]] bool differOnlyInCaptions(const std::vector<MenuItem>& menu, const std::vector<MenuItem>& other);

[[nodiscard]] std::vector<MenuItem> describeMenu(const MenuContent& content);

}  // namespace velmora
