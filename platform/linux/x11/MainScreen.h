// Which monitor the user works on, and what panels leave free of it.
#pragma once

#include "base/Geometry.h"
#include "platform/WindowActivation.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace velmora::linux_backend {

struct Monitor {
    PixelRect frame;
    bool isPrimary = false;
};

/// What a panel reserves at the edges of the root window, whichever monitor it is on (EWMH, _NET_WM_STRUT_PARTIAL, in its order). The
/// end of a range is its last pixel.
struct Strut {
    std::uint32_t left = 0;
    std::uint32_t right = 0;
    std::uint32_t top = 0;
    std::uint32_t bottom = 0;
    std::uint32_t leftStart = 0;
    std::uint32_t leftEnd = ~std::uint32_t{0};
    std::uint32_t rightStart = 0;
    std::uint32_t rightEnd = ~std::uint32_t{0};
    std::uint32_t topStart = 0;
    std::uint32_t topEnd = ~std::uint32_t{0};
    std::uint32_t bottomStart = 0;
    std::uint32_t bottomEnd = ~std::uint32_t{0};

    /// The values of _NET_WM_STRUT_PARTIAL, else those of _NET_WM_STRUT, which has the first four; none when they are too few or nothing is
    /// reserved.
    static std::optional<Strut> fromValues(const std::vector<std::uint32_t>& partial, const std::vector<std::uint32_t>& whole);
};

/// The rectangles of a property that lists work areas: x, y, width and height of each. Fewer values left over at the end are ignored.
[[nodiscard]] std::vector<PixelRect> workAreasFrom(const std::vector<std::uint32_t>& values);

/// A desktop as its X server describes it. Rectangles are in the root window.
struct DesktopLayout {
    PixelRect root;
    std::vector<Monitor> monitors;
    std::vector<Strut> struts;
    std::vector<PixelRect> monitorWorkAreas;  ///< one for each monitor, in any order, from window managers that report them that way
    std::optional<PixelRect> workArea;  ///< _NET_WORKAREA: one rectangle for all monitors together
    std::optional<PixelRect> focusedWindow;
};

/// The monitor that shows most of the focused window, else the primary, else the first; a root without monitors is one. Its visible frame
/// is what struts, and whatever else the window manager reports, leave of it; one that would leave nothing does not count.
/// A strut that would take a whole monitor belongs to a panel at the edge of the monitor behind it. _NET_WORKAREA counts where there is one
/// monitor, or where nothing else tells of a panel: with several monitors it has the worst of each.
/// None when there is neither root nor monitor.
[[nodiscard]] std::optional<platform::ScreenFrames> mainScreen(const DesktopLayout& layout);

}  // namespace velmora::linux_backend
