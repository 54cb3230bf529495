// One window of the server, followed through everything that happens to it.
#pragma once

#include "base/Geometry.h"
#include "base/Result.h"
#include "platform/linux/x11/Connection.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace velmora::linux_backend {

/// Keeps a window redirected (Composite), so that its pixels are there however it is covered or moved off the screen, names the
/// pixmap that holds them, and collects what is drawn (Damage). The window itself is redirected, not its frame: the pixmap is
/// then exactly the client area with its child windows. Events of the connection are fed in by its reader.
class TrackedWindow {
public:
    struct Damage {
        PixelRect rectangle;  ///< relative to the content
        std::uint32_t sequence;  ///< the connection's last request that the server had carried out before the drawing
    };

    /// Fails when the window does not exist, is not viewable, or has pixels other than 32-bit BGRX or BGRA.
    static Result<std::unique_ptr<TrackedWindow>> create(const Connection& connection, xcb_window_t window);
    ~TrackedWindow();
    TrackedWindow(const TrackedWindow&) = delete;
    TrackedWindow& operator=(const TrackedWindow&) = delete;

    void handle(const xcb_generic_event_t& event);

    /// True when events came in after which `refresh` has to be called.
    [[nodiscard]] bool needsRefresh() const { return pixmapStale_ || stateStale_ || ancestorsStale_; }

    /// Asks the server for what the events made out of date. True when the content is a different one: all of it must be fetched.
    bool refresh();

    /// Destroyed or withdrawn by its program (ICCCM 4.1.4). Minimised or on another workspace is not gone: what was seen last
    /// can still be fetched.
    [[nodiscard]] bool isGone() const { return isGone_; }

    [[nodiscard]] xcb_window_t window() const { return window_; }

    /// The window's ancestor that is a child of the root: the frame, if it has one.
    [[nodiscard]] xcb_window_t topLevel() const { return topLevel_; }

    [[nodiscard]] xcb_pixmap_t pixmap() const { return pixmap_; }

    /// The content within the pixmap: without border and without the shadows that a client draws (_GTK_FRAME_EXTENTS).
    [[nodiscard]] const PixelRect& content() const { return content_; }

    /// The content's origin relative to the window's.
    [[nodiscard]] std::int32_t contentX() const { return content_.x - border_; }
    [[nodiscard]] std::int32_t contentY() const { return content_.y - border_; }

    /// Whether it was redirected already when this began: then the content is its own from the first moment. Otherwise it begins with what
    /// was on the screen in its place, other windows included, and its program is told to paint it anew.
    [[nodiscard]] bool wasRedirected() const { return wasRedirected_; }

    /// What its program has drawn since the last call, in order, clipped to the content.
    [[nodiscard]] std::vector<Damage>& damage() { return damage_; }

    /// Makes the server report again what it has already reported. Returns the number of that request.
    std::uint32_t subtractDamage();

private:
    TrackedWindow(const Connection& connection, xcb_window_t window);
    Result<void> begin();
    void watchAncestors();
    void refreshState();
    bool renamePixmap();
    void freePixmap();

    const Connection& connection_;
    xcb_window_t window_;
    xcb_window_t topLevel_ = XCB_NONE;
    xcb_pixmap_t pixmap_ = XCB_NONE;
    std::uint32_t damageId_ = XCB_NONE;
    xcb_atom_t stateAtom_ = XCB_NONE;
    xcb_atom_t extentsAtom_ = XCB_NONE;
    std::uint8_t damageNotify_ = 0;
    std::uint32_t begun_ = 0;  ///< the request after which what is drawn is its program's doing
    bool wasRedirected_ = false;
    PixelRect content_;
    std::int32_t border_ = 0;
    std::int32_t windowWidth_ = 0;
    std::int32_t windowHeight_ = 0;
    bool pixmapStale_ = false;
    bool stateStale_ = false;
    bool ancestorsStale_ = false;
    bool isGone_ = false;
    std::vector<Damage> damage_;
};

}  // namespace velmora::linux_backend
