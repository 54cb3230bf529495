// Seam: what the desktop offers for capture.
#pragma once

#include "base/Geometry.h"
#include "base/Result.h"
#include "base/UniqueFunction.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace velmora::platform {

struct RunningApplication {
    std::string bundleIdentifier;  ///< may be empty
    std::string applicationName;  ///< may be empty
    std::int32_t processID = 0;  ///< 0 when the desktop does not say

    friend bool operator==(const RunningApplication&, const RunningApplication&) = default;
};

struct ShareableWindow {
    std::uint32_t windowID = 0;
    std::optional<std::string> title;
    Rect frame;  ///< points, in the space of all displays
    std::int64_t windowLayer = 0;  ///< 0 is the layer of ordinary windows
    bool isOnScreen = false;
    std::optional<RunningApplication> owningApplication;
    bool isChoice = false;  ///< no window yet but one to be chosen by the user when this is requested; it has no frame

    friend bool operator==(const ShareableWindow&, const ShareableWindow&) = default;
};

struct ShareableDisplay {
    std::uint32_t displayID = 0;
    Rect frame;  ///< points

    friend bool operator==(const ShareableDisplay&, const ShareableDisplay&) = default;
};

/// Windows are ordered topmost first.
struct ShareableContent {
    std::vector<ShareableWindow> windows;
    std::vector<ShareableDisplay> displays;
    std::vector<RunningApplication> applications;
};

/// An application whose sound can go with a window.
struct AudibleApplication {
    RunningApplication application;
    std::string nowPlaying;  ///< what it says that it plays; may be empty
    bool isPlaying = false;  ///< false: it has paused, or was chosen before and is not there now

    friend bool operator==(const AudibleApplication&, const AudibleApplication&) = default;
};

/// Whose sound may go with a window that was granted, where a desktop tells less of it than of others. "No sound" is always among it.
struct SoundChoices {
    enum class Suggestion {
        nothing,
        windowsOwn,  ///< the first application, because the desktop tells that the window is its: nobody has to be asked
        onlyPlaying,  ///< the first application, because no other plays
        asBefore,  ///< the first application, because it was chosen for this window before
        noSoundAsBefore,
    };

    std::vector<AudibleApplication> applications;  ///< the suggested one first, then those that play
    Suggestion suggestion = Suggestion::nothing;

    friend bool operator==(const SoundChoices&, const SoundChoices&) = default;
};

/// Whose sound goes with a window.
struct SoundChoice {
    std::optional<RunningApplication> application;  ///< none: it has no sound

    friend bool operator==(const SoundChoice&, const SoundChoice&) = default;
};

class ShareableContentProvider {
public:
    using Completion = UniqueFunction<void(Result<ShareableContent>)>;
    /// The window as it was granted, perhaps another one than was asked for; none when the user cancelled.
    using RequestCompletion = UniqueFunction<void(Result<std::optional<ShareableWindow>>)>;
    /// None: there is nothing to choose, because nothing can sound.
    using SoundCompletion = UniqueFunction<void(std::optional<SoundChoices>)>;

    virtual ~ShareableContentProvider() = default;

    /// Queries the desktop afresh. `completion` is called exactly once, on any thread, perhaps before this call returns.
    virtual void getShareableContent(bool excludingDesktopWindows, bool onScreenWindowsOnly, Completion completion) = 0;

    /// True for a listed window that its user has to grant first, in a dialog of the desktop's own: such a window is to be requested
    /// before it is captured, and what is granted is captured instead of it. Main thread.
    [[nodiscard]] virtual bool needsRequest(std::uint32_t /*windowID*/) const { return false; }

    // The rest is for windows that need to be requested: nobody calls it on a provider that has none.

    /// For windows that need it. Main thread; `completion` is called once, on the main thread, not before this call has returned. A later
    /// request cancels one that is on its way.
    virtual void requestWindow(std::uint32_t /*windowID*/, RequestCompletion /*completion*/) { }

    /// The last step of a request, for windows that needed one: asks, each time afresh, whose sound may go with the window that was
    /// granted. Where there are choices, the window stays granted until one is made or it is given back. Main thread; `completion` is
    /// called once, on the main thread, not before this call has returned.
    virtual void getSoundChoices(std::uint32_t /*windowID*/, SoundCompletion /*completion*/) { }

    /// One of the choices. It holds for captures of the window that begin from now on, and is remembered with the window. Main thread.
    virtual void chooseSound(std::uint32_t /*windowID*/, const SoundChoice& /*choice*/) { }

    /// The granted window is not to be captured after all. Main thread.
    virtual void giveBackWindow(std::uint32_t /*windowID*/) { }
};

}  // namespace velmora::platform
