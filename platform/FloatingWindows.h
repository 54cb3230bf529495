// Seam: what a window needs that floats above all others and is no rectangle.
#pragma once

#include "base/Geometry.h"

#include <cstdint>
#include <memory>
#include <optional>

namespace velmora::platform {

/// Main thread only. `nativeWindow` is the window system's identifier; rectangles are of the window's own pixels.
class FloatingWindows {
public:
    /// Keeps a window in front for as long as this object lives, and no longer than the FloatingWindows that made it.
    class InFront {
    public:
        virtual ~InFront() = default;
    };

    virtual ~FloatingWindows() = default;

    /// Whether the desktop shows windows with their opacity now, so that one can have a shadow and smooth edges.
    [[nodiscard]] virtual bool areComposited() = 0;

    /// Clicks beside `area` go to what lies below the window; none: none do.
    virtual void setClickableArea(std::uint64_t nativeWindow, std::optional<PixelRect> area) = 0;

    /// Raises the window, without giving it the focus, whenever another program's window covers some of `part` of it. A window that covers a
    /// whole monitor is let be: a screen lock must not be looked behind. Null where the desktop has no such thing.
    [[nodiscard]] virtual std::unique_ptr<InFront> keepInFront(std::uint64_t nativeWindow, const PixelRect& part) = 0;
};

}  // namespace velmora::platform
