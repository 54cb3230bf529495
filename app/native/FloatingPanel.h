// The panel in the corner as a window of the system's own, around a view that somebody else draws.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>

namespace velmora {

/// Main thread only. It is above other programs' windows, on every space and beside full-screen programs; it takes no focus and activates
/// nothing. The window is made when it is first needed, and reused.
class FloatingPanel {
public:
    virtual ~FloatingPanel() = default;

    /// The view that it shows, 340 by 110 points, by its native number; replaces the one before. The panel holds it.
    virtual void setContentView(std::uint64_t nativeView) = 0;

    /// To the top right corner of the main screen's free area, if there is a screen.
    virtual void place() = 0;

    /// Shows it, transparent, above everything, and fades it in. At once for a user who wants no motion.
    virtual void orderFrontAndFadeIn() = 0;

    /// Fades it out and hides it then, unless it has been shown again.
    virtual void fadeOutAndOrderOut(std::chrono::milliseconds duration) = 0;
};

[[nodiscard]] std::unique_ptr<FloatingPanel> makeFloatingPanel();

}  // namespace velmora
