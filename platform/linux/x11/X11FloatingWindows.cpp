#include "platform/linux/x11/X11FloatingWindows.h"

#include "platform/linux/x11/DesktopLayoutReader.h"

#include <algorithm>
#include <string>
#include <utility>
#include <xcb/xfixes.h>

namespace velmora::linux_backend {

namespace {

constexpr std::uint32_t xfixesMajorVersion = 2;
constexpr std::uint8_t inputShape = 2;  // of X11/extensions/shapeconst.h

bool contains(const PixelRect& outer, const PixelRect& inner)
{
    return outer.intersected(inner) == inner;
}

std::vector<PixelRect> monitorFrames(const Connection& connection)
{
    std::vector<PixelRect> frames;
    for (const auto& monitor : readMonitors(connection))
        frames.push_back(monitor.frame);
    return frames;
}

/// The children of the root above `window`, the lowest first.
std::vector<CoveringWindow> windowsAbove(const Connection& connection, xcb_window_t window)
{
    const auto tree = connection.reply(xcb_query_tree_reply, xcb_query_tree(connection.xcb(), connection.root()));
    if (!tree)
        return {};
    const auto* end = xcb_query_tree_children(tree.get()) + xcb_query_tree_children_length(tree.get());
    const auto* own = std::find(static_cast<const xcb_window_t*>(xcb_query_tree_children(tree.get())), end, window);
    if (own == end)
        return {};
    struct Asked {
        xcb_window_t window;
        xcb_get_window_attributes_cookie_t attributes;
        xcb_get_geometry_cookie_t geometry;
    };
    std::vector<Asked> asked;
    for (const auto* other = own + 1; other != end; ++other)
        asked.push_back({*other, xcb_get_window_attributes(connection.xcb(), *other), xcb_get_geometry(connection.xcb(), *other)});
    const auto clientMask = ~xcb_get_setup(connection.xcb())->resource_id_mask;
    std::vector<CoveringWindow> above;
    for (const auto& other : asked) {
        const auto attributes = connection.reply(xcb_get_window_attributes_reply, other.attributes);
        const auto geometry = connection.reply(xcb_get_geometry_reply, other.geometry);
        if (!attributes || !geometry)
            continue;
        const auto border = 2 * geometry->border_width;
        above.push_back({{geometry->x, geometry->y, geometry->width + border, geometry->height + border},
            attributes->map_state == XCB_MAP_STATE_VIEWABLE && attributes->_class == XCB_WINDOW_CLASS_INPUT_OUTPUT,
            (other.window & clientMask) == (window & clientMask)});
    }
    return above;
}

/// Used only on the event thread.
class CoverWatch final : public X11EventThread::Listener {
public:
    CoverWatch(xcb_window_t window, const PixelRect& part) : window_(window), part_(part) { }

    void handle(const xcb_generic_event_t& event) override
    {
        switch (typeOf(event)) {
        case XCB_CONFIGURE_NOTIFY:
        case XCB_MAP_NOTIFY:
        case XCB_CIRCULATE_NOTIFY:
        case XCB_REPARENT_NOTIFY:
            isChanged_ = true;
            break;
        default:
            break;
        }
    }

    void eventsHandled(Connection& connection) override
    {
        if (std::exchange(isChanged_, false))
            raiseIfCovered(connection);
    }

    void raiseIfCovered(const Connection& connection)
    {
        if (raises_ >= X11FloatingWindows::mostRaises)
            return;
        const auto geometry = connection.reply(xcb_get_geometry_reply, xcb_get_geometry(connection.xcb(), window_));
        if (!geometry)
            return;
        const PixelRect part{geometry->x + part_.x, geometry->y + part_.y, part_.width, part_.height};
        if (!isCovered(part, windowsAbove(connection, window_), monitorFrames(connection)))
            return;
        const std::uint32_t above = XCB_STACK_MODE_ABOVE;
        xcb_configure_window(connection.xcb(), window_, XCB_CONFIG_WINDOW_STACK_MODE, &above);
        ++raises_;
    }

private:
    const xcb_window_t window_;
    const PixelRect part_;
    bool isChanged_ = false;
    int raises_ = 0;
};

void selectStackingEvents(const Connection& connection, bool areWanted)
{
    const std::uint32_t events = areWanted ? XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY : XCB_EVENT_MASK_NO_EVENT;
    xcb_change_window_attributes(connection.xcb(), connection.root(), XCB_CW_EVENT_MASK, &events);
}

bool isWatched(const std::vector<std::shared_ptr<X11EventThread::Listener>>& listeners)
{
    return std::any_of(listeners.begin(), listeners.end(),
        [](const auto& listener) { return dynamic_cast<const CoverWatch*>(listener.get()) != nullptr; });
}

class X11InFront final : public platform::FloatingWindows::InFront {
public:
    X11InFront(std::shared_ptr<X11EventThread> events, std::shared_ptr<CoverWatch> watch)
        : events_(std::move(events))
        , watch_(std::move(watch))
    {
    }

