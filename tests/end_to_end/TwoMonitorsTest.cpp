// Where the program's windows are on a desktop of two monitors, the left one with a panel at its top.

#include "tests/support/Monitors.h"
#include "tests/support/desktop/DesktopServices.h"
#include "tests/support/desktop/Screen.h"
#include "tests/support/desktop/TrayProgram.h"
#include "tests/support/recording/Subjects.h"

#include <gmock/gmock.h>

namespace velmora::test {
namespace {

using namespace std::chrono_literals;
using ::testing::SizeIs;

constexpr const char* nameOfPanelAndAlert = "^Velmora$";
const QRect left{0, 0, 1100, 1080};
const QRect right{1100, 0, 820, 900};
const QRect freeOfLeft = left.adjusted(0, Panel::height, 0, 0);

PixelRect pixels(const QRect& rectangle)
{
    return {rectangle.x(), rectangle.y(), rectangle.width(), rectangle.height()};
}

class TwoMonitorsTest : public testing::Test {
protected:
    static void focus(const NumberedWindow& window)
    {
        ASSERT_EQ(runProgram({"xdotool", "windowactivate", "--sync", std::to_string(window.id())}).status, 0);
    }

    void save()
    {
        ASSERT_TRUE(program.startByShortcut());
        record(1200ms);
        ASSERT_TRUE(program.saveByShortcut());
    }

    static void expectInTheMiddle(const std::string& title, const QRect& area)
    {
        ASSERT_TRUE(isShown(title));
        const auto place = contentPlace(title);
        EXPECT_NEAR(place.center().x(), area.center().x(), 2) << place.x() << "," << place.y();
        EXPECT_NEAR(place.center().y(), area.center().y(), 2) << place.x() << "," << place.y();
    }

    Monitors monitors{{pixels(left), pixels(right)}};
    Panel panel;
    NumberedWindow onTheLeft{{"--size", "320x240", "--position", "100,200"}};
    NumberedWindow onTheRight{{"--size", "320x240", "--position", "1400,200"}};
    TrayProgram program;
};

TEST_F(TwoMonitorsTest, ThePanelOfASavedClipStandsInTheCornerOfTheMonitorThatIsWorkedOnBelowItsPanel)
{
    ASSERT_EQ(program.run({"select", std::to_string(onTheLeft.id())}).status, 0);
    focus(onTheLeft);
    save();
    ASSERT_TRUE(isShown(nameOfPanelAndAlert));
    auto windows = visibleWindows(nameOfPanelAndAlert);
    ASSERT_THAT(windows, SizeIs(1));
    EXPECT_EQ(windows.front().left(), left.x() + left.width() - 360);
    // The panel has a line of its own.
    EXPECT_NEAR(windows.front().top(), Panel::height + 10, 1);

    focus(onTheRight);
    save();
    const auto hasMoved = [&] {
        windows = visibleWindows(nameOfPanelAndAlert);
        return windows.size() == 1 && windows.front().topLeft() == QPoint{right.x() + right.width() - 360, 10};
    };
    EXPECT_TRUE(waitUntil(hasMoved)) << windows.front().left() << "," << windows.front().top();
}

TEST_F(TwoMonitorsTest, WindowsAndAlertsOpenInTheMiddleOfTheMonitorThatIsWorkedOn)
{
    focus(onTheRight);
    ASSERT_EQ(program.run({}).status, 0) << "no window is chosen, so a second start brings up the picker";
    expectInTheMiddle("^Select Video Window", right);
    ASSERT_TRUE(hasFocus("Select Video Window"));
    pressKeys({"Escape"});
    ASSERT_TRUE(isHidden("^Select Video Window"));

    focus(onTheLeft);
    static_cast<void>(program.run({"toggle"}));
    expectInTheMiddle(nameOfPanelAndAlert, freeOfLeft);
}

}  // namespace
}  // namespace velmora::test
