// One connection to an X server, and the owners of what xcb hands out.
#pragma once

#include "base/Result.h"

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <vector>
#include <xcb/xcb.h>
#include <xcb/xcbext.h>

namespace velmora::linux_backend {

/// Memory that xcb allocated: replies, events, errors.
struct XcbDeleter {
    void operator()(void* memory) const noexcept { std::free(memory); }
};

template <typename T>
using XcbOwned = std::unique_ptr<T, XcbDeleter>;

using Event = XcbOwned<xcb_generic_event_t>;

/// The code of an event, whether the server made it or another client sent it (its highest bit is set then).
[[nodiscard]] constexpr std::uint8_t typeOf(const xcb_generic_event_t& event)
{
    return event.response_type & 0x7f;
}

/// Owns the connection. xcb itself is thread-safe, but only one thread may read the events. A broken connection makes every
/// reply empty and `isBroken()` true; nothing here ends the program.
class Connection {
public:
    /// `displayName` as in DISPLAY; null means that variable.
    static Result<std::unique_ptr<Connection>> open(const char* displayName = nullptr);

    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    [[nodiscard]] xcb_connection_t* xcb() const { return connection_; }
    [[nodiscard]] const xcb_screen_t& screen() const { return *screen_; }
    [[nodiscard]] xcb_window_t root() const { return screen_->root; }

    /// The number of the screen among the server's: 0 is the first.
    [[nodiscard]] int screenNumber() const;
    [[nodiscard]] int fileDescriptor() const { return xcb_get_file_descriptor(connection_); }
    [[nodiscard]] bool isBroken() const { return xcb_connection_has_error(connection_) != 0; }

    /// True when the server is reached over a Unix socket, over which file descriptors can travel.
    [[nodiscard]] bool isLocal() const;

    /// True when the server offers the extension. The answer is kept by xcb.
    [[nodiscard]] bool has(xcb_extension_t& extension) const;

    /// Number of the extension's first event; it must be offered.
    [[nodiscard]] std::uint8_t firstEvent(xcb_extension_t& extension) const;

    /// The atom of that name; XCB_ATOM_NONE when the server is gone.
    [[nodiscard]] xcb_atom_t atom(std::string_view name) const;

    [[nodiscard]] std::uint32_t newId() const { return xcb_generate_id(connection_); }

    /// The reply to `cookie`, or nothing when the server answered with an error (a window that vanished, say) or is gone.
    template <typename Reply, typename Cookie>
    [[nodiscard]] XcbOwned<Reply> reply(Reply* (*take)(xcb_connection_t*, Cookie, xcb_generic_error_t**), Cookie cookie) const
    {
        xcb_generic_error_t* error = nullptr;
        XcbOwned<Reply> result{take(connection_, cookie, &error)};
        const XcbOwned<xcb_generic_error_t> trapped{error};
        return result;
    }

    /// True when the server carried out a checked request.
    [[nodiscard]] bool succeeded(xcb_void_cookie_t checkedCookie) const;

    /// The code of the error that the server answered a checked request with; 0 when there was none, or the connection broke.
    [[nodiscard]] std::uint8_t errorCode(xcb_void_cookie_t checkedCookie) const;

    /// The next event, if one has arrived.
    [[nodiscard]] Event poll() const { return Event{xcb_poll_for_event(connection_)}; }

    /// The next event that has already been read, without looking at the socket.
    [[nodiscard]] Event pollQueued() const { return Event{xcb_poll_for_queued_event(connection_)}; }

    void flush() const { xcb_flush(connection_); }

private:
    Connection(xcb_connection_t* connection, const xcb_screen_t* screen) : connection_(connection), screen_(screen) { }

    xcb_connection_t* connection_;
    const xcb_screen_t* screen_;
};

/// The values of a property of 32-bit items; empty when it is missing or has another format.
[[nodiscard]] std::vector<std::uint32_t> values32(const xcb_get_property_reply_t* property);

/// The bytes of a property of 8-bit items; empty when it is missing or has another format.
[[nodiscard]] std::string bytes8(const xcb_get_property_reply_t* property);

/// Whether event `sequence` comes before request `request`: both count a connection's requests modulo 2^32.
[[nodiscard]] inline bool isBefore(std::uint32_t sequence, std::uint32_t request)
{
    return static_cast<std::int32_t>(sequence - request) < 0;
}

}  // namespace velmora::linux_backend
