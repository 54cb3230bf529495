#include "platform/linux/x11/X11Inspection.h"

#include "platform/HotKeyCenter.h"
#include "platform/linux/x11/Connection.h"
#include "platform/linux/x11/KeyGrabs.h"

#include <gtest/gtest.h>

namespace velmora::linux_backend {
namespace {

using State = platform::DesktopFacts::Shortcut::State;

constexpr std::uint32_t inspectedKey = 8;
constexpr std::uint32_t inspectedModifiers = platform::HotKeyCenter::optionModifier | platform::HotKeyCenter::commandModifier;

TEST(X11Inspection, AShortcutThatAnotherClientHasIsTakenAndIsGivenBackWhereItIsFree)
{
    const auto other = Connection::open();
    ASSERT_TRUE(other);
    for (int round = 0; round < 2; ++round) {
        const auto free = inspectX11(inspectedKey, inspectedModifiers);
        ASSERT_TRUE(free) << free.error().localizedDescription;
        EXPECT_EQ(free->shortcut, State::free);
        EXPECT_NE(free->server, "");

        KeyGrabs grabs{[](auto) {}, [] {}};
        ASSERT_EQ(grabs.add(**other, 1, inspectedKey, inspectedModifiers), 0) << "it was not given back";
        EXPECT_EQ(inspectX11(inspectedKey, inspectedModifiers)->shortcut, State::taken);
        grabs.removeAll(**other);
        ASSERT_EQ((*other)->errorCode(xcb_no_operation_checked((*other)->xcb())), 0);
    }
}

TEST(X11Inspection, AKeyThatNoKeyboardHasIsImpossible)
{
    EXPECT_EQ(inspectX11(4711, inspectedModifiers)->shortcut, State::impossible);
}

TEST(X11Inspection, ADisplayThatIsNotThereIsAnError)
{
    EXPECT_FALSE(inspectX11(inspectedKey, inspectedModifiers, ":4711"));
}

}  // namespace
}  // namespace velmora::linux_backend
