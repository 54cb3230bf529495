// The menu as data: what is in it in every state, whoever draws it.
#pragma once

#include "app/native/MenuItem.h"
#include "capture/CaptureState.h"
#include "library/ClipItem.h"
#include "windows/CapturedWindowInfo.h"

#include <optional>
#include <string>
#include <vector>

namespace velmora {

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
