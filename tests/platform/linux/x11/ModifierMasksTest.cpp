#include "platform/linux/x11/ModifierMasks.h"

#include "platform/HotKeyCenter.h"

#include <X11/keysym.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace velmora::linux_backend {
namespace {

using platform::HotKeyCenter;
using ::testing::UnorderedElementsAre;

constexpr std::uint16_t mod1 = XCB_MOD_MASK_1;
constexpr std::uint16_t mod2 = XCB_MOD_MASK_2;
constexpr std::uint16_t mod3 = XCB_MOD_MASK_3;
constexpr std::uint16_t mod4 = XCB_MOD_MASK_4;

/// A keyboard with keys 10, 11, … with two symbols each, and two keys for each modifier.
struct Keyboard {
    static constexpr xcb_keycode_t shift = 10, control = 11, altLeft = 12, altRight = 13, superLeft = 14, superRight = 15, numLock = 16;

    std::vector<xcb_keysym_t> symbols{
        XK_Shift_L,
        0,
        XK_Control_L,
        0,
        XK_Alt_L,
        XK_Meta_L,
        XK_Alt_R,
        XK_Meta_R,
        XK_Super_L,
        0,
        XK_Super_R,
        0,
        XK_Num_Lock,
        0,
    };
    std::vector<xcb_keycode_t> modifierKeys{
        shift,
        0,
        0,
        0,
        control,
        0,
        altLeft,
        altRight,
        numLock,
        0,
        0,
        0,
        superLeft,
        superRight,
        0,
        0,
    };

    void setKeys(std::size_t modifier, xcb_keycode_t first, xcb_keycode_t second = 0)
    {
        modifierKeys[modifier * 2] = first;
        modifierKeys[modifier * 2 + 1] = second;
    }
    [[nodiscard]] ModifierMasks masks() const { return findModifierMasks(modifierKeys, {10, 2, symbols}); }
};

TEST(ModifierMasks, AreFoundInAnOrdinaryMapping)
{
    EXPECT_EQ(Keyboard{}.masks(), (ModifierMasks{mod1, mod4, mod2}));
}

TEST(ModifierMasks, FollowTheMapping)
{
    Keyboard keyboard;
    keyboard.setKeys(3, Keyboard::superLeft);
    keyboard.setKeys(4, 0);
    keyboard.setKeys(5, Keyboard::altRight);
    keyboard.setKeys(6, Keyboard::numLock);
    EXPECT_EQ(keyboard.masks(), (ModifierMasks{mod3, mod1, mod4}));
}

TEST(ModifierMasks, ASymbolInASecondColumnCounts)
{
    Keyboard keyboard;
    keyboard.symbols[4] = XK_Meta_L;
    keyboard.symbols[5] = XK_Alt_L;
    keyboard.setKeys(3, Keyboard::altLeft);
    EXPECT_EQ(keyboard.masks().alt, mod1);
}

TEST(ModifierMasks, OfSeveralTheFirstCounts)
{
    Keyboard keyboard;
    keyboard.setKeys(5, Keyboard::superRight);
    EXPECT_EQ(keyboard.masks().super, mod3);
}

TEST(ModifierMasks, AKeyThatIsMissingGivesNone)
{
    Keyboard keyboard;
    keyboard.setKeys(4, 0);
    keyboard.setKeys(6, 0);
    EXPECT_EQ(keyboard.masks(), (ModifierMasks{mod1, 0, 0}));
}

TEST(ModifierMasks, AKeyOutsideOfTheKnownSymbolsIsNoModifier)
{
    Keyboard keyboard;
    keyboard.setKeys(3, 9, 17);
    EXPECT_EQ(keyboard.masks().alt, 0);
}

TEST(ModifierMasks, AnEmptyMappingGivesNone)
{
    EXPECT_EQ(findModifierMasks({}, {}), ModifierMasks{});
}

TEST(ModifierState, OptionIsAltAndCommandIsSuper)
{
    const ModifierMasks masks{mod1, mod4, mod2};
    EXPECT_EQ(modifierState(HotKeyCenter::optionModifier, masks), mod1);
    EXPECT_EQ(modifierState(HotKeyCenter::commandModifier, masks), mod4);
    EXPECT_EQ(modifierState(HotKeyCenter::optionModifier | HotKeyCenter::commandModifier, masks), mod1 | mod4);
    EXPECT_EQ(modifierState(HotKeyCenter::controlModifier | HotKeyCenter::shiftModifier, masks), XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_SHIFT);
    EXPECT_EQ(modifierState(0, masks), 0);
}

TEST(ModifierState, AModifierThatNoKeyGivesHasNone)
{
    EXPECT_FALSE(modifierState(HotKeyCenter::commandModifier, {mod1, 0, mod2}));
    EXPECT_FALSE(modifierState(HotKeyCenter::optionModifier, {0, mod4, mod2}));
}

TEST(ModifierState, ABitThatIsNoModifierHasNone)
{
    EXPECT_FALSE(modifierState(0x400, {mod1, mod4, mod2}));
    EXPECT_FALSE(modifierState(HotKeyCenter::optionModifier | 0x10000, {mod1, mod4, mod2}));
}

TEST(ModifierState, TwoModifiersOnOneBitCannotBeToldApart)
{
    const ModifierMasks masks{mod1, mod1, mod2};
    EXPECT_FALSE(modifierState(HotKeyCenter::optionModifier | HotKeyCenter::commandModifier, masks));
    EXPECT_EQ(modifierState(HotKeyCenter::optionModifier, masks), mod1);
}

TEST(LockStates, AreFourWithNumLockAndTwoWithout)
{
    EXPECT_THAT(lockStates({mod1, mod4, mod2}), UnorderedElementsAre(0, XCB_MOD_MASK_LOCK, mod2, XCB_MOD_MASK_LOCK | mod2));
    EXPECT_THAT(lockStates({mod1, mod4, 0}), UnorderedElementsAre(0, XCB_MOD_MASK_LOCK));
}

TEST(LockStates, AreLeftOutOfAStateTogetherWithButtonsAndLayouts)
{
    const ModifierMasks masks{mod1, mod4, mod2};
    const auto state = static_cast<std::uint16_t>(mod1 | mod4 | mod2 | XCB_MOD_MASK_LOCK | XCB_BUTTON_MASK_1 | 0x2000);
    EXPECT_EQ(withoutLocks(state, masks), mod1 | mod4);
    EXPECT_EQ(withoutLocks(mod1 | mod3, masks), mod1 | mod3);
}

}  // namespace
}  // namespace velmora::linux_backend
