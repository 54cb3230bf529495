#include "platform/linux/x11/TrackedWindow.h"

#include "platform/linux/x11/Errors.h"

#include <algorithm>
#include <string_view>
#include <utility>
#include <xcb/composite.h>
#include <xcb/damage.h>

namespace velmora::linux_backend {

namespace {

constexpr std::uint32_t withdrawnState = 0;  // ICCCM 4.1.3.1

const xcb_visualtype_t* findVisual(const xcb_screen_t& screen, xcb_visualid_t id, std::uint8_t& depth)
{
    for (auto depths = xcb_screen_allowed_depths_iterator(&screen); depths.rem > 0; xcb_depth_next(&depths)) {
        for (auto visuals = xcb_depth_visuals_iterator(depths.data); visuals.rem > 0; xcb_visualtype_next(&visuals)) {
            if (visuals.data->visual_id == id) {
                depth = depths.data->depth;
                return visuals.data;
            }
        }
    }
    return nullptr;
}

/// BGRA in memory: 4 bytes per pixel, least significant first, red in bits 16 to 23.
bool isPictureFormat(const Connection& connection, xcb_visualid_t visualId)
{
    std::uint8_t depth = 0;
    const auto* visual = findVisual(connection.screen(), visualId, depth);
    if (!visual || (depth != 24 && depth != 32) || visual->red_mask != 0xff0000 || visual->green_mask != 0xff00
        || visual->blue_mask != 0xff)
        return false;
    const auto* setup = xcb_get_setup(connection.xcb());
    if (setup->image_byte_order != XCB_IMAGE_ORDER_LSB_FIRST)
        return false;
    for (auto formats = xcb_setup_pixmap_formats_iterator(setup); formats.rem > 0; xcb_format_next(&formats)) {
        if (formats.data->depth == depth)
            return formats.data->bits_per_pixel == 32;
    }
    return false;
}

xcb_intern_atom_cookie_t intern(const Connection& connection, std::string_view name)
{
    return xcb_intern_atom(connection.xcb(), 0, static_cast<std::uint16_t>(name.size()), name.data());
}

}  // namespace

Result<std::unique_ptr<TrackedWindow>> TrackedWindow::create(const Connection& connection, xcb_window_t window)
{
    std::unique_ptr<TrackedWindow> tracked{new TrackedWindow(connection, window)};
    if (auto begun = tracked->begin(); !begun)
        return fail(std::move(begun.error()));
    return tracked;
}

TrackedWindow::TrackedWindow(const Connection& connection, xcb_window_t window) : connection_(connection), window_(window)
{
    const auto state = intern(connection, "WM_STATE");
    const auto extents = intern(connection, "_GTK_FRAME_EXTENTS");
    if (const auto reply = connection.reply(xcb_intern_atom_reply, state))
        stateAtom_ = reply->atom;
    if (const auto reply = connection.reply(xcb_intern_atom_reply, extents))
        extentsAtom_ = reply->atom;
    damageNotify_ = static_cast<std::uint8_t>(connection.firstEvent(xcb_damage_id) + XCB_DAMAGE_NOTIFY);
}

TrackedWindow::~TrackedWindow()
{
    freePixmap();
    if (damageId_ != XCB_NONE)
        xcb_damage_destroy(connection_.xcb(), damageId_);
}

Result<void> TrackedWindow::begin()
{
    const std::uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_PROPERTY_CHANGE;
    const auto selected = xcb_change_window_attributes_checked(connection_.xcb(), window_, XCB_CW_EVENT_MASK, &events);
    const auto asked = xcb_get_window_attributes(connection_.xcb(), window_);
    const bool exists = connection_.succeeded(selected);
    const auto attributes = connection_.reply(xcb_get_window_attributes_reply, asked);
    if (connection_.isBroken())
        return failX11(X11ErrorCode::connectionLost, "The connection to the X display was lost.");
    if (!exists || !attributes || attributes->_class != XCB_WINDOW_CLASS_INPUT_OUTPUT)
        return failX11(X11ErrorCode::windowUnavailable, "The window is no longer available.");
    if (attributes->map_state != XCB_MAP_STATE_VIEWABLE)
        return failX11(X11ErrorCode::windowNotOnScreen, "The window is not on the screen.");
    if (!isPictureFormat(connection_, attributes->visual))
        return failX11(X11ErrorCode::unsupportedPixels, "Only windows with 24 or 32 bits a pixel can be captured.");

    // One moment for the server, so that whatever the program paints because of the redirection comes after it. The damage object's first
    // report is the whole window, and the window's background is painted again: neither is the program's doing.
    xcb_grab_server(connection_.xcb());
    const auto named = connection_.newId();
    const auto askedBefore = xcb_composite_name_window_pixmap_checked(connection_.xcb(), window_, named);
    const auto redirected = xcb_composite_redirect_window_checked(connection_.xcb(), window_, XCB_COMPOSITE_REDIRECT_AUTOMATIC);
    // Delta rectangles: each part that changes is reported once until it is subtracted, however many requests draw it.
    const auto damage = connection_.newId();
    const auto followed = xcb_damage_create_checked(connection_.xcb(), damage, window_, XCB_DAMAGE_REPORT_LEVEL_DELTA_RECTANGLES);
    begun_ = xcb_damage_subtract(connection_.xcb(), damage, XCB_NONE, XCB_NONE).sequence;
    xcb_ungrab_server(connection_.xcb());
    // Only of a redirected window can the pixmap be named (Composite 0.2).
    wasRedirected_ = connection_.succeeded(askedBefore);
    if (wasRedirected_)
        xcb_free_pixmap(connection_.xcb(), named);
    const bool isRedirected = connection_.succeeded(redirected);
    if (connection_.succeeded(followed))
        damageId_ = damage;
    if (!isRedirected)
        return failX11(X11ErrorCode::windowUnavailable, "The window cannot be captured.");
    if (damageId_ == XCB_NONE)
        return failX11(X11ErrorCode::windowUnavailable, "The window's changes cannot be followed.");
    watchAncestors();
    if (!renamePixmap())
        return failX11(X11ErrorCode::windowUnavailable, "The window is no longer available.");
    return {};
}

void TrackedWindow::handle(const xcb_generic_event_t& event)
{
    const auto type = typeOf(event);
    if (type == damageNotify_) {
        if (isBefore(event.full_sequence, begun_))
            return;
        const auto& damage = reinterpret_cast<const xcb_damage_notify_event_t&>(event);
        const PixelRect drawn{damage.area.x - contentX(), damage.area.y - contentY(), damage.area.width, damage.area.height};
        const auto inside = drawn.intersected({0, 0, content_.width, content_.height});
        if (!inside.isEmpty())
            damage_.push_back({inside, event.full_sequence});
        return;
    }
    switch (type) {
    case XCB_CONFIGURE_NOTIFY: {
        const auto& configured = reinterpret_cast<const xcb_configure_notify_event_t&>(event);
        if (configured.window == window_
            && (configured.width != windowWidth_ || configured.height != windowHeight_ || configured.border_width != border_))
            pixmapStale_ = true;
        break;
    }
    case XCB_MAP_NOTIFY:
        // Of the window or of an ancestor: either makes it viewable, and then its pixmap is a new one.
        pixmapStale_ = true;
        break;
    case XCB_UNMAP_NOTIFY:
        if (reinterpret_cast<const xcb_unmap_notify_event_t&>(event).window == window_)
            stateStale_ = true;
        break;
    case XCB_REPARENT_NOTIFY:
        ancestorsStale_ = true;
        stateStale_ = true;
        break;
    case XCB_DESTROY_NOTIFY:
        if (reinterpret_cast<const xcb_destroy_notify_event_t&>(event).window == window_)
            isGone_ = true;
        break;
    case XCB_PROPERTY_NOTIFY: {
        const auto atom = reinterpret_cast<const xcb_property_notify_event_t&>(event).atom;
        if (atom == stateAtom_)
            stateStale_ = true;
        else if (atom == extentsAtom_)
            pixmapStale_ = true;
        break;
    }
    default:
        break;
    }
}

bool TrackedWindow::refresh()
{
    if (std::exchange(ancestorsStale_, false))
        watchAncestors();
    if (std::exchange(stateStale_, false))
        refreshState();
    return !isGone_ && std::exchange(pixmapStale_, false) && renamePixmap();
}

void TrackedWindow::watchAncestors()
{
    const std::uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    topLevel_ = window_;
    for (;;) {
        const auto tree = connection_.reply(xcb_query_tree_reply, xcb_query_tree(connection_.xcb(), topLevel_));
        if (!tree || tree->parent == tree->root || tree->parent == XCB_NONE)
            return;
        topLevel_ = tree->parent;
        xcb_change_window_attributes(connection_.xcb(), topLevel_, XCB_CW_EVENT_MASK, &events);
    }
}

void TrackedWindow::refreshState()
{
    const auto askedAttributes = xcb_get_window_attributes(connection_.xcb(), window_);
    const auto askedState = xcb_get_property(connection_.xcb(), 0, window_, stateAtom_, stateAtom_, 0, 2);
    const auto attributes = connection_.reply(xcb_get_window_attributes_reply, askedAttributes);
    const auto state = values32(connection_.reply(xcb_get_property_reply, askedState).get());
    if (connection_.isBroken())
        return;
    // The window manager keeps WM_STATE while it minimises or hides a window. Without it an unmapped window is its program's own.
    const bool isWithdrawn = state.empty() || state.front() == withdrawnState;
    if (!attributes || (attributes->map_state == XCB_MAP_STATE_UNMAPPED && isWithdrawn))
        isGone_ = true;
}

bool TrackedWindow::renamePixmap()
{
    const auto named = connection_.newId();
    xcb_composite_name_window_pixmap(connection_.xcb(), window_, named);
    const auto askedPixmap = xcb_get_geometry(connection_.xcb(), named);
    const auto askedWindow = xcb_get_geometry(connection_.xcb(), window_);
    const auto askedExtents = xcb_get_property(connection_.xcb(), 0, window_, extentsAtom_, XCB_ATOM_CARDINAL, 0, 4);
    const auto pixmap = connection_.reply(xcb_get_geometry_reply, askedPixmap);
    const auto window = connection_.reply(xcb_get_geometry_reply, askedWindow);
    const auto extents = values32(connection_.reply(xcb_get_property_reply, askedExtents).get());
    if (!pixmap || !window) {
        // Not viewable at the moment: the pixmap named before keeps what was seen last, and a map event will follow.
        if (pixmap)
            xcb_free_pixmap(connection_.xcb(), named);
        return false;
    }
    freePixmap();
    pixmap_ = named;
    border_ = window->border_width;
    PixelRect content{border_, border_, pixmap->width - 2 * border_, pixmap->height - 2 * border_};
    // The pixmap's size, not the window's: the window may have been resized again since the pixmap was named.
    windowWidth_ = content.width;
    windowHeight_ = content.height;
    if (extents.size() == 4) {
        constexpr std::uint32_t limit = 0x7fff;
        const auto side = [&](std::size_t index) { return static_cast<std::int32_t>(std::min(extents[index], limit)); };
        const PixelRect inside{
            content.x + side(0), content.y + side(2), content.width - side(0) - side(1), content.height - side(2) - side(3)};
        if (!inside.isEmpty())
            content = inside;
    }
    content_ = content;
    damage_.clear();
    return true;
}

std::uint32_t TrackedWindow::subtractDamage()
{
    return xcb_damage_subtract(connection_.xcb(), damageId_, XCB_NONE, XCB_NONE).sequence;
}

void TrackedWindow::freePixmap()
{
    if (pixmap_ != XCB_NONE)
        xcb_free_pixmap(connection_.xcb(), std::exchange(pixmap_, XCB_NONE));
}

}  // namespace velmora::linux_backend
