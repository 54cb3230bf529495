// Tells a press from the repetitions of a key that is held.
#pragma once

#include <cstdint>
#include <optional>
#include <xcb/xproto.h>

namespace velmora::linux_backend {

/// A server puts a release with the same time before each repetition that it makes up (unless a client asks it not to), and no hand
/// releases and presses a key within one tick of the server's clock, a few milliseconds. So nothing has to be remembered of what is
/// held, and a release that never came spoils nothing.
class RepeatFilter {
public:
    void release(xcb_keycode_t key, xcb_timestamp_t time) { released_ = {key, time}; }

    [[nodiscard]] bool isRepetition(xcb_keycode_t key, xcb_timestamp_t time) const
    {
        return released_ && released_->key == key && released_->time == time;
    }

private:
    struct Release {
        xcb_keycode_t key = 0;
        xcb_timestamp_t time = 0;
    };

    std::optional<Release> released_;
};

}  // namespace velmora::linux_backend
