// Seam: what the desktop offers for capture.
#pragma once

#include "base/Geometry.h"
#include "base/Result.h"
#include "base/UniqueFunction.h"

#include <chrono>
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

/// As the desktop counts and calls it.
struct DesktopWorkspace {
    std::uint32_t number = 0;  ///< from 1
    std::string name;  ///< may be empty

    friend bool operator==(const DesktopWorkspace&, const DesktopWorkspace&) = default;
};

struct ShareableWindow {
    std::uint32_t windowID = 0;
    std::optional<std::string> title;
    Rect frame;  ///< points, in the space of all displays
    std::int64_t windowLayer = 0;  ///< 0 is the layer of ordinary windows
    bool isOnScreen = false;
    std::optional<RunningApplication> owningApplication;
    bool isChoice = false;  ///< no window yet but one to be chosen by the user when this is requested; it has no frame
    /// When the user chose it, of a window that the desktop tells nothing else of.
    std::optional<std::chrono::sys_seconds> chosenAt = std::nullopt;
    bool isMinimised = false;  ///< false where the desktop does not say
    std::optional<DesktopWorkspace> otherWorkspace = std::nullopt;  ///< it is there and not on the current one; none where that is unknown

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

class SoundActivity;
class WindowIcons;
class WindowRequests;

class ShareableContentProvider {
public:
    using Completion = UniqueFunction<void(Result<ShareableContent>)>;

    virtual ~ShareableContentProvider() = default;

    /// Queries the desktop afresh. `completion` is called exactly once, on any thread, perhaps before this call returns.
    virtual void getShareableContent(bool excludingDesktopWindows, bool onScreenWindowsOnly, Completion completion) = 0;

    /// Where the desktop lets windows be captured only once their user has granted them; as long as the provider. Null: all that are
    /// listed can be captured as they are.
    [[nodiscard]] virtual WindowRequests* requests() { return nullptr; }

    /// Which processes play, where windows have processes; as long as the provider. Null where nobody can tell.
    [[nodiscard]] virtual SoundActivity* soundActivity() { return nullptr; }

    /// The icons of what is listed; as long as the provider. Null where the desktop tells of none.
    [[nodiscard]] virtual WindowIcons* icons() { return nullptr; }
};

}  // namespace velmora::platform
