// The desktop as who sits before it: keys, clicks, and what comes onto the screen, heard of as it happens.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>
#include <xcb/xcb.h>

namespace velmora::linux_backend {
class Connection;
}

namespace velmora::benchmarks {

/// A part of a window's content, in pixels from its upper left corner.
struct Area {
    std::int16_t x = 0;
    std::int16_t y = 0;
    std::uint16_t width = 0;
    std::uint16_t height = 0;
};

/// Places on the keyboard, by evdev.
inline constexpr std::uint8_t escapeKey = 9;
inline constexpr std::uint8_t wKey = 25;
inline constexpr std::uint8_t superKey = 133;

/// Whatever is awaited in vain ends the benchmark with an exception. Nothing here looks at intervals: it is woken by what happens.
class DesktopWatch {
public:
    DesktopWatch();
    ~DesktopWatch();

    /// What was heard so far does not count.
    void forget();

    /// Waits until a window that was the screen's has become somebody else's: the icon has its place in the tray. Its identifier.
    xcb_window_t awaitDocking();

    /// Waits for a window that no window manager has a say in.
    void awaitMenu();

    /// Waits until the window with that title shows letters there, light ones on something dark. Its identifier.
    xcb_window_t awaitText(const std::string& title, const Area& area);

    /// Waits until something light or coloured covers most of that part of the window.
    void awaitPicture(xcb_window_t window, const Area& area);

    /// Waits until the window is no longer on the screen.
    void awaitUnmapping(xcb_window_t window);

    /// Presses and releases the left button in the middle of a window, or somewhere in it.
    void click(xcb_window_t window);
    void doubleClick(xcb_window_t window, std::int16_t x, std::int16_t y);

    /// Presses the keys one after another and releases them.
    void press(const std::vector<std::uint8_t>& keys);

private:
    void movePointer(xcb_window_t window, std::int16_t x, std::int16_t y);
    void pressButton();
    void fake(std::uint8_t type, std::uint8_t detail, std::int16_t x, std::int16_t y);
    void awaitEvent(const std::string& what, const std::function<bool(const xcb_generic_event_t&)>& isIt);
    void awaitScreen(const std::string& what, const std::function<bool()>& shows);
    [[nodiscard]] xcb_window_t windowTitled(const std::string& title) const;

    const std::unique_ptr<linux_backend::Connection> connection_;
    std::uint32_t damage_ = 0;
    std::uint8_t damageEvent_ = 0;
};

}  // namespace velmora::benchmarks
