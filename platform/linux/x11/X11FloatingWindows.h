// Windows that float, on an X server.
#pragma once

#include "platform/FloatingWindows.h"
#include "platform/linux/x11/X11EventThread.h"

#include <memory>
#include <vector>

namespace velmora::linux_backend {

/// What a stacking order has above a window.
struct CoveringWindow {
    PixelRect frame;
    bool isShown = false;  ///< mapped, and painted at all
    bool isOfTheSameProgram = false;
};

/// Whether one of the windows above covers some of `part`. Rectangles are in the root window. Windows that cover a whole monitor, and those
/// of the program itself (its menus), do not count.
[[nodiscard]] bool isCovered(const PixelRect& part, const std::vector<CoveringWindow>& above, const std::vector<PixelRect>& monitors);

/// Composited means that the selection _NET_WM_CM_Sn has an owner (EWMH). Needs XFixes 2 for clickable areas; without it all is clickable.
/// A window that is kept in front has to be a child of the root, as those that override redirection are; the event thread hears of every
/// change beside it. If another program raises its own just as stubbornly, ours gives up.
class X11FloatingWindows final : public platform::FloatingWindows {
public:
    static constexpr int mostRaises = 50;

    explicit X11FloatingWindows(std::shared_ptr<X11EventThread> events) : events_(std::move(events)) { }

    [[nodiscard]] bool areComposited() override;
    void setClickableArea(std::uint64_t nativeWindow, std::optional<PixelRect> area) override;
    [[nodiscard]] std::unique_ptr<InFront> keepInFront(std::uint64_t nativeWindow, const PixelRect& part) override;

private:
    const std::shared_ptr<X11EventThread> events_;
};

}  // namespace velmora::linux_backend
