// Seam: what is needed by a window that floats above all others and is not a rectangle.
#pragma once

#include "base/Geometry.h"

#include <cstdint>
#include <memory>
#include <optional>

namespace velmora::platform {

/// Main thread only. `nativeWindow` is the window system's identifier; rectangles are in the window's own pixels.
class FloatingWindows {
public:
    /// Keeps a window in front for as long as this object lives, and no longer than the FloatingWindows that made it.
    class InFront {
    public:
        virtual ~InFront() = default;
    };

    virtual ~FloatingWindows() = default;

    /// Whether the desktop now honours the opacity of windows, so that they can have a shadow and smooth edges.
    [[nodiscard]] virtual bool areComposited() = 0;

    /// Clicks outside `area` go to what lies below the window; without a value, none do.
    virtual void setClickableArea(std::uint64_t nativeWindow, std::optional<PixelRect> area) = 0;

    /// Raises the window, without giving it the focus, when another program's window covers some of its `part`; a back end may give up
    /// against one that raises itself as often. A window that covers a whole monitor is left alone: nobody may look behind a screen lock.
    /// Null if the desktop cannot do this.
    [[nodiscard]] virtual std::unique_ptr<InFront> keepInFront(std::uint64_t nativeWindow, const PixelRect& part) = 0;
};

}  // namespace velmora::platform
