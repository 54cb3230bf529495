// What is said of the state beside the given texts: after the item's tooltip, and beneath the state's row in the menu.
#pragma once

#include "app/RecordingObserver.h"
#include "capture/CaptureState.h"

#include <optional>
#include <string>

namespace velmora {

/// In whole sentences, for people; what is empty is not said.
struct StateRemarks {
    std::string progress = {};  ///< how long the recording runs and how large it is, as "1:05, 12.3 MB so far"
    bool isPaused = false;  ///< the recording is
    std::string problem = {};  ///< why nothing is captured though it should be
    std::string shortcut = {};  ///< why no key starts a recording, and what to do about it
    std::string notice = {};  ///< what else is wrong or being waited for
    std::string ending = {};  ///< what would end a recording unsaved; where rows have captions these say so

    friend bool operator==(const StateRemarks&, const StateRemarks&) = default;
};

/// What they are made from.
struct StateFacts {
    const CaptureState& state;
    std::optional<RecordingProgress> progress = std::nullopt;
    std::string permissionExplanation = {};  ///< why the screen cannot be recorded, as far as the desktop says
    std::string lostWindow = {};  ///< why no window is chosen any more, if the user did not ask for that
    bool isShortcutRefused = false;
    std::string shortcutReason = {};  ///< what the desktop says of a shortcut that it refused; with what to do
    std::string notice = {};
    bool isRecording = false;  ///< frames go into a file, which the capture's end discards
};

/// Why a chosen window is not chosen any more.
inline constexpr const char* windowIsGone = "The window was closed or is no longer available.";
inline constexpr const char* machineSlept = "The capture was stopped because the computer went to sleep.";

[[nodiscard]] StateRemarks remarks(const StateFacts& facts);

/// The given tooltip, with each remark on a line of its own after it.
[[nodiscard]] std::string toolTip(const StateRemarks& remarks);

/// What stands beneath the state's row, in lines. The notice has a row of its own.
[[nodiscard]] std::string stateCaption(const StateRemarks& remarks);

}  // namespace velmora
