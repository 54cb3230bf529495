// Whose sound is suggested for a window.
#pragma once

#include "platform/WindowRequests.h"

#include <optional>
#include <vector>

namespace velmora {

struct SoundSuggestion {
    enum class Reason {
        none,  ///< and no choice: it is the user's
        windowsOwn,  ///< the desktop tells that the window is its: nobody has to be asked
        asBefore,  ///< the user chose it for this window the last time
        onlyPlaying,  ///< no other application plays
        nothingSounds,  ///< no sound, because there is no other choice
    };

    std::vector<platform::AudibleApplication> applications;  ///< to choose from, beside no sound; what is suggested first
    Reason reason = Reason::none;
    std::optional<platform::SoundChoice> choice = std::nullopt;

    friend bool operator==(const SoundSuggestion&, const SoundSuggestion&) = default;
};

/// What the user chose before counts more than what the desktop tells, and that more than what plays. Of several that it could be, none is
/// suggested.
[[nodiscard]] SoundSuggestion suggestSound(platform::SoundChoices choices);

}  // namespace velmora
