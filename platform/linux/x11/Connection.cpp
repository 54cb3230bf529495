#include "platform/linux/x11/Connection.h"

#include "platform/linux/x11/Errors.h"

#include <sys/socket.h>

namespace velmora::linux_backend {

Result<std::unique_ptr<Connection>> Connection::open(const char* displayName)
{
    int screenNumber = 0;
    xcb_connection_t* connection = xcb_connect(displayName, &screenNumber);
    if (xcb_connection_has_error(connection)) {
        xcb_disconnect(connection);
        return failX11(X11ErrorCode::displayUnavailable, "The X display cannot be reached.");
    }
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
    for (; screenNumber > 0 && screens.rem > 1; --screenNumber)
        xcb_screen_next(&screens);
    return std::unique_ptr<Connection>(new Connection(connection, screens.data));
}

Connection::~Connection()
{
    xcb_disconnect(connection_);
}

int Connection::screenNumber() const
{
    int number = 0;
    for (auto screen = xcb_setup_roots_iterator(xcb_get_setup(connection_)); screen.rem; xcb_screen_next(&screen), ++number) {
        if (screen.data->root == root())
            return number;
    }
    return 0;
}

bool Connection::isLocal() const
{
    sockaddr_storage address{};
    socklen_t length = sizeof address;
    return getsockname(fileDescriptor(), reinterpret_cast<sockaddr*>(&address), &length) == 0 && address.ss_family == AF_UNIX;
}

bool Connection::has(xcb_extension_t& extension) const
{
    const auto* data = xcb_get_extension_data(connection_, &extension);
    return data && data->present;
}

std::uint8_t Connection::firstEvent(xcb_extension_t& extension) const
{
    const auto* data = xcb_get_extension_data(connection_, &extension);
    return data ? data->first_event : std::uint8_t{0};
}

xcb_atom_t Connection::atom(std::string_view name) const
{
    const auto asked = reply(xcb_intern_atom_reply, xcb_intern_atom(connection_, 0, static_cast<std::uint16_t>(name.size()), name.data()));
    return asked ? asked->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
}

bool Connection::succeeded(xcb_void_cookie_t checkedCookie) const
{
    const XcbOwned<xcb_generic_error_t> error{xcb_request_check(connection_, checkedCookie)};
    return !error && !isBroken();
}

std::uint8_t Connection::errorCode(xcb_void_cookie_t checkedCookie) const
{
    const XcbOwned<xcb_generic_error_t> error{xcb_request_check(connection_, checkedCookie)};
    return error ? error->error_code : std::uint8_t{0};
}

std::vector<std::uint32_t> values32(const xcb_get_property_reply_t* property)
{
    if (!property || property->format != 32)
        return {};
    const auto* first = static_cast<const std::uint32_t*>(xcb_get_property_value(property));
    return {first, first + property->value_len};
}

std::string bytes8(const xcb_get_property_reply_t* property)
{
    if (!property || property->format != 8)
        return {};
    return {static_cast<const char*>(xcb_get_property_value(property)), property->value_len};
}

}  // namespace velmora::linux_backend
