// Seam: windows that the user has to grant, one by one, in a dialog of the desktop's own.
#pragma once

#include "base/Result.h"
#include "base/UniqueFunction.h"
#include "platform/ShareableContent.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace velmora::platform {

/// An application whose sound can go with a window, and what is known of the two.
struct AudibleApplication {
    RunningApplication application;
    std::string nowPlaying;  ///< what it says it is playing; may be empty
    bool isPlaying = false;  ///< false: it has paused, or was chosen earlier and is not running now
    bool ownsWindow = false;  ///< it has sound, and the desktop says that the window is that application's, if not which instance's
    bool wasChosen = false;  ///< that application, if not this instance, was chosen for this window the last time

    friend bool operator==(const AudibleApplication&, const AudibleApplication&) = default;
};

/// Whose sound may go with a window that was granted. "No sound" is always one of the choices.
struct SoundChoices {
    std::vector<AudibleApplication> applications;  ///< those that play first
    bool wasNoSoundChosen = false;  ///< for this window, the last time

    friend bool operator==(const SoundChoices&, const SoundChoices&) = default;
};

/// Whose sound goes with a window.
struct SoundChoice {
    std::optional<RunningApplication> application;  ///< none: it has no sound

    friend bool operator==(const SoundChoice&, const SoundChoice&) = default;
};

/// Main thread only.
class WindowRequests {
public:
    /// The window that was granted, perhaps not the one that was asked for; none when the user cancelled.
    using RequestCompletion = UniqueFunction<void(Result<std::optional<ShareableWindow>>)>;
    /// None: there is nothing to choose, because there can be no sound.
    using SoundCompletion = UniqueFunction<void(std::optional<SoundChoices>)>;

    virtual ~WindowRequests() = default;

    /// True for a listed window that has to be requested before it is captured; what is granted is captured in its place.
    [[nodiscard]] virtual bool needsRequest(std::uint32_t windowID) const = 0;

    /// For windows that need it. `completion` is called once, on the main thread, not before this call has returned. A later request
    /// cancels one that is still open.
    virtual void requestWindow(std::uint32_t windowID, RequestCompletion completion) = 0;

    /// The last step of a request: asks, each time afresh, whose sound may go with the window that was granted. Where there are choices,
    /// the window stays granted until one is made or it is given back. `completion` is called once, on the main thread, not before this
    /// call has returned.
    virtual void getSoundChoices(std::uint32_t windowID, SoundCompletion completion) = 0;

    /// One of the choices. It holds for captures of the window that begin from now on, and is remembered with the window.
    virtual void chooseSound(std::uint32_t windowID, const SoundChoice& choice) = 0;

    /// The granted window is not to be captured after all. Does nothing for any other, or for one that is being captured.
    virtual void giveBackWindow(std::uint32_t windowID) = 0;
};

}  // namespace velmora::platform
