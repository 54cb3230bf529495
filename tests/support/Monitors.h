// Monitors into which a test divides the one that its X server has.
#pragma once

#include "base/Geometry.h"

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>
#include <sys/uio.h>
#include <vector>
#include <xcb/randr.h>
#include <xcb/xcb.h>
#include <xcb/xcbext.h>

namespace velmora::test {

/// Parts of the screen that are monitors to all programs, in the sense of RandR 1.5. The server's own is back when this object goes.
class Monitors {
public:
    /// The first is the primary one. `displayName` as in DISPLAY; empty means that variable.
    explicit Monitors(const std::vector<PixelRect>& frames, const std::string& displayName = "")
        : connection_(xcb_connect(displayName.empty() ? nullptr : displayName.c_str(), nullptr))
    {
        xcb_connection_t* xcb = connection_.get();
        root_ = xcb_setup_roots_iterator(xcb_get_setup(xcb)).data->root;
        std::free(xcb_randr_query_version_reply(xcb, xcb_randr_query_version(xcb, 1, 5), nullptr));
        const Owned<xcb_randr_get_screen_resources_reply_t> resources{
            xcb_randr_get_screen_resources_reply(xcb, xcb_randr_get_screen_resources(xcb, root_), nullptr)};
        if (!resources || xcb_randr_get_screen_resources_outputs_length(resources.get()) != 1)
            throw std::runtime_error("the X server has no RandR, or not exactly one output");
        for (const auto& frame : frames) {
            const auto name = "test monitor " + std::to_string(names_.size());
            const Owned<xcb_intern_atom_reply_t> atom{
                xcb_intern_atom_reply(xcb, xcb_intern_atom(xcb, 0, static_cast<std::uint16_t>(name.size()), name.c_str()), nullptr)};
            // The one output goes to the primary, or its own monitor would stay.
            const bool isPrimary = names_.empty();
            const auto output = xcb_randr_get_screen_resources_outputs(resources.get())[0];
            set({atom->atom, isPrimary, 0, isPrimary, static_cast<std::int16_t>(frame.x), static_cast<std::int16_t>(frame.y),
                    static_cast<std::uint16_t>(frame.width), static_cast<std::uint16_t>(frame.height), 100, 100},
                isPrimary ? &output : nullptr);
            names_.push_back(atom->atom);
        }
    }

    ~Monitors()
    {
        for (const auto name : names_)
            xcb_randr_delete_monitor(connection_.get(), root_, name);
        std::free(xcb_get_input_focus_reply(connection_.get(), xcb_get_input_focus(connection_.get()), nullptr));
    }
    Monitors(const Monitors&) = delete;
    Monitors& operator=(const Monitors&) = delete;

private:
    struct Free {
        void operator()(void* memory) const { std::free(memory); }
    };
    template <typename T>
    using Owned = std::unique_ptr<T, Free>;
    struct Disconnect {
        void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
    };

    /// Puts the request together, because libxcb 1.15's xcb_randr_set_monitor fails an assertion of its own.
    void set(const xcb_randr_monitor_info_t& monitor, const xcb_randr_output_t* output)
    {
        xcb_randr_set_monitor_request_t header{};
        header.window = root_;
        // The first two are xcb's.
        iovec parts[5] = {};
        parts[2] = {&header, sizeof header};
        parts[3] = {const_cast<xcb_randr_monitor_info_t*>(&monitor), sizeof monitor};
        parts[4] = {const_cast<xcb_randr_output_t*>(output), output ? sizeof *output : 0};
        const xcb_protocol_request_t request{3, &xcb_randr_id, XCB_RANDR_SET_MONITOR, 1};
        const xcb_void_cookie_t cookie{xcb_send_request(connection_.get(), XCB_REQUEST_CHECKED, parts + 2, &request)};
        if (const Owned<xcb_generic_error_t> error{xcb_request_check(connection_.get(), cookie)})
            throw std::runtime_error("the X server accepts no monitors");
    }

    std::unique_ptr<xcb_connection_t, Disconnect> connection_;
    xcb_window_t root_ = XCB_WINDOW_NONE;
    std::vector<xcb_atom_t> names_;
};

}  // namespace velmora::test