    ~X11InFront() override
    {
        static_cast<void>(events_->run([&](X11EventThread::Context& context) {
            std::erase(context.listeners, watch_);
            if (!isWatched(context.listeners))
                selectStackingEvents(context.connection, false);
        }));
    }
    X11InFront(const X11InFront&) = delete;
    X11InFront& operator=(const X11InFront&) = delete;

private:
    const std::shared_ptr<X11EventThread> events_;
    const std::shared_ptr<CoverWatch> watch_;
};

}  // namespace

bool isCovered(const PixelRect& part, const std::vector<CoveringWindow>& above, const std::vector<PixelRect>& monitors)
{
    return std::any_of(above.begin(), above.end(), [&](const CoveringWindow& window) {
        const bool coversAMonitor =
            std::any_of(monitors.begin(), monitors.end(), [&](const PixelRect& monitor) { return contains(window.frame, monitor); });
        return window.isShown && !window.isOfTheSameProgram && !coversAMonitor && !window.frame.intersected(part).isEmpty();
    });
}

bool X11FloatingWindows::areComposited()
{
    bool isOwned = false;
    static_cast<void>(events_->run([&](X11EventThread::Context& context) {
        const auto& connection = context.connection;
        const auto selection = connection.atom("_NET_WM_CM_S" + std::to_string(connection.screenNumber()));
        const auto owner = connection.reply(xcb_get_selection_owner_reply, xcb_get_selection_owner(connection.xcb(), selection));
        isOwned = owner && owner->owner != XCB_WINDOW_NONE;
    }));
    return isOwned;
}

void X11FloatingWindows::setClickableArea(std::uint64_t nativeWindow, std::optional<PixelRect> area)
{
    static_cast<void>(events_->run([&](X11EventThread::Context& context) {
        const auto& connection = context.connection;
        if (!connection.has(xcb_xfixes_id))
            return;
        const auto version =
            connection.reply(xcb_xfixes_query_version_reply, xcb_xfixes_query_version(connection.xcb(), xfixesMajorVersion, 0));
        if (!version || version->major_version < xfixesMajorVersion)
            return;
        xcb_xfixes_region_t region = XCB_NONE;
        if (area) {
            const xcb_rectangle_t rectangle{static_cast<std::int16_t>(area->x), static_cast<std::int16_t>(area->y),
                static_cast<std::uint16_t>(area->width), static_cast<std::uint16_t>(area->height)};
            region = connection.newId();
            xcb_xfixes_create_region(connection.xcb(), region, 1, &rectangle);
        }
        xcb_xfixes_set_window_shape_region(connection.xcb(), static_cast<xcb_window_t>(nativeWindow), inputShape, 0, 0, region);
        if (area)
            xcb_xfixes_destroy_region(connection.xcb(), region);
        connection.flush();
    }));
}

std::unique_ptr<platform::FloatingWindows::InFront> X11FloatingWindows::keepInFront(std::uint64_t nativeWindow, const PixelRect& part)
{
    auto watch = std::make_shared<CoverWatch>(static_cast<xcb_window_t>(nativeWindow), part);
    const auto ran = events_->run([&](X11EventThread::Context& context) {
        selectStackingEvents(context.connection, true);
        context.listeners.push_back(watch);
        // What already covers it causes no further event.
        watch->raiseIfCovered(context.connection);
        context.connection.flush();
    });
    if (!ran)
        return nullptr;
    return std::make_unique<X11InFront>(events_, std::move(watch));
}

}  // namespace velmora::linux_backend
