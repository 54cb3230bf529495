#include "platform/linux/x11/MainScreen.h"

#include <gtest/gtest.h>

namespace velmora::linux_backend {
namespace {

using platform::ScreenFrames;

constexpr std::uint32_t beyond = 0xffffffff;
constexpr PixelRect fullHD{0, 0, 1920, 1080};
constexpr PixelRect rightOfIt{1920, 0, 1280, 1024};

/// Two monitors, the left one primary, the right one smaller.
DesktopLayout twoMonitors()
{
    DesktopLayout layout;
    layout.root = {0, 0, 3200, 1080};
    layout.monitors = {{fullHD, true}, {rightOfIt, false}};
    return layout;
}

DesktopLayout oneMonitor()
{
    DesktopLayout layout;
    layout.root = fullHD;
    layout.monitors = {{fullHD, true}};
    return layout;
}

constexpr PixelRect onTheLeft{100, 100, 400, 300};
constexpr PixelRect onTheRight{2000, 100, 400, 300};

PixelRect visibleFrame(DesktopLayout layout, const PixelRect& focusedWindow)
{
    layout.focusedWindow = focusedWindow;
    const auto screen = mainScreen(layout);
    return screen ? screen->visibleFrame : PixelRect{};
}

PixelRect mainFrame(const DesktopLayout& layout)
{
    const auto screen = mainScreen(layout);
    return screen ? screen->frame : PixelRect{};
}

Strut topPanel(std::uint32_t height, std::uint32_t from, std::uint32_t to)
{
    Strut strut;
    strut.top = height;
    strut.topStart = from;
    strut.topEnd = to;
    return strut;
}

TEST(MainScreen, IsTheMonitorOfTheFocusedWindow)
{
    auto layout = twoMonitors();
    layout.focusedWindow = onTheRight;
    EXPECT_EQ(mainFrame(layout), rightOfIt);
    layout.focusedWindow = onTheLeft;
    EXPECT_EQ(mainFrame(layout), fullHD);
}

TEST(MainScreen, IsThePrimaryOneWithoutAFocusedWindowOrWithOneOffTheScreen)
{
    auto layout = twoMonitors();
    EXPECT_EQ(mainFrame(layout), fullHD);
    layout.monitors = {{fullHD, false}, {rightOfIt, true}};
    EXPECT_EQ(mainFrame(layout), rightOfIt);
    layout.focusedWindow = PixelRect{-500, -500, 100, 100};
    EXPECT_EQ(mainFrame(layout), rightOfIt);
    layout.monitors = {{fullHD, false}, {rightOfIt, false}};
    EXPECT_EQ(mainFrame(layout), fullHD) << "no primary: the first";
}

TEST(MainScreen, OfAWindowOnTwoMonitorsIsTheOneThatShowsMoreOfIt)
{
    auto layout = twoMonitors();
    layout.focusedWindow = PixelRect{1820, 100, 300, 300};
    EXPECT_EQ(mainFrame(layout), rightOfIt);
    layout.focusedWindow = PixelRect{1720, 100, 300, 300};
    EXPECT_EQ(mainFrame(layout), fullHD);
    layout.focusedWindow = PixelRect{1820, 100, 200, 300};
    EXPECT_EQ(mainFrame(layout), fullHD) << "as much of both: the primary";
    layout.monitors = {{fullHD, false}, {rightOfIt, true}};
    EXPECT_EQ(mainFrame(layout), rightOfIt) << "as much of both: the primary";
}

TEST(MainScreen, ARootWithoutMonitorsIsOne)
{
    DesktopLayout layout;
    EXPECT_EQ(mainScreen(layout), std::nullopt);
    layout.root = fullHD;
    EXPECT_EQ(mainScreen(layout), (ScreenFrames{fullHD, fullHD}));
}

TEST(MainScreen, APanelTakesItsEdgeOfItsOwnMonitorOnly)
{
    auto layout = twoMonitors();
    layout.struts = {topPanel(32, 0, 1919)};
    EXPECT_EQ(visibleFrame(layout, onTheLeft), (PixelRect{0, 32, 1920, 1048}));
    EXPECT_EQ(visibleFrame(layout, onTheRight), rightOfIt);
    layout.struts = {topPanel(32, 1920, 3199)};
    EXPECT_EQ(visibleFrame(layout, onTheLeft), fullHD);
    EXPECT_EQ(visibleFrame(layout, onTheRight), (PixelRect{1920, 32, 1280, 992}));
}

TEST(MainScreen, ARangeReachesToItsLastPixel)
{
    auto layout = twoMonitors();
    layout.struts = {topPanel(32, 0, 1920)};
    EXPECT_EQ(visibleFrame(layout, onTheRight), (PixelRect{1920, 32, 1280, 992})) << "its first column is the panel's";
    layout.struts = {topPanel(32, 1919, 3199)};
    EXPECT_EQ(visibleFrame(layout, onTheLeft), (PixelRect{0, 32, 1920, 1048})) << "its last column is the panel's";
}

TEST(MainScreen, PanelsStandAtAllFourEdges)
{
    auto layout = oneMonitor();
    Strut strut;
    strut.left = 10;
    strut.right = 20;
    strut.top = 30;
    strut.bottom = 40;
    layout.struts = {strut};
    EXPECT_EQ(visibleFrame(layout, onTheLeft), (PixelRect{10, 30, 1890, 1010}));
}

TEST(MainScreen, OfTwoPanelsAtOneEdgeTheThickerCounts)
{
    auto layout = oneMonitor();
    layout.struts = {topPanel(48, 0, 1919), topPanel(24, 0, 1919)};
    EXPECT_EQ(visibleFrame(layout, onTheLeft), (PixelRect{0, 48, 1920, 1032}));
    layout.struts = {topPanel(24, 0, 1919), topPanel(48, 0, 1919)};
    EXPECT_EQ(visibleFrame(layout, onTheLeft), (PixelRect{0, 48, 1920, 1032}));
}

// The reserve counts from the root's edge, the panel is at the monitor's.
TEST(MainScreen, APanelBelowASmallerMonitorReservesWhatLiesUnderThatMonitorToo)
{
    auto layout = twoMonitors();
    Strut strut;
    strut.bottom = 1080 - 1024 + 40;
    strut.bottomStart = 1920;
    strut.bottomEnd = 3199;
    layout.struts = {strut};
    EXPECT_EQ(visibleFrame(layout, onTheRight), (PixelRect{1920, 0, 1280, 984}));
    EXPECT_EQ(visibleFrame(layout, onTheLeft), fullHD);
}

TEST(MainScreen, APanelBetweenTwoMonitorsTakesNothingOfTheOneInFront)
{
    auto layout = twoMonitors();
    Strut left;
    left.left = 1920 + 48;
    layout.struts = {left};
    EXPECT_EQ(visibleFrame(layout, onTheLeft), fullHD);
    EXPECT_EQ(visibleFrame(layout, onTheRight), (PixelRect{1968, 0, 1232, 1024}));
    Strut right;
    right.right = 1280 + 48;
    layout.struts = {right};
    EXPECT_EQ(visibleFrame(layout, onTheLeft), (PixelRect{0, 0, 1872, 1080}));
    EXPECT_EQ(visibleFrame(layout, onTheRight), rightOfIt);
}

TEST(MainScreen, APanelBetweenMonitorsAboveEachOtherTakesNothingOfTheOneInFront)
{
    DesktopLayout layout;
    layout.root = {0, 0, 1920, 2160};
    layout.monitors = {{{0, 0, 1920, 1080}, true}, {{0, 1080, 1920, 1080}, false}};
    Strut strut;
    strut.top = 1080 + 30;
    layout.struts = {strut};
    EXPECT_EQ(visibleFrame(layout, {0, 0, 100, 100}), (PixelRect{0, 0, 1920, 1080}));
    EXPECT_EQ(visibleFrame(layout, {0, 1200, 100, 100}), (PixelRect{0, 1110, 1920, 1050}));
    strut = {};
    strut.bottom = 1080 + 30;
    layout.struts = {strut};
    EXPECT_EQ(visibleFrame(layout, {0, 0, 100, 100}), (PixelRect{0, 0, 1920, 1050}));
    EXPECT_EQ(visibleFrame(layout, {0, 1200, 100, 100}), (PixelRect{0, 1080, 1920, 1080}));
}

TEST(MainScreen, AStrutOfNonsenseTakesNothing)
{
    auto layout = oneMonitor();
    Strut strut;
    strut.top = beyond;
    layout.struts = {strut};
    EXPECT_EQ(visibleFrame(layout, onTheLeft), fullHD);
    layout.struts = {topPanel(30, 500, 400)};
    EXPECT_EQ(visibleFrame(layout, onTheLeft), fullHD);
    layout.struts = {topPanel(30, beyond, beyond)};
    EXPECT_EQ(visibleFrame(layout, onTheLeft), fullHD);
    strut = {};
    strut.left = 1000;
    strut.right = 1000;
    layout.struts = {strut};
    EXPECT_EQ(visibleFrame(layout, onTheLeft), fullHD) << "nothing would be left";
}

TEST(MainScreen, WithOneMonitorTheWorkAreaOfTheWindowManagerCountsToo)
{
    auto layout = oneMonitor();
    layout.struts = {topPanel(32, 0, 1919)};
    layout.workArea = PixelRect{64, 0, 1856, 1080};
    EXPECT_EQ(visibleFrame(layout, onTheLeft), (PixelRect{64, 32, 1856, 1048}));
    layout.workArea = PixelRect{5000, 0, 10, 10};
    EXPECT_EQ(visibleFrame(layout, onTheLeft), (PixelRect{0, 32, 1920, 1048})) << "one that is elsewhere is nonsense";
}

TEST(MainScreen, WithTwoMonitorsTheOneWorkAreaCountsOnlyWhereNothingElseTellsOfAPanel)
{
    auto layout = twoMonitors();
    layout.struts = {topPanel(32, 0, 1919)};
    layout.workArea = PixelRect{0, 32, 3200, 992};
    EXPECT_EQ(visibleFrame(layout, onTheRight), rightOfIt);
    EXPECT_EQ(visibleFrame(layout, onTheLeft), (PixelRect{0, 32, 1920, 1048}));
    layout.struts = {};
    EXPECT_EQ(visibleFrame(layout, onTheRight), (PixelRect{1920, 32, 1280, 992}));
    layout.monitorWorkAreas = {{0, 27, 1920, 1053}, rightOfIt};
    EXPECT_EQ(visibleFrame(layout, onTheRight), rightOfIt);
    EXPECT_EQ(visibleFrame(layout, onTheLeft), (PixelRect{0, 27, 1920, 1053}));
}

TEST(MainScreen, AStrutIsReadFromEitherProperty)
{
    EXPECT_FALSE(Strut::fromValues({}, {}));
    EXPECT_FALSE(Strut::fromValues({0, 0, 0, 0, 0, 0, 0, 0, 0, 1919, 0, 0}, {})) << "a panel that hides reserves nothing";
    EXPECT_FALSE(Strut::fromValues({}, {0, 0, 32})) << "too few values";
    const auto partial = Strut::fromValues({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}, {40, 40, 40, 40});
    ASSERT_TRUE(partial);
    EXPECT_EQ(partial->left, 1U);
    EXPECT_EQ(partial->right, 2U);
    EXPECT_EQ(partial->top, 3U);
    EXPECT_EQ(partial->bottom, 4U);
    EXPECT_EQ(partial->leftStart, 5U);
    EXPECT_EQ(partial->leftEnd, 6U);
    EXPECT_EQ(partial->rightStart, 7U);
    EXPECT_EQ(partial->rightEnd, 8U);
    EXPECT_EQ(partial->topStart, 9U);
    EXPECT_EQ(partial->topEnd, 10U);
    EXPECT_EQ(partial->bottomStart, 11U);
    EXPECT_EQ(partial->bottomEnd, 12U);
    auto layout = twoMonitors();
    layout.struts = {Strut::fromValues({1, 2, 3}, {0, 0, 32, 0}).value()};
    EXPECT_EQ(visibleFrame(layout, onTheLeft), (PixelRect{0, 32, 1920, 1048}));
    EXPECT_EQ(visibleFrame(layout, onTheRight), (PixelRect{1920, 32, 1280, 992})) << "without a range: of both";
}

TEST(MainScreen, WorkAreasComeInFours)
{
    EXPECT_EQ(workAreasFrom({1, 2, 3, 4, 5, 6, 7}), (std::vector<PixelRect>{{1, 2, 3, 4}}));
    EXPECT_EQ(workAreasFrom({0xffffffff, 0x7fffffff, 0x7fffffff, 0x80000000}), (std::vector<PixelRect>{{-1, 65535, 65535, -65535}}));
}

}  // namespace
}  // namespace velmora::linux_backend
