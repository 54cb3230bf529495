// What is written on a key.
#pragma once

#include "platform/linux/x11/Connection.h"

#include <cstdint>
#include <span>
#include <string>

namespace velmora::linux_backend {

/// The symbol that a key has without modifiers, as printed on keys: "C", "J", "С", ";". `symbols` are the key's in the order of the
/// protocol (The X Window System Protocol, Keyboards): two for the first layout, two for the second, then what we do not read. `layout` is 0
/// for the first; for any beyond these two the first is taken, as it is where the second has none. Empty for a key without a text.
[[nodiscard]] std::string textOfKey(std::span<const xcb_keysym_t> symbols, unsigned layout);

/// That of the key at a position (keycodeAt) under the layout that is in use now. Also empty where there is no such key, and when the
/// server is gone.
[[nodiscard]] std::string readTextOfKey(const Connection& connection, std::uint32_t keyCode);

}  // namespace velmora::linux_backend
