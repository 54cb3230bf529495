#include "platform/linux/x11/Cursor.h"

#include <algorithm>
#include <cstring>
#include <xcb/xfixes.h>
#include <xcb/xinput.h>

namespace velmora::linux_backend {

namespace {

std::uint32_t over(std::uint32_t above, std::uint32_t below)
{
    const std::uint32_t rest = 255 - (above >> 24);
    std::uint32_t result = 0;
    for (int shift = 0; shift < 32; shift += 8) {
        const std::uint32_t channel = ((below >> shift) & 0xffU) * rest + 127;
        result |= std::min<std::uint32_t>(255, ((above >> shift) & 0xffU) + channel / 255) << shift;
    }
    return result;
}

std::byte* rowAddress(std::byte* pixels, std::int32_t width, std::int32_t x, std::int32_t y)
{
    return pixels + (static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)) * 4;
}

}  // namespace

void drawCursor(const CursorImage& image, const CursorPlacement& placement, std::byte* pixels, std::int32_t width, std::int32_t height,
    engine::SavedPixels* saved)
{
    const auto part = placement.rectangle.intersected({0, 0, width, height});
    if (!placement.isVisible || part.isEmpty())
        return;
    const auto rowPixels = static_cast<std::size_t>(part.width);
    if (saved) {
        saved->rectangle = part;
        saved->pixels.resize(rowPixels * static_cast<std::size_t>(part.height));
    }
    std::vector<std::uint32_t> row(rowPixels);
    for (std::int32_t y = 0; y < part.height; ++y) {
        std::byte* target = rowAddress(pixels, width, part.x, part.y + y);
        std::memcpy(row.data(), target, rowPixels * 4);
        if (saved)
            std::copy(row.begin(), row.end(), saved->pixels.begin() + std::ptrdiff_t{y} * part.width);
        const auto sourceX = static_cast<std::size_t>(part.x - placement.rectangle.x);
        const auto sourceY = static_cast<std::size_t>(part.y + y - placement.rectangle.y);
        const auto* source = image.pixels.data() + sourceY * static_cast<std::size_t>(image.width) + sourceX;
        for (std::size_t x = 0; x < rowPixels; ++x)
            row[x] = over(source[x], row[x]);
        std::memcpy(target, row.data(), rowPixels * 4);
    }
}

void restorePixels(engine::SavedPixels& saved, std::byte* pixels, std::int32_t width)
{
    const auto part = saved.rectangle;
    for (std::int32_t y = 0; y < part.height; ++y) {
        std::memcpy(rowAddress(pixels, width, part.x, part.y + y), saved.pixels.data() + std::ptrdiff_t{y} * part.width,
            static_cast<std::size_t>(part.width) * 4);
    }
    saved.rectangle = {};
}

std::unique_ptr<CursorTracker> CursorTracker::create(const Connection& connection)
{
    return std::unique_ptr<CursorTracker>(new CursorTracker(connection));
}

CursorTracker::CursorTracker(const Connection& connection) : connection_(connection)
{
    xcb_xfixes_select_cursor_input(connection.xcb(), connection.root(), XCB_XFIXES_CURSOR_NOTIFY_MASK_DISPLAY_CURSOR);
    cursorNotify_ = static_cast<std::uint8_t>(connection.firstEvent(xcb_xfixes_id) + XCB_XFIXES_CURSOR_NOTIFY);

    if (!connection.has(xcb_input_id)
        || !connection.reply(xcb_input_xi_query_version_reply, xcb_input_xi_query_version(connection.xcb(), 2, 2)))
        return;
    inputOpcode_ = xcb_get_extension_data(connection.xcb(), &xcb_input_id)->major_opcode;
    struct {
        xcb_input_event_mask_t head;
        std::uint32_t mask;
    } selection{{XCB_INPUT_DEVICE_ALL_MASTER, 1}, XCB_INPUT_XI_EVENT_MASK_RAW_MOTION};
    xcb_input_xi_select_events(connection.xcb(), connection.root(), 1, &selection.head);
}

void CursorTracker::handle(const xcb_generic_event_t& event)
{
    const auto type = typeOf(event);
    if (type == cursorNotify_)
        imageStale_ = true;
    else if (type == XCB_GE_GENERIC && reinterpret_cast<const xcb_ge_generic_event_t&>(event).extension == inputOpcode_)
        moved_ = true;
}

CursorPlacement CursorTracker::locate(
    xcb_window_t window, xcb_window_t topLevel, std::int32_t originX, std::int32_t originY, PixelRect area)
{
    const auto onRoot = xcb_query_pointer(connection_.xcb(), connection_.root());
    const auto inWindow = xcb_query_pointer(connection_.xcb(), window);
    moved_ = false;
    if (imageStale_)
        fetchImage();
    const auto root = connection_.reply(xcb_query_pointer_reply, onRoot);
    const auto here = connection_.reply(xcb_query_pointer_reply, inWindow);
    CursorPlacement placement;
    if (!root || !here || !here->same_screen || root->child != topLevel || image_.width == 0)
        return placement;
    const std::int32_t x = here->win_x - originX;
    const std::int32_t y = here->win_y - originY;
    if (area.intersected({x, y, 1, 1}).isEmpty())
        return placement;
    placement.isVisible = true;
    placement.rectangle = {x - image_.hotspotX, y - image_.hotspotY, image_.width, image_.height};
    placement.imageNumber = imageNumber_;
    return placement;
}

void CursorTracker::fetchImage()
{
    imageStale_ = false;
    ++imageNumber_;
    image_ = {};
    const auto reply = connection_.reply(xcb_xfixes_get_cursor_image_reply, xcb_xfixes_get_cursor_image(connection_.xcb()));
    if (!reply)
        return;
    const auto* pixels = xcb_xfixes_get_cursor_image_cursor_image(reply.get());
    const auto count = static_cast<std::size_t>(reply->width) * reply->height;
    // A program that hides its cursor sets one without a visible pixel.
    if (std::all_of(pixels, pixels + count, [](std::uint32_t pixel) { return pixel >> 24 == 0; }))
        return;
    image_ = {reply->width, reply->height, reply->xhot, reply->yhot, {pixels, pixels + count}};
}

}  // namespace velmora::linux_backend
