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
    std::int32_t processID = 0;  ///< 0 when the desktop does not tell

    friend bool operator==(const RunningApplication&, const RunningApplication&) = default;
};

struct ShareableWindow {
    std::uint32_t windowID = 0;
    std::optional<std::string> title;
    Rect frame;  ///< points, in the space of all displays
    std::int64_t windowLayer = 0;  ///< 0 is the layer of ordinary windows
    bool isOnScreen = false;
    std::optional<RunningApplication> owningApplication;

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

class ShareableContentProvider {
public:
    using Completion = UniqueFunction<void(Result<ShareableContent>)>;
    /// The window as it was granted, perhaps another one than was asked for; none when the user cancelled.
    using RequestCompletion = UniqueFunction<void(Result<std::optional<ShareableWindow>>)>;

    virtual ~ShareableContentProvider() = default;

    /// Queries the desktop afresh. `completion` is called exactly once, on any thread, perhaps before this call returns.
    virtual void getShareableContent(bool excludingDesktopWindows, bool onScreenWindowsOnly, Completion completion) = 0;

    /// True for a listed window that its user has to grant first, in a dialog of the desktop's own: such a window is to be requested
    /// before it is captured, and what is granted is captured instead of it. Main thread.
    [[nodiscard]] virtual bool needsRequest(std::uint32_t /*windowID*/) const { return false; }

    /// For windows that need it. Main thread; `completion` is called once, on the main thread, not before this call has returned. A later
    /// request cancels one that is on its way.
    virtual void requestWindow(std::uint32_t /*windowID*/, RequestCompletion /*completion*/) { }
};

}  // namespace velmora::platform
