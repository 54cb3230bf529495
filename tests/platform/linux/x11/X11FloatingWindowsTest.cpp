#include "platform/linux/x11/X11FloatingWindows.h"

#include "tests/platform/linux/x11/TestDesktop.h"

#include <gtest/gtest.h>

namespace velmora::linux_backend {
namespace {

constexpr PixelRect whereItStands{400, 20, 340, 110};
constexpr PixelRect allOfIt{0, 0, 340, 110};

/// A server of the test's own without a window manager, which would have a say in the order of windows.
class X11FloatingWindowsTest : public ::testing::Test {
protected:
    xcb_window_t show(TestDesktop& desktop, const PixelRect& frame)
    {
        WindowSpec spec;
        spec.frame = frame;
        spec.overridesRedirect = true;
        return desktop.showWindow(spec);
    }

    bool isOnTop(xcb_window_t window)
    {
        const auto tree = ours.connection().reply(xcb_query_tree_reply, xcb_query_tree(ours.xcb(), ours.root()));
        const auto count = tree ? xcb_query_tree_children_length(tree.get()) : 0;
        return count > 0 && xcb_query_tree_children(tree.get())[count - 1] == window;
    }

    /// Until the event thread has handled all that happened before.
    void settle()
    {
        others.sync();
        ours.sync();
        ASSERT_TRUE(events->run([](X11EventThread::Context& context) {
            EXPECT_TRUE(context.connection.reply(xcb_get_input_focus_reply, xcb_get_input_focus(context.connection.xcb())));
        }));
        ASSERT_TRUE(events->run([](X11EventThread::Context& context) {
            EXPECT_TRUE(context.connection.reply(xcb_get_input_focus_reply, xcb_get_input_focus(context.connection.xcb())));
        }));
    }

