// Where the program's windows are, how large and how sharp, on two monitors of which the right one or both are enlarged, the left one with
// a panel at its top; and that what is recorded there has the window's own pixels.

#include "tests/support/Monitors.h"
#include "tests/support/desktop/DesktopServices.h"
#include "tests/support/desktop/Screen.h"
#include "tests/support/desktop/SecondDisplay.h"
#include "tests/support/desktop/TrayProgram.h"
#include "tests/support/recording/RecordedClip.h"
#include "tests/support/recording/Subjects.h"

#include <QSizeF>

#include <algorithm>
#include <cstdlib>
#include <gmock/gmock.h>
#include <ostream>
#include <string>
#include <tuple>
#include <vector>

namespace velmora::test {
namespace {

using namespace std::chrono_literals;
using ::testing::IsEmpty;

constexpr const char* nameOfPanelAndAlert = "^Velmora$";
constexpr const char* picker = "^Select Video Window";
const QRect left{0, 0, 1920, 1200};
const QRect right{1920, 0, 1920, 1200};
const QRect freeOfLeft = left.adjusted(0, Panel::height, 0, 0);

PixelRect pixels(const QRect& rectangle)
{
    return {rectangle.x(), rectangle.y(), rectangle.width(), rectangle.height()};
}

struct Scale {
    const char* name;
    const char* variable;
    const char* value;
    double left;
    double right;
};

void PrintTo(const Scale& scale, std::ostream* stream)
{
    *stream << scale.variable << "=" << scale.value;
}

/// How many pixels are not what they would be if the picture had been drawn at half its size and enlarged.
int fineDetail(const QImage& picture)
{
    const auto smaller = picture.scaled(picture.size() / 2, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    const auto again = smaller.scaled(picture.size(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    constexpr int clearly = 24;
    int count = 0;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x)
            count += std::abs(qGray(picture.pixel(x, y)) - qGray(again.pixel(x, y))) > clearly ? 1 : 0;
    }
    return count;
}

class ScaledMonitorsTest : public testing::TestWithParam<Scale> {
protected:
    static void focus(const NumberedWindow& window)
    {
        ASSERT_EQ(runProgram({"xdotool", "windowactivate", "--sync", std::to_string(window.id())}).status, 0);
    }

    static TrayProgram::Options options()
    {
        TrayProgram::Options options;
        options.environment = {{GetParam().variable, GetParam().value}};
        return options;
    }

    void expectThePanelInTheCornerOf(const QRect& monitor, double scale)
    {
        ASSERT_TRUE(program.startByShortcut());
        record(1200ms);
        ASSERT_TRUE(program.saveByShortcut());
        const QSizeF size = QSizeF{340, 110} * scale;
        const QPointF corner{monitor.x() + monitor.width() - 360 * scale, monitor.y() + 10 * scale};
        QRect place;
        const auto isThere = [&] {
            const auto windows = visibleWindows(nameOfPanelAndAlert);
            place = windows.empty() ? place : windows.front();
            return windows.size() == 1 && (QPointF{place.topLeft()} - corner).manhattanLength() <= 2
                && std::abs(place.width() - size.width()) <= 1 && std::abs(place.height() - size.height()) <= 1;
        };
        EXPECT_TRUE(waitUntil(isThere)) << place.width() << "x" << place.height() << " at " << place.x() << "," << place.y() << ", not at "
                                        << corner.x() << "," << corner.y();
    }

    static void expectInTheMiddle(const std::string& title, const QRect& area, double scale, const QSizeF& size)
    {
        ASSERT_TRUE(isShown(title));
        const auto isThere = [&] {
            const auto place = contentPlace(title);
            return (place.center() - area.center()).manhattanLength() <= 4 && std::abs(place.width() - size.width() * scale) <= 2
                && std::abs(place.height() - size.height() * scale) <= 2;
        };
        EXPECT_TRUE(waitUntil(isThere)) << contentPlace(title).x() << "," << contentPlace(title).y() << ", " << contentPlace(title).width()
                                        << "x" << contentPlace(title).height();
    }

    SecondDisplay display{{"-screen", "0", "3840x1200x24"}};
    Monitors monitors{{pixels(left), pixels(right)}};
    Panel panel;
    NumberedWindow onTheLeft{{"--size", "320x240", "--position", "100,200"}};
    NumberedWindow onTheRight{{"--size", "320x240", "--position", "2400,200"}};
    TrayProgram program{options()};
};

TEST_P(ScaledMonitorsTest, ThePanelOfASavedClipStandsInTheCornerInTheSizeOfItsMonitor)
{
    ASSERT_EQ(program.run({"select", std::to_string(onTheLeft.id())}).status, 0);
    focus(onTheRight);
    expectThePanelInTheCornerOf(right, GetParam().right);
    focus(onTheLeft);
    expectThePanelInTheCornerOf(freeOfLeft, GetParam().left);
}

TEST_P(ScaledMonitorsTest, AWindowOpensInTheMiddleOfTheMonitorThatIsWorkedOnAsLargeAsItBelongsThere)
{
    constexpr QSizeF size{560, 480};
    for (const auto& [window, area, scale] :
        {std::tuple{&onTheRight, right, GetParam().right}, std::tuple{&onTheLeft, freeOfLeft, GetParam().left}}) {
        focus(*window);
        ASSERT_EQ(program.run({"choose"}).status, 0);
        expectInTheMiddle(picker, area, scale, size);
        ASSERT_TRUE(hasFocus("Select Video Window"));
        pressKeys({"Escape"});
        ASSERT_TRUE(isHidden(picker));
        // One that is opened again is where it was.
        program.restart();
    }
}

TEST_P(ScaledMonitorsTest, AWindowIsDrawnInTheMonitorsOwnPixels)
{
    focus(onTheRight);
    ASSERT_EQ(program.run({"choose"}).status, 0);
    ASSERT_TRUE(isShown(picker));
    QImage picture;
    const auto isSharp = [&] {
        picture = screenPicture(contentPlace(picker));
        return fineDetail(picture) > 2000;
    };
    EXPECT_TRUE(waitUntil(isSharp)) << fineDetail(picture);
    // That the figure tells one from the other.
    const auto enlarged = picture.scaled(picture.size() / 2, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
                              .scaled(picture.size(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    EXPECT_LT(fineDetail(enlarged), fineDetail(picture) / 4);
}

TEST_P(ScaledMonitorsTest, AWindowThatLiesOnBothIsRecordedPixelByPixel)
{
    const NumberedWindow onBoth{{"--size", "640x480", "--position", "1600,600"}};
    ASSERT_EQ(program.run({"select", std::to_string(onBoth.id())}).status, 0);
    ASSERT_TRUE(program.startByShortcut());
    record(1200ms);
    ASSERT_TRUE(program.saveByShortcut());
    const auto clip = readClip(program.lastSavedClip());
    ASSERT_TRUE(clip.video);
    EXPECT_EQ(clip.video->width, 640);
    EXPECT_EQ(clip.video->height, 480);
    ASSERT_FALSE(clip.video->pictures.empty());
    for (const auto& seen : clip.video->pictures)
        EXPECT_TRUE(seen.reading.number()) << "at " << seen.time << " s no frame is whole";
    EXPECT_THAT(clip.complaints, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(, ScaledMonitorsTest,
    testing::Values(Scale{"both twice", "QT_SCALE_FACTOR", "2", 2, 2}, Scale{"both one and a half", "QT_SCALE_FACTOR", "1.5", 1.5, 1.5},
        Scale{"the right one twice", "QT_SCREEN_SCALE_FACTORS", "1;2", 1, 2}),
    [](const auto& scale) {
        std::string name{scale.param.name};
        std::erase(name, ' ');
        return name;
    });

}  // namespace
}  // namespace velmora::test
