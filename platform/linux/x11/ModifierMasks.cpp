#include "platform/linux/x11/ModifierMasks.h"

#include "platform/HotKeyCenter.h"

#include <X11/keysym.h>
#include <algorithm>

namespace velmora::linux_backend {

namespace {

constexpr std::size_t modifierCount = 8;
constexpr std::size_t firstFreeModifier = 3;  // Mod1
constexpr std::uint16_t allModifiers = 0xff;

}  // namespace

ModifierMasks findModifierMasks(std::span<const xcb_keycode_t> modifierKeys, const KeySymbols& symbols)
{
    const auto keysPerModifier = modifierKeys.size() / modifierCount;
    const auto symbolsOf = [&](xcb_keycode_t key) -> std::span<const xcb_keysym_t> {
        if (key < symbols.firstKey)
            return {};
        const auto first = static_cast<std::size_t>(key - symbols.firstKey) * symbols.symbolsPerKey;
        if (first + symbols.symbolsPerKey > symbols.symbols.size())
            return {};
        return symbols.symbols.subspan(first, symbols.symbolsPerKey);
    };
    const auto maskOf = [&](xcb_keysym_t left, xcb_keysym_t right) -> std::uint16_t {
        for (auto modifier = firstFreeModifier; modifier < modifierCount; ++modifier) {
            for (const auto key : modifierKeys.subspan(modifier * keysPerModifier, keysPerModifier)) {
                if (key == 0)
                    continue;
                const auto all = symbolsOf(key);
                if (std::any_of(all.begin(), all.end(), [&](xcb_keysym_t symbol) { return symbol == left || symbol == right; }))
                    return static_cast<std::uint16_t>(1U << modifier);
            }
        }
        return 0;
    };
    return {maskOf(XK_Alt_L, XK_Alt_R), maskOf(XK_Super_L, XK_Super_R), maskOf(XK_Num_Lock, XK_Num_Lock)};
}

std::optional<ModifierMasks> readModifierMasks(const Connection& connection)
{
    const auto* setup = xcb_get_setup(connection.xcb());
    const auto first = setup->min_keycode;
    const auto count = static_cast<std::uint8_t>(setup->max_keycode - first + 1);
    const auto askedModifiers = xcb_get_modifier_mapping(connection.xcb());
    const auto askedKeyboard = xcb_get_keyboard_mapping(connection.xcb(), first, count);
    const auto modifiers = connection.reply(xcb_get_modifier_mapping_reply, askedModifiers);
    const auto keyboard = connection.reply(xcb_get_keyboard_mapping_reply, askedKeyboard);
    if (!modifiers || !keyboard)
        return std::nullopt;
    return findModifierMasks({xcb_get_modifier_mapping_keycodes(modifiers.get()),
                                 static_cast<std::size_t>(xcb_get_modifier_mapping_keycodes_length(modifiers.get()))},
        {first, keyboard->keysyms_per_keycode,
            {xcb_get_keyboard_mapping_keysyms(keyboard.get()),
                static_cast<std::size_t>(xcb_get_keyboard_mapping_keysyms_length(keyboard.get()))}});
}

std::optional<std::uint16_t> modifierState(std::uint32_t modifiers, const ModifierMasks& masks)
{
    using platform::HotKeyCenter;
    const struct {
        std::uint32_t modifier;
        std::uint16_t mask;
    } meanings[] = {
        {HotKeyCenter::shiftModifier, XCB_MOD_MASK_SHIFT},
        {HotKeyCenter::controlModifier, XCB_MOD_MASK_CONTROL},
        {HotKeyCenter::optionModifier, masks.alt},
        {HotKeyCenter::commandModifier, masks.super},
    };
    std::uint16_t state = 0;
    for (const auto& meaning : meanings) {
        if ((modifiers & meaning.modifier) == 0)
            continue;
        if (meaning.mask == 0 || (state & meaning.mask) != 0)
            return std::nullopt;
        state = static_cast<std::uint16_t>(state | meaning.mask);
        modifiers &= ~meaning.modifier;
    }
    if (modifiers != 0)
        return std::nullopt;
    return state;
}

std::vector<std::uint16_t> lockStates(const ModifierMasks& masks)
{
    std::vector<std::uint16_t> states{0, XCB_MOD_MASK_LOCK};
    if (masks.numLock != 0) {
        states.push_back(masks.numLock);
        states.push_back(static_cast<std::uint16_t>(masks.numLock | XCB_MOD_MASK_LOCK));
    }
    return states;
}

std::uint16_t withoutLocks(std::uint16_t state, const ModifierMasks& masks)
{
    return static_cast<std::uint16_t>(state & allModifiers & ~(XCB_MOD_MASK_LOCK | masks.numLock));
}

}  // namespace velmora::linux_backend