    PrivateServer server{{"-screen", "0", "1000x600x24"}};
    TestDesktop ours{server.displayName()};
    TestDesktop others{server.displayName()};
    std::shared_ptr<X11EventThread> events = std::make_shared<X11EventThread>(server.displayName());
    X11FloatingWindows floating{events};
};

TEST_F(X11FloatingWindowsTest, AWindowThatIsCoveredComesToTheFront)
{
    const auto panel = show(ours, whereItStands);
    const auto inFront = floating.keepInFront(panel, allOfIt);
    ASSERT_TRUE(inFront);
    const auto notification = show(others, {600, 30, 300, 80});
    ours.waitUntil("the panel is raised", [&] { return isOnTop(panel); });
    others.raise(notification);
    ours.waitUntil("the panel is raised again", [&] { return isOnTop(panel); });
    const auto fromElsewhere = show(others, {0, 300, 300, 80});
    others.configure(fromElsewhere, XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y, {500, 100});
    ours.waitUntil("the panel is raised above what moved over it", [&] { return isOnTop(panel); });
}

TEST_F(X11FloatingWindowsTest, AWindowThatIsCoveredAlreadyComesToTheFrontAtOnce)
{
    const auto panel = show(ours, whereItStands);
    show(others, {600, 30, 300, 80});
    ASSERT_FALSE(isOnTop(panel));
    const auto inFront = floating.keepInFront(panel, allOfIt);
    ours.waitUntil("the panel is raised", [&] { return isOnTop(panel); });
}

TEST_F(X11FloatingWindowsTest, WhatCoversNothingOfThePartStaysAbove)
{
    const auto panel = show(ours, {376, 0, 388, 158});
    const auto inFront = floating.keepInFront(panel, {24, 20, 340, 110});
    ASSERT_TRUE(inFront);
    const auto beside = show(others, {740, 20, 100, 100});
    settle();
    EXPECT_TRUE(isOnTop(beside)) << "it is only over the margin";
}

TEST_F(X11FloatingWindowsTest, OurOwnMenusAndWhatCoversTheMonitorStayAbove)
{
    const auto panel = show(ours, whereItStands);
    const auto inFront = floating.keepInFront(panel, allOfIt);
    const auto menu = show(ours, {500, 60, 200, 200});
    settle();
    EXPECT_TRUE(isOnTop(menu));
    const auto lock = show(others, {0, 0, 1000, 600});
    settle();
    EXPECT_TRUE(isOnTop(lock));
}

TEST_F(X11FloatingWindowsTest, AWindowThatIsNoLongerKeptStaysBehind)
{
    const auto panel = show(ours, whereItStands);
    auto inFront = floating.keepInFront(panel, allOfIt);
    inFront.reset();
    const auto notification = show(others, {600, 30, 300, 80});
    settle();
    EXPECT_TRUE(isOnTop(notification));
}

TEST_F(X11FloatingWindowsTest, ARaiseTakesNoFocus)
{
    const auto other = show(others, {0, 300, 300, 200});
    xcb_set_input_focus(others.xcb(), XCB_INPUT_FOCUS_NONE, other, XCB_CURRENT_TIME);
    const auto panel = show(ours, whereItStands);
    const auto inFront = floating.keepInFront(panel, allOfIt);
    show(others, {600, 30, 300, 80});
    ours.waitUntil("the panel is raised", [&] { return isOnTop(panel); });
    const auto focus = ours.connection().reply(xcb_get_input_focus_reply, xcb_get_input_focus(ours.xcb()));
    ASSERT_TRUE(focus);
    EXPECT_EQ(focus->focus, other);
}

TEST_F(X11FloatingWindowsTest, AWindowThatIsGoneIsNoError)
{
    const auto panel = show(ours, whereItStands);
    const auto inFront = floating.keepInFront(panel, allOfIt);
    ours.destroy(panel);
    show(others, {600, 30, 300, 80});
    settle();
}

TEST_F(X11FloatingWindowsTest, ClicksBesideTheClickableAreaGoToWhatLiesBelow)
{
    const auto below = show(others, {300, 0, 600, 300});
    const auto panel = show(ours, {376, 0, 388, 158});
    const auto under = [&](int x, int y) -> xcb_window_t {
        ours.movePointer(x, y);
        const auto pointer = ours.connection().reply(xcb_query_pointer_reply, xcb_query_pointer(ours.xcb(), ours.root()));
        return pointer ? pointer->child : static_cast<xcb_window_t>(XCB_WINDOW_NONE);
    };
    EXPECT_EQ(under(380, 5), panel);
    floating.setClickableArea(panel, PixelRect{24, 20, 340, 110});
    settle();
    EXPECT_EQ(under(380, 5), below);
    EXPECT_EQ(under(399, 50), below);
    EXPECT_EQ(under(400, 50), panel);
    EXPECT_EQ(under(739, 129), panel);
    EXPECT_EQ(under(740, 129), below);
    floating.setClickableArea(panel, std::nullopt);
    settle();
    EXPECT_EQ(under(380, 5), panel);
}

TEST_F(X11FloatingWindowsTest, WindowsAreCompositedWhileSomebodySaysSo)
{
    EXPECT_FALSE(floating.areComposited());
    const auto manager = others.makeWindow({});
    xcb_set_selection_owner(others.xcb(), manager, others.atom("_NET_WM_CM_S0"), XCB_CURRENT_TIME);
    others.sync();
    EXPECT_TRUE(floating.areComposited());
    others.destroy(manager);
    others.sync();
    EXPECT_FALSE(floating.areComposited());
}

TEST(X11FloatingWindows, WithoutAServerNothingFloats)
{
    X11FloatingWindows floating{std::make_shared<X11EventThread>(":54321")};
    EXPECT_FALSE(floating.areComposited());
    EXPECT_FALSE(floating.keepInFront(1, allOfIt));
    floating.setClickableArea(1, allOfIt);
}

}  // namespace
}  // namespace velmora::linux_backend
