// The program's windows as the window manager has them: sizes, what can be done with them, where they open again.

#include "tests/support/desktop/Controls.h"
#include "tests/support/desktop/Screen.h"
#include "tests/support/desktop/SecondDisplay.h"
#include "tests/support/desktop/TrayProgram.h"
#include "tests/support/recording/RecordedClip.h"
#include "tests/support/recording/Subjects.h"

#include <QMargins>

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <sstream>

namespace velmora::test {
namespace {

using ::testing::HasSubstr;

constexpr const char* walkthrough = "^Welcome to Velmora — Quick Walkthrough$";
constexpr const char* picker = "^Select Video Window — Velmora$";
constexpr const char* settings = "^Velmora Settings$";
constexpr const char* preview = "^Preview & Trim — clip.mp4$";

/// What the window manager lets a person do with the window.
std::string allowedActions(const std::string& title)
{
    const auto windows = runProgram({"xdotool", "search", "--onlyvisible", "--name", title}).output;
    return runProgram({"xprop", "-id", windows.substr(0, windows.find('\n')), "_NET_WM_ALLOWED_ACTIONS"}).output;
}

void expectWindow(const std::string& title, const QSize& size, bool canBeMinimised, bool canBeResized)
{
    ASSERT_TRUE(isShown(title)) << title;
    EXPECT_EQ(contentPlace(title).size(), size) << title;
    const auto actions = allowedActions(title);
    EXPECT_THAT(actions, HasSubstr("_NET_WM_ACTION_CLOSE")) << title;
    const auto isAllowed = [&](const char* action) { return actions.find(action) != std::string::npos; };
    for (const auto* action : {"_NET_WM_ACTION_RESIZE", "_NET_WM_ACTION_MAXIMIZE_HORZ", "_NET_WM_ACTION_MAXIMIZE_VERT"})
        EXPECT_EQ(isAllowed(action), canBeResized) << title << ": " << action;
    // This window manager minimises every window.
    EXPECT_TRUE(isAllowed("_NET_WM_ACTION_MINIMIZE") || !canBeMinimised) << title;
}

/// The small window, which another of ours may cover.
void bringUpTheMenu()
{
    EXPECT_EQ(runProgram({"xdotool", "search", "--onlyvisible", "--name", "^Velmora$", "windowactivate", "--sync"}).status, 0);
}

bool openSettings()
{
    bringUpTheMenu();
    return AssistiveTechnology::clickOn("menu item", "⚙️ Settings") && isShown(settings);
}

class WindowsTest : public testing::Test {
protected:
    AssistiveTechnology assistiveTechnology;
};

TEST_F(WindowsTest, EachHasItsSizeAndCanBeDoneWithWhatItsKindAllows)
{
    TrayProgram program{{.hasSeenTheWalkthrough = false, .environment = AssistiveTechnology::environment(), .prepareHome = {}}};
    expectWindow(walkthrough, {640, 530}, true, false);
    ASSERT_TRUE(openSettings());
    expectWindow(settings, {540, 500}, false, false);
    const auto clip = program.home() / "clip.mp4";
    makeClip(clip, "testsrc=size=64x64:rate=10", "sine", 1);
    ASSERT_EQ(program.run({"preview", clip.string()}).status, 0);
    expectWindow(preview, {680, 600}, true, true);
    bringUpTheMenu();
    ASSERT_TRUE(AssistiveTechnology::clickOn("menu item", "🎯 Choose Video Window"));
    expectWindow(picker, {560, 480}, false, true);
}

TEST_F(WindowsTest, AScreenReaderFindsANameForEverythingAndAValueForEverySlider)
{
    TrayProgram program{{.hasSeenTheWalkthrough = false, .environment = AssistiveTechnology::environment(), .prepareHome = {}}};
    const NumberedWindow window{{"--size", "320x240"}};
    ASSERT_TRUE(isShown(walkthrough));
    ASSERT_TRUE(openSettings());
    const auto clip = program.home() / "clip.mp4";
    makeClip(clip, "testsrc=size=64x64:rate=10", "sine", 1);
    ASSERT_EQ(program.run({"preview", clip.string()}).status, 0);
    ASSERT_TRUE(AssistiveTechnology::find("label", "End: 00:01"));
    bringUpTheMenu();
    ASSERT_TRUE(AssistiveTechnology::clickOn("menu item", "🎯 Choose Video Window"));
    ASSERT_TRUE(AssistiveTechnology::find("list item", ""));
    ASSERT_TRUE(AssistiveTechnology::find("label", "First-Time User Walkthrough"));
    std::size_t buttons = 0;
    std::size_t sliders = 0;
    for (const auto& control : AssistiveTechnology::controls()) {
        if (control.role == "separator")
            continue;
        EXPECT_FALSE(control.name.empty()) << control.role << " at " << control.place.x() << ", " << control.place.y() << ", "
                                           << control.place.width() << " x " << control.place.height();
        EXPECT_THAT(control.role, ::testing::Not(::testing::AnyOf("unknown", "invalid", "filler")));
        buttons += control.role == "push button" ? 1U : 0U;
        if (control.role == "slider") {
            ++sliders;
            EXPECT_FALSE(control.value.empty()) << control.name;
        }
    }
    EXPECT_GE(buttons, 15U);
    EXPECT_EQ(sliders, 4U);
}

TEST_F(WindowsTest, SettingsReopenWhereTheyWere)
{
    TrayProgram program{{.environment = AssistiveTechnology::environment(), .prepareHome = {}}};
    ASSERT_TRUE(openSettings());
    ASSERT_EQ(runProgram({"xdotool", "search", "--onlyvisible", "--name", settings, "windowmove", "--sync", "1200", "150"}).status, 0);
    const auto place = contentPlace(settings);
    EXPECT_GT(place.x(), 1190);
    for (int time = 0; time < 3; ++time) {
        closeByTitleBar(settings);
        ASSERT_TRUE(isHidden(settings));
        ASSERT_TRUE(openSettings());
        EXPECT_TRUE(waitUntil([&] { return contentPlace(settings) == place; }))
            << time << ": " << contentPlace(settings).x() << "," << contentPlace(settings).y() << " for " << place.x() << "," << place.y();
    }
}

/// What the window manager puts around the window.
QMargins frameOf(const std::string& title)
{
    const auto windows = runProgram({"xdotool", "search", "--onlyvisible", "--name", title}).output;
    const auto text = runProgram({"xprop", "-id", windows.substr(0, windows.find('\n')), "_NET_FRAME_EXTENTS"}).output;
    std::array<int, 4> sides{};  // left, right, top, bottom
    std::istringstream numbers{text.substr(std::min(text.find('=') + 1, text.size()))};
    char comma = ' ';
    for (auto& side : sides)
        numbers >> side >> comma;
    return {sides[0], sides[2], sides[1], sides[3]};
}

/// A notebook's screen, enlarged: 910 x 512 points, of which one is one and a half pixels.
class SmallScreenTest : public WindowsTest {
protected:
    static Environment environment()
    {
        auto all = AssistiveTechnology::environment();
        all["QT_SCALE_FACTOR"] = "1.5";
        return all;
    }

