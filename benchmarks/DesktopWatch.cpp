#include "benchmarks/DesktopWatch.h"

#include "platform/linux/x11/Connection.h"

#include <algorithm>
#include <chrono>
#include <poll.h>
#include <stdexcept>
#include <utility>
#include <xcb/damage.h>
#include <xcb/xtest.h>

namespace velmora::benchmarks {

namespace {

using linux_backend::bytes8;
using linux_backend::Connection;
using linux_backend::typeOf;
using linux_backend::values32;
using linux_backend::XcbOwned;

constexpr std::chrono::seconds patience{60};
constexpr std::uint32_t longestProperty = 1024;  // in 32-bit units
constexpr int enoughForLetters = 60;

/// How many pixels of a part of the screen are light, dark or neither.
struct Shades {
    int light = 0;
    int dark = 0;
    int all = 0;
};

Shades shadesOf(const Connection& connection, xcb_window_t window, const Area& area)
{
    const auto place = connection.reply(
        xcb_translate_coordinates_reply, xcb_translate_coordinates(connection.xcb(), window, connection.root(), area.x, area.y));
    if (!place)
        return {};
    const auto picture = connection.reply(xcb_get_image_reply,
        xcb_get_image(
            connection.xcb(), XCB_IMAGE_FORMAT_Z_PIXMAP, connection.root(), place->dst_x, place->dst_y, area.width, area.height, ~0U));
    Shades shades;
    if (!picture)
        return shades;
    const auto* pixels = xcb_get_image_data(picture.get());
    const int bytes = xcb_get_image_data_length(picture.get());
    for (int i = 0; i + 3 < bytes; i += 4) {
        const auto [least, greatest] = std::minmax({pixels[i], pixels[i + 1], pixels[i + 2]});
        shades.light += least > 200;
        shades.dark += greatest < 96;
        ++shades.all;
    }
    return shades;
}

}  // namespace

DesktopWatch::DesktopWatch() : connection_(std::move(Connection::open().value()))
{
    const std::uint32_t events = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
    xcb_change_window_attributes(connection_->xcb(), connection_->root(), XCB_CW_EVENT_MASK, &events);
    if (!connection_->has(xcb_damage_id)
        || !connection_->reply(xcb_damage_query_version_reply, xcb_damage_query_version(connection_->xcb(), 1, 1)))
        throw std::runtime_error("the X server does not say what is drawn");
    damageEvent_ = connection_->firstEvent(xcb_damage_id);
    damage_ = connection_->newId();
    xcb_damage_create(connection_->xcb(), damage_, connection_->root(), XCB_DAMAGE_REPORT_LEVEL_NON_EMPTY);
    connection_->flush();
}

DesktopWatch::~DesktopWatch() = default;

void DesktopWatch::forget()
{
    static_cast<void>(connection_->reply(xcb_get_input_focus_reply, xcb_get_input_focus(connection_->xcb())));
    while (connection_->poll()) { }
    // Last, because the next drawing is told of only from then on.
    xcb_damage_subtract(connection_->xcb(), damage_, XCB_NONE, XCB_NONE);
    connection_->flush();
}

xcb_window_t DesktopWatch::awaitDocking()
{
    xcb_window_t window = 0;
    awaitEvent("the item in the tray", [&](const xcb_generic_event_t& event) {
        const auto& reparented = reinterpret_cast<const xcb_reparent_notify_event_t&>(event);
        if (typeOf(event) != XCB_REPARENT_NOTIFY || reparented.parent == connection_->root())
            return false;
        window = reparented.window;
        return true;
    });
    return window;
}

void DesktopWatch::awaitMenu()
{
    awaitEvent("the menu", [&](const xcb_generic_event_t& event) {
        return typeOf(event) == XCB_MAP_NOTIFY && reinterpret_cast<const xcb_map_notify_event_t&>(event).override_redirect != 0;
    });
}

xcb_window_t DesktopWatch::awaitText(const std::string& title, const Area& area)
{
    xcb_window_t window = 0;
    awaitScreen("text in " + title, [&] {
        if (!window)
            window = windowTitled(title);
        const auto shades = window ? shadesOf(*connection_, window, area) : Shades{};
        return shades.light > enoughForLetters && shades.dark > shades.all / 2;
    });
    return window;
}

void DesktopWatch::awaitPicture(xcb_window_t window, const Area& area)
{
    awaitScreen("a picture", [&] {
        const auto shades = shadesOf(*connection_, window, area);
        return shades.all > 0 && shades.dark < shades.all / 2;
    });
}

void DesktopWatch::awaitUnmapping(xcb_window_t window)
{
    awaitScreen("the end of a window", [&] {
        const auto attributes = connection_->reply(xcb_get_window_attributes_reply, xcb_get_window_attributes(connection_->xcb(), window));
        return !attributes || attributes->map_state != XCB_MAP_STATE_VIEWABLE;
    });
}

void DesktopWatch::click(xcb_window_t window)
{
    const auto size = connection_->reply(xcb_get_geometry_reply, xcb_get_geometry(connection_->xcb(), window));
    movePointer(window, static_cast<std::int16_t>(size->width / 2), static_cast<std::int16_t>(size->height / 2));
    pressButton();
}

void DesktopWatch::doubleClick(xcb_window_t window, std::int16_t x, std::int16_t y)
{
    movePointer(window, x, y);
    pressButton();
    pressButton();
}

void DesktopWatch::press(const std::vector<std::uint8_t>& keys)
{
    for (const auto key : keys)
        fake(XCB_KEY_PRESS, key, 0, 0);
    for (auto key = keys.rbegin(); key != keys.rend(); ++key)
        fake(XCB_KEY_RELEASE, *key, 0, 0);
}

void DesktopWatch::movePointer(xcb_window_t window, std::int16_t x, std::int16_t y)
{
    const auto place = connection_->reply(
        xcb_translate_coordinates_reply, xcb_translate_coordinates(connection_->xcb(), window, connection_->root(), x, y));
    fake(XCB_MOTION_NOTIFY, 0, place->dst_x, place->dst_y);
}

void DesktopWatch::pressButton()
{
    fake(XCB_BUTTON_PRESS, 1, 0, 0);
    fake(XCB_BUTTON_RELEASE, 1, 0, 0);
}

void DesktopWatch::fake(std::uint8_t type, std::uint8_t detail, std::int16_t x, std::int16_t y)
{
    xcb_test_fake_input(connection_->xcb(), type, detail, XCB_CURRENT_TIME, connection_->root(), x, y, 0);
    connection_->flush();
}

void DesktopWatch::awaitEvent(const std::string& what, const std::function<bool(const xcb_generic_event_t&)>& isIt)
{
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (std::chrono::steady_clock::now() < deadline) {
        while (const auto event = connection_->poll()) {
            if (isIt(*event))
                return;
        }
        pollfd descriptor{connection_->fileDescriptor(), POLLIN, 0};
        ::poll(&descriptor, 1, 1000);
    }
    throw std::runtime_error(what + " did not come");
}

/// Looks now, and then each time that something was drawn or a window came or went.
void DesktopWatch::awaitScreen(const std::string& what, const std::function<bool()>& shows)
{
    forget();
    if (shows())
        return;
    awaitEvent(what, [&](const xcb_generic_event_t& event) {
        if (typeOf(event) == damageEvent_ + XCB_DAMAGE_NOTIFY) {
            xcb_damage_subtract(connection_->xcb(), damage_, XCB_NONE, XCB_NONE);
            connection_->flush();
        }
        return shows();
    });
}

xcb_window_t DesktopWatch::windowTitled(const std::string& title) const
{
    const auto property = [&](xcb_window_t window, const char* name) {
        return connection_->reply(xcb_get_property_reply,
            xcb_get_property(connection_->xcb(), 0, window, connection_->atom(name), XCB_GET_PROPERTY_TYPE_ANY, 0, longestProperty));
    };
    for (const auto window : values32(property(connection_->root(), "_NET_CLIENT_LIST").get())) {
        if (bytes8(property(window, "_NET_WM_NAME").get()).starts_with(title))
            return window;
    }
    return 0;
}

}  // namespace velmora::benchmarks
