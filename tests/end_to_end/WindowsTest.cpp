// The program's windows as the window manager has them: sizes, what can be done with them, where they open again.

#include "tests/support/desktop/Controls.h"
#include "tests/support/desktop/Screen.h"
#include "tests/support/desktop/TrayProgram.h"
#include "tests/support/recording/RecordedClip.h"
#include "tests/support/recording/Subjects.h"

#include <gmock/gmock.h>

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

}  // namespace
}  // namespace velmora::test
