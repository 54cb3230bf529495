// Decides whose sound a command means.
#pragma once

#include "base/Result.h"
#include "base/UniqueFunction.h"
#include "platform/WindowRequests.h"
#include "windows/CapturedWindowInfo.h"
#include "windows/SoundSuggestion.h"

#include <cstdint>
#include <optional>
#include <string>

namespace velmora {

class WindowSelectionService;

/// What a command says for a window without sound.
inline constexpr const char* noSoundWord = "none";

/// Why no sound can be chosen for a window that needs no request.
inline constexpr const char* soundIsTheWindowsOwn = "The sound of this window is its application's own: --sound is for windows that a "
                                                    "Wayland desktop shares.";

struct SoundDecision {
    std::optional<platform::SoundChoice> choice;  ///< none: there was nothing to choose, and the window has no sound
    std::string remark;  ///< what the user has to know about that; may be empty
};

/// `wanted` is the name of an application, its process number, or "none"; where nothing is wanted, what was chosen before counts, or
/// what the desktop knows. Where that leaves a choice open, the error says what there is and how to choose.
[[nodiscard]] Result<SoundDecision> decideSound(const std::optional<SoundSuggestion>& suggestion, const std::optional<std::string>& wanted);

struct RequestedWindow {
    CapturedWindowInfo window;
    std::string remark;  ///< may be empty
};

/// Requests a window and chooses its sound for a command, where nobody can be asked further. `completion` gets what is to be captured,
/// none when the user cancelled; once, on the main thread, never if the service is gone first. Main thread.
void requestWindowWithSound(WindowSelectionService& service, std::uint32_t id, std::optional<std::string> wantedSound,
    UniqueFunction<void(Result<std::optional<RequestedWindow>>)> completion);

}  // namespace velmora
