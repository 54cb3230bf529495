#include "platform/linux/x11/DesktopLayoutReader.h"

#include "platform/linux/x11/X11WindowActivation.h"
#include "tests/platform/linux/x11/TestDesktop.h"
#include "tests/support/Monitors.h"

#include <gtest/gtest.h>

namespace velmora::linux_backend {
namespace {

using platform::ScreenFrames;

constexpr PixelRect left{0, 0, 800, 600};
constexpr PixelRect right{800, 0, 480, 600};

/// A server of the test's own with two monitors, and no window manager.
class DesktopLayoutReaderTest : public ::testing::Test {
protected:
    xcb_window_t showWindow(const PixelRect& frame)
    {
        WindowSpec spec;
        spec.frame = frame;
        return desktop.showWindow(spec);
    }

    std::optional<ScreenFrames> mainScreen() { return activation.mainScreen(); }

    PrivateServer server{{"-screen", "0", "1280x600x24"}};
    test::Monitors monitors{{right, left}, server.displayName()};
    TestDesktop desktop{server.displayName()};
    X11WindowActivation activation{server.displayName()};
};

TEST_F(DesktopLayoutReaderTest, ThePrimaryMonitorIsMainWhileNothingHasTheFocus)
{
    EXPECT_EQ(mainScreen(), (ScreenFrames{right, right}));
}

TEST_F(DesktopLayoutReaderTest, TheWindowThatHasTheKeysTellsTheMonitorWithoutAWindowManager)
{
    const auto window = showWindow({50, 50, 200, 200});
    xcb_set_input_focus(desktop.xcb(), XCB_INPUT_FOCUS_NONE, window, XCB_CURRENT_TIME);
    desktop.sync();
    EXPECT_EQ(mainScreen(), (ScreenFrames{left, left}));
    desktop.destroy(window);
    EXPECT_EQ(mainScreen(), (ScreenFrames{right, right}));
}

TEST_F(DesktopLayoutReaderTest, TheActiveWindowTellsTheMonitorWhereverItLiesInItsFrame)
{
    const auto window = showWindow({50, 50, 200, 200});
    desktop.setValues(desktop.root(), "_NET_ACTIVE_WINDOW", "WINDOW", {window});
    desktop.sync();
    EXPECT_EQ(mainScreen(), (ScreenFrames{left, left}));
    const auto frame = showWindow({900, 100, 300, 300});
    xcb_reparent_window(desktop.xcb(), window, frame, 10, 30);
    desktop.sync();
    EXPECT_EQ(mainScreen(), (ScreenFrames{right, right}));
}

TEST_F(DesktopLayoutReaderTest, TheGroundOfTheDesktopTellsNoMonitor)
{
    WindowSpec spec;
    spec.frame = {0, 0, 1280, 600};
    spec.type = "_NET_WM_WINDOW_TYPE_DESKTOP";
    desktop.setValues(desktop.root(), "_NET_ACTIVE_WINDOW", "WINDOW", {desktop.showWindow(spec)});
    desktop.sync();
    EXPECT_EQ(mainScreen(), (ScreenFrames{right, right}));
}

TEST_F(DesktopLayoutReaderTest, PanelsReserveWhileTheyAreShown)
{
    const auto listed = showWindow({800, 0, 480, 30});
    desktop.setValues(listed, "_NET_WM_STRUT_PARTIAL", "CARDINAL", {0, 0, 30, 0, 0, 0, 0, 0, 800, 1279, 0, 0});
    desktop.setValues(desktop.root(), "_NET_CLIENT_LIST", "WINDOW", {listed});
    const auto unlisted = showWindow({0, 580, 1280, 20});
    desktop.setValues(unlisted, "_NET_WM_STRUT", "CARDINAL", {0, 0, 0, 20});
    desktop.sync();
    EXPECT_EQ(mainScreen(), (ScreenFrames{right, {800, 30, 480, 550}}));
    xcb_unmap_window(desktop.xcb(), unlisted);
    desktop.sync();
    EXPECT_EQ(mainScreen(), (ScreenFrames{right, {800, 30, 480, 570}}));
    desktop.setValues(desktop.root(), "_NET_CLIENT_LIST", "WINDOW", {});
    desktop.destroy(listed);
    EXPECT_EQ(mainScreen(), (ScreenFrames{right, right}));
}

TEST_F(DesktopLayoutReaderTest, WorkAreasAreThoseOfTheCurrentWorkspace)
{
    desktop.setValues(desktop.root(), "_NET_CURRENT_DESKTOP", "CARDINAL", {1});
    desktop.setValues(desktop.root(), "_NET_WORKAREA", "CARDINAL", {0, 0, 1280, 600, 0, 40, 1280, 560});
    desktop.sync();
    EXPECT_EQ(mainScreen(), (ScreenFrames{right, {800, 40, 480, 560}}));
    desktop.setValues(desktop.root(), "_GTK_WORKAREAS_D0", "CARDINAL", {0, 25, 800, 575, 800, 25, 480, 575});
    desktop.setValues(desktop.root(), "_GTK_WORKAREAS_D1", "CARDINAL", {0, 27, 800, 573, 800, 0, 480, 600});
    desktop.sync();
    EXPECT_EQ(mainScreen(), (ScreenFrames{right, right}));
}

TEST(DesktopLayoutReader, AServerWithoutRandrIsOneMonitor)
{
    const PrivateServer server{{"-extension", "RANDR", "-screen", "0", "640x480x24"}};
    X11WindowActivation activation{server.displayName()};
    EXPECT_EQ(activation.mainScreen(), (ScreenFrames{{0, 0, 640, 480}, {0, 0, 640, 480}}));
}

TEST(DesktopLayoutReader, WithoutAServerThereIsNoScreen)
{
    X11WindowActivation activation{":12345"};
    EXPECT_EQ(activation.mainScreen(), std::nullopt);
}

}  // namespace
}  // namespace velmora::linux_backend