    /// With its frame it is as high as the screen, or, where that is less, as high as it is meant to be, in points.
    static void expectItFits(const std::string& title, const QSize& size)
    {
        ASSERT_TRUE(isShown(title)) << title;
        const auto frame = frameOf(title);
        const auto meant = (QSizeF{size} * scale).toSize();
        const int free = screen.height() - frame.top() - frame.bottom();
        EXPECT_TRUE(waitUntil([&] { return std::abs(contentPlace(title).height() - std::min(meant.height(), free)) <= 2; }))
            << title << ": " << contentPlace(title).height() << " of " << free;
        EXPECT_EQ(contentPlace(title).width(), meant.width()) << title;
        // A point may be one pixel or two.
        const auto seen = screen.adjusted(-2, -2, 2, 2);
        EXPECT_TRUE(waitUntil([&] { return seen.contains(contentPlace(title).marginsAdded(frame)); }))
            << title << " is at " << contentPlace(title).x() << "," << contentPlace(title).y() << ", with a title bar of " << frame.top();
    }

    /// Goes with the Tab key to the control with that name and returns whether all of it is in the window then.
    static bool reaches(const std::string& title, const std::string& name)
    {
        for (int presses = 0; presses < 40; ++presses) {
            pressKeys({"Tab"});
            for (const auto& control : AssistiveTechnology::controls()) {
                if (control.has("focused") && control.name == name)
                    return waitUntil([&] { return isInside(title, name); });
            }
        }
        ADD_FAILURE() << "the Tab key does not lead to " << name;
        return false;
    }

    static bool isInside(const std::string& title, const std::string& name)
    {
        // Assistive technology is told points.
        const auto window = contentPlace(title);
        const QRectF points{window.x() / scale, window.y() / scale, window.width() / scale, window.height() / scale};
        for (const auto& control : AssistiveTechnology::controls()) {
            if (control.has("focused") && control.name == name)
                return points.adjusted(-1, -1, 1, 1).contains(QRectF{control.place});
        }
        return false;
    }

    static constexpr QRect screen{0, 0, 1366, 768};
    static constexpr double scale = 1.5;
    SecondDisplay display{{"-screen", "0", "1366x768x24"}};
};

TEST_F(SmallScreenTest, WindowsThatAreTooHighHaveTheScreensHeightAndTheirContentsScroll)
{
    TrayProgram program{{.hasSeenTheWalkthrough = false, .environment = environment(), .prepareHome = {}}};
    expectItFits(walkthrough, {640, 530});
    ASSERT_TRUE(hasFocus("Welcome to Velmora"));
    EXPECT_TRUE(reaches(walkthrough, "Skip Walkthrough"));
    pressKeys({"Escape"});
    ASSERT_TRUE(isHidden(walkthrough));
    expectItFits("^Velmora$", {400, 500});
    bringUpTheMenu();
    pressKeys({"super+comma"});
    expectItFits(settings, {540, 500});
    ASSERT_TRUE(hasFocus("Velmora Settings"));
    EXPECT_TRUE(reaches(settings, "Open First-Time Walkthrough..."));
    closeByTitleBar(settings);
    const auto clip = program.home() / "clip.mp4";
    makeClip(clip, "testsrc=size=64x64:rate=10", "sine", 1);
    ASSERT_EQ(program.run({"preview", clip.string()}).status, 0);
    expectItFits(preview, {680, 600});
    ASSERT_TRUE(hasFocus("Preview & Trim"));
    EXPECT_TRUE(reaches(preview, "Save Trimmed Clip"));
    EXPECT_TRUE(reaches(preview, "Play"));
    ASSERT_EQ(program.run({"choose"}).status, 0);
    expectItFits(picker, {560, 480});
}

}  // namespace
}  // namespace velmora::test
