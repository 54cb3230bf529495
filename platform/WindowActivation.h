// Seam: where the user is, and bringing a window of ours there.
#pragma once

#include "base/Geometry.h"

#include <cstdint>
#include <optional>

namespace velmora::platform {

/// One monitor, in the window system's pixels.
struct ScreenFrames {
    PixelRect frame;
    PixelRect visibleFrame;  ///< the part of it that panels leave free; never empty

    friend bool operator==(const ScreenFrames&, const ScreenFrames&) = default;
};

/// Main thread only.
class WindowActivation {
public:
    virtual ~WindowActivation() = default;

    /// Moves the window to the current workspace, raises it and gives it the focus, as far as the desktop lets a program do so. The
    /// window is already on the screen. `nativeWindow` is the window system's identifier.
    virtual void activate(std::uint64_t nativeWindow) = 0;

    /// The screen with the window that has the focus on the desktop, whosever it is; else the primary one. None if the desktop does not
    /// say. Asked anew each time.
    [[nodiscard]] virtual std::optional<ScreenFrames> mainScreen() = 0;
};

}  // namespace velmora::platform
