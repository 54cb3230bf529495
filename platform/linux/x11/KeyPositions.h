// Keys by their place on the keyboard.
#pragma once

#include <cstdint>
#include <optional>
#include <xcb/xproto.h>

namespace velmora::linux_backend {

/// The X keycode of the key at position `keyCode` of the ANSI layout (platform::HotKeyCenter), whatever that key types under the
/// layout in use. None for a number that is not a position. X keycodes are the kernel's (linux/input-event-codes.h) plus 8.
[[nodiscard]] std::optional<xcb_keycode_t> keycodeAt(std::uint32_t keyCode);

}  // namespace velmora::linux_backend
