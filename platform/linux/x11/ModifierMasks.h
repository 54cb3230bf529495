// Which bits of a key event's state stand for which modifier keys.
#pragma once

#include "platform/linux/x11/Connection.h"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace velmora::linux_backend {

/// Shift, Lock and Control are the protocol's; the others are one of Mod1 to Mod5, as the keyboard's mapping says. 0: no key gives it.
struct ModifierMasks {
    std::uint16_t alt = 0;
    std::uint16_t super = 0;
    std::uint16_t numLock = 0;

    friend bool operator==(const ModifierMasks&, const ModifierMasks&) = default;
};

/// The symbols of a range of keycodes, `symbolsPerKey` for each.
struct KeySymbols {
    xcb_keycode_t firstKey = 0;
    std::size_t symbolsPerKey = 0;
    std::span<const xcb_keysym_t> symbols;
};

/// `modifierKeys` has the keys of the eight modifiers in the protocol's order (Shift, Lock, Control, Mod1 to Mod5), equally many for
/// each, 0 where there is no key. Where several modifiers have keys with the same symbol, the first counts.
[[nodiscard]] ModifierMasks findModifierMasks(std::span<const xcb_keycode_t> modifierKeys, const KeySymbols& symbols);

/// As the server has them now. None when it is gone.
[[nodiscard]] std::optional<ModifierMasks> readModifierMasks(const Connection& connection);

/// The state that the modifier bits of platform::HotKeyCenter stand for: Option is Alt, Command is Super. None for other bits, for a
/// modifier that no key gives, and where two of them are one and the same modifier.
[[nodiscard]] std::optional<std::uint16_t> modifierState(std::uint32_t modifiers, const ModifierMasks& masks);

/// Every state of the locks in which a shortcut has to work: none, Lock, NumLock, both.
[[nodiscard]] std::vector<std::uint16_t> lockStates(const ModifierMasks& masks);

/// The `state` of a key event without locks, buttons and layouts.
[[nodiscard]] std::uint16_t withoutLocks(std::uint16_t state, const ModifierMasks& masks);

}  // namespace velmora::linux_backend
