#include "platform/linux/x11/KeyPositions.h"

#include <gtest/gtest.h>
#include <linux/input-event-codes.h>
#include <map>
#include <string>

namespace velmora::linux_backend {
namespace {

TEST(KeyPositions, ThePositionRightOfXIsTheKeyThatTypesCOnAUsKeyboard)
{
    EXPECT_EQ(keycodeAt(8), KEY_C + 8);
    EXPECT_EQ(keycodeAt(8), 54);
}

TEST(KeyPositions, TheRowsOfTheKeyboardAreInPlace)
{
    // Kernel codes count each row from left to right.
    const std::pair<int, std::vector<std::uint32_t>> rows[] = {
        {KEY_1, {18, 19, 20, 21, 23, 22, 26, 28, 25, 29, 27, 24, 51}},  // 1 2 3 4 5 6 7 8 9 0 - = backspace
        {KEY_TAB, {48, 12, 13, 14, 15, 17, 16, 32, 34, 31, 35, 33, 30, 36}},  // tab q w e r t y u i o p [ ] return
        {KEY_A, {0, 1, 2, 3, 5, 4, 38, 40, 37, 41, 39, 50}},  // a s d f g h j k l ; ' and, left of 1, `
        {KEY_BACKSLASH, {42, 6, 7, 8, 9, 11, 45, 46, 43, 47, 44}},  // \ z x c v b n m , . /
        {KEY_F1, {122, 120, 99, 118, 96, 97, 98, 100, 101, 109}},  // F1 to F10
        {KEY_F11, {103, 111}}, {KEY_F13, {105, 107, 113, 106, 64, 79, 80, 90}},  // F13 to F20
        {KEY_KP7, {89, 91, 92, 78, 86, 87, 88, 69, 83, 84, 85, 82, 65}},  // 7 8 9 - 4 5 6 + 1 2 3 0 .
        {KEY_HOME, {115, 126, 116, 123, 124, 119, 125, 121, 114, 117}},  // home up pageup left right end down pagedown insert delete
    };
    for (const auto& [first, row] : rows) {
        for (std::size_t i = 0; i < row.size(); ++i)
            EXPECT_EQ(keycodeAt(row[i]), static_cast<unsigned>(first) + i + 8) << "position " << row[i];
    }
    EXPECT_EQ(keycodeAt(49), KEY_SPACE + 8);
    EXPECT_EQ(keycodeAt(53), KEY_ESC + 8);
    EXPECT_EQ(keycodeAt(76), KEY_KPENTER + 8);
}

TEST(KeyPositions, NoTwoPositionsAreOneKey)
{
    std::map<int, std::uint32_t> seen;
    for (std::uint32_t position = 0; position < 128; ++position) {
        const auto key = keycodeAt(position);
        if (!key)
            continue;
        EXPECT_GT(*key, 8);
        const auto [other, isNew] = seen.emplace(*key, position);
        EXPECT_TRUE(isNew) << "positions " << other->second << " and " << position;
    }
    // 26 letters, 10 digits, 11 signs, 20 function keys, 18 of the keypad, 10 around the arrows, and space, return, tab, escape,
    // backspace, the key of ISO keyboards and 3 for sound.
    EXPECT_EQ(seen.size(), 26U + 10 + 11 + 20 + 18 + 10 + 9);
}

TEST(KeyPositions, ANumberWithoutAKeyHasNoKeycode)
{
    for (const std::uint32_t position : {52U, 55U, 66U, 127U, 128U, 256U, 0xFFFFFFFFU})
        EXPECT_FALSE(keycodeAt(position)) << position;
}

}  // namespace
}  // namespace velmora::linux_backend
