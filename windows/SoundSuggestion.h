// Whose sound is suggested for a window.
#pragma once

#include "platform/WindowRequests.h"

#include <optional>
#include <vector>

namespace velmora {

struct SoundSuggestion {
    enum class Reason {
        none,  ///< nothing is suggested: the user has to choose
        windowsOwn,  ///< the desktop says that the window is that application's: nobody has to be asked
        asBefore,  ///< the user chose it for this window the last time
        onlyPlaying,  ///< no other application plays
        nothingSounds,  ///< no sound, because there is no other choice
    };

    std::vector<platform::AudibleApplication> applications;  ///< to choose from, besides no sound; the suggested one first
    Reason reason = Reason::none;
    std::optional<platform::SoundChoice> choice = std::nullopt;

    friend bool operator==(const SoundSuggestion&, const SoundSuggestion&) = default;
};

/// What the user chose before counts for more than what the desktop says, and that for more than what is playing. Where there are several
/// candidates, none is suggested.
[[nodiscard]] SoundSuggestion suggestSound(platform::SoundChoices choices);

}  // namespace velmora
