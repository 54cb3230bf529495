#include "platform/linux/x11/X11WindowActivation.h"

#include "platform/linux/x11/DesktopLayoutReader.h"
#include "platform/linux/x11/MainScreen.h"

#include <array>

namespace velmora::linux_backend {

namespace {

// EWMH, "Source indication in requests": the user asked for this directly, as with a pager.
constexpr std::uint32_t directUserAction = 2;

void sendToRoot(const Connection& connection, xcb_window_t window, xcb_atom_t type, const std::array<std::uint32_t, 5>& data)
{
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = type;
    for (std::size_t i = 0; i < data.size(); ++i)
        message.data.data32[i] = data[i];
    xcb_send_event(connection.xcb(), 0, connection.root(), XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
        reinterpret_cast<const char*>(&message));
}

}  // namespace

void X11WindowActivation::activate(std::uint64_t nativeWindow)
{
    if (!connect())
        return;
    const auto window = static_cast<xcb_window_t>(nativeWindow);
    const auto currentDesktop = connection_->atom("_NET_CURRENT_DESKTOP");
    const auto asked = xcb_get_property(connection_->xcb(), 0, connection_->root(), currentDesktop, XCB_ATOM_CARDINAL, 0, 1);
    const auto desktop = values32(connection_->reply(xcb_get_property_reply, asked).get());
    if (!desktop.empty())
        sendToRoot(*connection_, window, connection_->atom("_NET_WM_DESKTOP"), {desktop.front(), directUserAction, 0, 0, 0});
    const auto time = serverTime(window);
    sendToRoot(*connection_, window, connection_->atom("_NET_ACTIVE_WINDOW"), {directUserAction, time, 0, 0, 0});
    connection_->flush();
}

std::optional<platform::ScreenFrames> X11WindowActivation::mainScreen()
{
    return connect() ? linux_backend::mainScreen(readDesktopLayout(*connection_)) : std::nullopt;
}

bool X11WindowActivation::connect()
{
    if (connection_ && !connection_->isBroken())
        return true;
    auto connection = Connection::open(displayName_.empty() ? nullptr : displayName_.c_str());
    if (!connection)
        return false;
    connection_ = std::move(*connection);
    return true;
}

/// The server's time now, which a window manager takes for a fresh act of the user's; read from a property that is changed for this.
xcb_timestamp_t X11WindowActivation::serverTime(xcb_window_t window) const
{
    const auto property = connection_->atom("_VELMORA_TIME");
    const std::uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(connection_->xcb(), window, XCB_CW_EVENT_MASK, &events);
    xcb_change_property(connection_->xcb(), XCB_PROP_MODE_APPEND, window, property, XCB_ATOM_STRING, 8, 0, nullptr);
    const std::uint32_t none = 0;
    xcb_change_window_attributes(connection_->xcb(), window, XCB_CW_EVENT_MASK, &none);
    // By the reply to any later request, the event has arrived.
    const auto roundTrip = connection_->reply(xcb_get_input_focus_reply, xcb_get_input_focus(connection_->xcb()));
    xcb_timestamp_t time = XCB_CURRENT_TIME;
    while (const Event event = connection_->poll()) {
        if (typeOf(*event) == XCB_PROPERTY_NOTIFY)
            time = reinterpret_cast<const xcb_property_notify_event_t&>(*event).time;
    }
    return time;
}

}  // namespace velmora::linux_backend
