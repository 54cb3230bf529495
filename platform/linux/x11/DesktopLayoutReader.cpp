#include "platform/linux/x11/DesktopLayoutReader.h"

#include <algorithm>
#include <string>
#include <xcb/randr.h>

namespace velmora::linux_backend {

namespace {

constexpr std::uint32_t randrMajorVersion = 1;
constexpr std::uint32_t randrMinorVersion = 5;
constexpr std::uint32_t strutValues = 12;
constexpr std::uint32_t manyValues = 4096;

xcb_get_property_cookie_t ask(const Connection& connection, xcb_window_t window, xcb_atom_t property, std::uint32_t length)
{
    return xcb_get_property(connection.xcb(), 0, window, property, XCB_GET_PROPERTY_TYPE_ANY, 0, length);
}

std::vector<std::uint32_t> take(const Connection& connection, xcb_get_property_cookie_t asked)
{
    return values32(connection.reply(xcb_get_property_reply, asked).get());
}

std::vector<std::uint32_t> rootValues(const Connection& connection, const std::string& property)
{
    return take(connection, ask(connection, connection.root(), connection.atom(property), manyValues));
}

std::optional<PixelRect> frame(const Connection& connection, xcb_window_t window)
{
    const auto geometryAsked = xcb_get_geometry(connection.xcb(), window);
    const auto positionAsked = xcb_translate_coordinates(connection.xcb(), window, connection.root(), 0, 0);
    const auto geometry = connection.reply(xcb_get_geometry_reply, geometryAsked);
    const auto position = connection.reply(xcb_translate_coordinates_reply, positionAsked);
    if (!geometry || !position)
        return {};
    return PixelRect{position->dst_x, position->dst_y, geometry->width, geometry->height};
}

/// By what the window manager says; without one, by where the keys go.
std::optional<PixelRect> focusedWindow(const Connection& connection)
{
    xcb_window_t focused = XCB_WINDOW_NONE;
    if (const auto active = rootValues(connection, "_NET_ACTIVE_WINDOW"); !active.empty())
        focused = active.front();
    if (focused == XCB_WINDOW_NONE) {
        if (const auto input = connection.reply(xcb_get_input_focus_reply, xcb_get_input_focus(connection.xcb())))
            focused = input->focus;
    }
    if (focused == XCB_WINDOW_NONE || focused == XCB_INPUT_FOCUS_POINTER_ROOT || focused == connection.root())
        return {};
    // The background window of a desktop is on all monitors and says nothing.
    const auto types = take(connection, ask(connection, focused, connection.atom("_NET_WM_WINDOW_TYPE"), manyValues));
    if (std::find(types.begin(), types.end(), connection.atom("_NET_WM_WINDOW_TYPE_DESKTOP")) != types.end())
        return {};
    return frame(connection, focused);
}

/// Of every window that is on the screen. Not every window manager lists panels among its windows, so the root's own children are asked
/// as well.
std::vector<Strut> struts(const Connection& connection)
{
    auto windows = rootValues(connection, "_NET_CLIENT_LIST");
    if (const auto tree = connection.reply(xcb_query_tree_reply, xcb_query_tree(connection.xcb(), connection.root()))) {
        const auto* children = xcb_query_tree_children(tree.get());
        windows.insert(windows.end(), children, children + xcb_query_tree_children_length(tree.get()));
    }
    const auto partial = connection.atom("_NET_WM_STRUT_PARTIAL");
    const auto whole = connection.atom("_NET_WM_STRUT");
    struct Asked {
        xcb_get_window_attributes_cookie_t attributes;
        xcb_get_property_cookie_t partial;
        xcb_get_property_cookie_t whole;
    };
    std::vector<Asked> asked;
    for (const auto window : windows)
        asked.push_back({xcb_get_window_attributes(connection.xcb(), window), ask(connection, window, partial, strutValues),
            ask(connection, window, whole, strutValues)});
    std::vector<Strut> found;
    for (const auto& window : asked) {
        const auto attributes = connection.reply(xcb_get_window_attributes_reply, window.attributes);
        const auto partialTold = take(connection, window.partial);
        const auto wholeTold = take(connection, window.whole);
        if (const auto strut = Strut::fromValues(partialTold, wholeTold);
            strut && attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE)
            found.push_back(*strut);
    }
    return found;
}

}  // namespace

std::vector<Monitor> readMonitors(const Connection& connection)
{
    if (!connection.has(xcb_randr_id))
        return {};
    const auto version =
        connection.reply(xcb_randr_query_version_reply, xcb_randr_query_version(connection.xcb(), randrMajorVersion, randrMinorVersion));
    if (!version || (version->major_version == randrMajorVersion && version->minor_version < randrMinorVersion))
        return {};
    const auto reply = connection.reply(xcb_randr_get_monitors_reply, xcb_randr_get_monitors(connection.xcb(), connection.root(), 1));
    std::vector<Monitor> found;
    if (!reply)
        return found;
    for (auto monitor = xcb_randr_get_monitors_monitors_iterator(reply.get()); monitor.rem; xcb_randr_monitor_info_next(&monitor))
        found.push_back({{monitor.data->x, monitor.data->y, monitor.data->width, monitor.data->height}, monitor.data->primary != 0});
    return found;
}

DesktopLayout readDesktopLayout(const Connection& connection)
{
    DesktopLayout layout;
    layout.root = frame(connection, connection.root()).value_or(PixelRect{});
    layout.monitors = readMonitors(connection);
    layout.struts = struts(connection);
    layout.focusedWindow = focusedWindow(connection);
    const auto currentDesktop = rootValues(connection, "_NET_CURRENT_DESKTOP");
    const std::size_t desktop = currentDesktop.empty() ? 0 : currentDesktop.front();
    // GNOME's window manager, whose own panel is not a window, gives the work area of each monitor.
    layout.monitorWorkAreas = workAreasFrom(rootValues(connection, "_GTK_WORKAREAS_D" + std::to_string(desktop)));
    if (const auto areas = workAreasFrom(rootValues(connection, "_NET_WORKAREA")); !areas.empty())
        layout.workArea = areas[std::min(desktop, areas.size() - 1)];
    return layout;
}

}  // namespace velmora::linux_backend
