#include "platform/linux/x11/KeyText.h"

#include "platform/linux/x11/KeyPositions.h"

#include <array>
#include <xkbcommon/xkbcommon.h>

namespace velmora::linux_backend {

namespace {

constexpr std::size_t symbolsOfALayout = 2;
constexpr unsigned layoutsInOrder = 2;

/// The state of a key event has the layout in bits 13 and 14 (The X Keyboard Extension, Computing a State Field from an XKB State).
constexpr unsigned layoutShift = 13;
constexpr unsigned layoutMask = 3;

}  // namespace

std::string textOfKey(std::span<const xcb_keysym_t> symbols, unsigned layout)
{
    const std::size_t second = layout * symbolsOfALayout;
    const bool hasLayout = layout < layoutsInOrder && second < symbols.size() && symbols[second] != XCB_NO_SYMBOL;
    const xcb_keysym_t symbol = hasLayout ? symbols[second] : symbols.empty() ? XCB_NO_SYMBOL : symbols[0];
    std::array<char, 8> text{};
    // The length includes the 0.
    if (xkb_keysym_to_utf8(xkb_keysym_to_upper(symbol), text.data(), text.size()) <= 1)
        return {};
    constexpr unsigned char lastControl = 0x20;
    constexpr unsigned char deleteControl = 0x7F;
    const auto first = static_cast<unsigned char>(text[0]);
    return first <= lastControl || first == deleteControl ? std::string{} : std::string{text.data()};
}

std::string readTextOfKey(const Connection& connection, std::uint32_t keyCode)
{
    const auto key = keycodeAt(keyCode);
    const auto* setup = xcb_get_setup(connection.xcb());
    if (!key || *key < setup->min_keycode || *key > setup->max_keycode)
        return {};
    const auto askedKeyboard = xcb_get_keyboard_mapping(connection.xcb(), *key, 1);
    const auto askedState = xcb_query_pointer(connection.xcb(), connection.root());
    const auto keyboard = connection.reply(xcb_get_keyboard_mapping_reply, askedKeyboard);
    const auto state = connection.reply(xcb_query_pointer_reply, askedState);
    if (!keyboard || !state)
        return {};
    return textOfKey({xcb_get_keyboard_mapping_keysyms(keyboard.get()),
                         static_cast<std::size_t>(xcb_get_keyboard_mapping_keysyms_length(keyboard.get()))},
        (state->mask >> layoutShift) & layoutMask);
}

}  // namespace velmora::linux_backend
