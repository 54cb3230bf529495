// The mouse pointer: where it is, how it looks, and drawing it into a picture.
#pragma once

#include "base/Geometry.h"
#include "engine/pictures/PicturePool.h"
#include "platform/linux/x11/Connection.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace velmora::linux_backend {

/// A cursor's look: BGRA with the colours multiplied by alpha (X Fixes 4, GetCursorImage).
struct CursorImage {
    std::int32_t width = 0;
    std::int32_t height = 0;
    std::int32_t hotspotX = 0;
    std::int32_t hotspotY = 0;
    std::vector<std::uint32_t> pixels;
};

/// Where the cursor is to be drawn: `rectangle` is that of the whole image, which may extend beyond the picture.
struct CursorPlacement {
    bool isVisible = false;
    PixelRect rectangle;
    std::uint64_t imageNumber = 0;  ///< changes with the look

    friend bool operator==(const CursorPlacement&, const CursorPlacement&) = default;
};

/// Draws `image` over BGRA pixels, clipped to `width` x `height`. What was there goes to `saved`, if given.
void drawCursor(const CursorImage& image, const CursorPlacement& placement, std::byte* pixels, std::int32_t width, std::int32_t height,
    engine::SavedPixels* saved);

/// Puts back what drawCursor took away and forgets it.
void restorePixels(engine::SavedPixels& saved, std::byte* pixels, std::int32_t width);

/// Follows the pointer of the connection's screen. Movement is reported by the X Input extension's raw events, which arrive whatever
/// window the pointer is in; a jump made by a program (WarpPointer) causes none and is seen when somebody looks.
class CursorTracker {
public:
    static std::unique_ptr<CursorTracker> create(const Connection& connection);

    /// Takes note of an event of the connection.
    void handle(const xcb_generic_event_t& event);

    /// True when the pointer may have moved or changed its look since the last call of `locate`.
    [[nodiscard]] bool mayHaveChanged() const { return moved_ || imageStale_; }

    /// Asks the server where the cursor is, in coordinates relative to the point (originX, originY) of `window`. It is visible
    /// when its hot spot is inside the `area` (same coordinates) and no other top-level window than `topLevel` is under it there.
    CursorPlacement locate(xcb_window_t window, xcb_window_t topLevel, std::int32_t originX, std::int32_t originY, PixelRect area);

    [[nodiscard]] const CursorImage& image() const { return image_; }

private:
    explicit CursorTracker(const Connection& connection);
    void fetchImage();

    const Connection& connection_;
    std::uint8_t cursorNotify_ = 0;
    std::uint8_t inputOpcode_ = 0;
    bool moved_ = true;
    bool imageStale_ = true;
    std::uint64_t imageNumber_ = 0;
    CursorImage image_;
};

}  // namespace velmora::linux_backend
