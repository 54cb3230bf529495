#include "platform/linux/x11/KeyPositions.h"

#include <algorithm>
#include <array>
#include <linux/input-event-codes.h>

namespace velmora::linux_backend {

namespace {

struct Position {
    std::uint8_t keyCode;
    std::uint8_t key;
};

constexpr unsigned firstKeycode = 8;

/// Ordered by position.
constexpr std::array positions{
    Position{0, KEY_A},
    Position{1, KEY_S},
    Position{2, KEY_D},
    Position{3, KEY_F},
    Position{4, KEY_H},
    Position{5, KEY_G},
    Position{6, KEY_Z},
    Position{7, KEY_X},
    Position{8, KEY_C},
    Position{9, KEY_V},
    Position{10, KEY_102ND},  // ISO keyboards only
    Position{11, KEY_B},
    Position{12, KEY_Q},
    Position{13, KEY_W},
    Position{14, KEY_E},
    Position{15, KEY_R},
    Position{16, KEY_Y},
    Position{17, KEY_T},
    Position{18, KEY_1},
    Position{19, KEY_2},
    Position{20, KEY_3},
    Position{21, KEY_4},
    Position{22, KEY_6},
    Position{23, KEY_5},
    Position{24, KEY_EQUAL},
    Position{25, KEY_9},
    Position{26, KEY_7},
    Position{27, KEY_MINUS},
    Position{28, KEY_8},
    Position{29, KEY_0},
    Position{30, KEY_RIGHTBRACE},
    Position{31, KEY_O},
    Position{32, KEY_U},
    Position{33, KEY_LEFTBRACE},
    Position{34, KEY_I},
    Position{35, KEY_P},
    Position{36, KEY_ENTER},
    Position{37, KEY_L},
    Position{38, KEY_J},
    Position{39, KEY_APOSTROPHE},
    Position{40, KEY_K},
    Position{41, KEY_SEMICOLON},
    Position{42, KEY_BACKSLASH},
    Position{43, KEY_COMMA},
    Position{44, KEY_SLASH},
    Position{45, KEY_N},
    Position{46, KEY_M},
    Position{47, KEY_DOT},
    Position{48, KEY_TAB},
    Position{49, KEY_SPACE},
    Position{50, KEY_GRAVE},
    Position{51, KEY_BACKSPACE},
    Position{53, KEY_ESC},
    Position{64, KEY_F17},
    Position{65, KEY_KPDOT},
    Position{67, KEY_KPASTERISK},
    Position{69, KEY_KPPLUS},
    Position{71, KEY_NUMLOCK},  // "clear" on keyboards without NumLock
    Position{72, KEY_VOLUMEUP},
    Position{73, KEY_VOLUMEDOWN},
    Position{74, KEY_MUTE},
    Position{75, KEY_KPSLASH},
    Position{76, KEY_KPENTER},
    Position{78, KEY_KPMINUS},
    Position{79, KEY_F18},
    Position{80, KEY_F19},
    Position{81, KEY_KPEQUAL},
    Position{82, KEY_KP0},
    Position{83, KEY_KP1},
    Position{84, KEY_KP2},
    Position{85, KEY_KP3},
    Position{86, KEY_KP4},
    Position{87, KEY_KP5},
    Position{88, KEY_KP6},
    Position{89, KEY_KP7},
    Position{90, KEY_F20},
    Position{91, KEY_KP8},
    Position{92, KEY_KP9},
    Position{96, KEY_F5},
    Position{97, KEY_F6},
    Position{98, KEY_F7},
    Position{99, KEY_F3},
    Position{100, KEY_F8},
    Position{101, KEY_F9},
    Position{103, KEY_F11},
    Position{105, KEY_F13},
    Position{106, KEY_F16},
    Position{107, KEY_F14},
    Position{109, KEY_F10},
    Position{111, KEY_F12},
    Position{113, KEY_F15},
    Position{114, KEY_INSERT},  // "help" on some keyboards
    Position{115, KEY_HOME},
    Position{116, KEY_PAGEUP},
    Position{117, KEY_DELETE},  // forwards
    Position{118, KEY_F4},
    Position{119, KEY_END},
    Position{120, KEY_F2},
    Position{121, KEY_PAGEDOWN},
    Position{122, KEY_F1},
    Position{123, KEY_LEFT},
    Position{124, KEY_RIGHT},
    Position{125, KEY_DOWN},
    Position{126, KEY_UP},
};

}  // namespace

std::optional<xcb_keycode_t> keycodeAt(std::uint32_t keyCode)
{
    const auto found = std::lower_bound(positions.begin(), positions.end(), keyCode,
        [](const Position& position, std::uint32_t wanted) { return position.keyCode < wanted; });
    if (found == positions.end() || found->keyCode != keyCode)
        return std::nullopt;
    return static_cast<xcb_keycode_t>(found->key + firstKeycode);
}

}  // namespace velmora::linux_backend
