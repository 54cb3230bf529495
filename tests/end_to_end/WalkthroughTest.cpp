// The walkthrough, as a person meets it: by the keyboard, by the mouse, and by what a screen reader finds.

#include "tests/support/desktop/Controls.h"
#include "tests/support/desktop/Screen.h"
#include "tests/support/desktop/SecondDisplay.h"
#include "tests/support/desktop/TrayProgram.h"
#include "tests/support/recording/Subjects.h"

#include <gmock/gmock.h>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

namespace velmora::test {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr const char* walkthrough = "Welcome to Velmora — Quick Walkthrough";
constexpr const char* picker = "Select Video Window";
constexpr const char* keptFile = "config/velmora/velmora.conf";

TrayProgram::Options firstStart()
{
    TrayProgram::Options options;
    options.hasSeenTheWalkthrough = false;
    options.environment = AssistiveTechnology::environment();
    return options;
}

TrayProgram::Options laterStart()
{
    TrayProgram::Options options;
    options.environment = AssistiveTechnology::environment();
    return options;
}

bool isAtStep(int step)
{
    return AssistiveTechnology::find("label", "First-Time User Walkthrough • Step " + std::to_string(step) + " of 5").has_value();
}

bool hasButton(const std::string& name)
{
    return AssistiveTechnology::find("push button", name).has_value();
}

bool hasNoButton(const std::string& name)
{
    return AssistiveTechnology::isAbsent("push button", name);
}

bool clickButton(const std::string& name)
{
    return AssistiveTechnology::clickOn("push button", name);
}

/// Whether the start is over and has left the walkthrough where it was: the small window comes after it.
bool startsWithoutTheWalkthrough()
{
    return isShown("^Velmora$") && visibleWindows(walkthrough).empty();
}

class WalkthroughTest : public testing::Test {
protected:
    AssistiveTechnology assistiveTechnology;
};

TEST_F(WalkthroughTest, ReturnAloneLeadsThroughItToThePickerAndOnlyTheFlagIsKept)
{
    const NumberedWindow window{{"--size", "320x240"}};
    const TrayProgram program{firstStart()};
    ASSERT_TRUE(hasFocus(walkthrough));
    EXPECT_THAT(program.storedFiles(), IsEmpty());
    for (int step = 1; step <= 5; ++step) {
        ASSERT_TRUE(isAtStep(step));
        pressKeys({"Return"});
    }
    EXPECT_TRUE(isHidden(walkthrough));
    EXPECT_TRUE(isShown(picker));
    EXPECT_THAT(program.storedFiles(), ElementsAre(keptFile));
}

TEST_F(WalkthroughTest, TheMouseLeadsThroughItBackAgainAndToItsEnd)
{
    const TrayProgram program{firstStart()};
    ASSERT_TRUE(hasFocus(walkthrough));
    for (int step = 1; step <= 4; ++step) {
        ASSERT_TRUE(isAtStep(step));
        EXPECT_TRUE(hasButton("Skip Walkthrough"));
        EXPECT_TRUE(step == 1 ? hasNoButton("← Back") : hasButton("← Back")) << step;
        EXPECT_TRUE(hasNoButton("Done & Start Clipping"));
        ASSERT_TRUE(clickButton("Next →"));
    }
    ASSERT_TRUE(isAtStep(5));
    EXPECT_TRUE(hasNoButton("Skip Walkthrough"));
    EXPECT_TRUE(hasNoButton("Next →"));
    for (int step = 4; step >= 1; --step) {
        ASSERT_TRUE(clickButton("← Back"));
        ASSERT_TRUE(isAtStep(step));
    }
    EXPECT_TRUE(hasNoButton("← Back"));
    for (int step = 2; step <= 5; ++step) {
        ASSERT_TRUE(clickButton("Next →"));
        ASSERT_TRUE(isAtStep(step));
    }
    EXPECT_THAT(program.storedFiles(), IsEmpty());
    ASSERT_TRUE(clickButton("Done & Start Clipping"));
    EXPECT_TRUE(isHidden(walkthrough));
    EXPECT_TRUE(isShown(picker));
}

TEST_F(WalkthroughTest, KeepsTheKeyboardWhenTheSmallWindowOfADesktopWithoutATrayAppearsBehindIt)
{
    const TrayProgram program{firstStart()};
    ASSERT_TRUE(isShown("^Velmora$"));
    ASSERT_TRUE(hasFocus(walkthrough));
    pressKeys({"Return"});
    EXPECT_TRUE(isAtStep(2));
}

TEST_F(WalkthroughTest, TheKeyboardReachesBackAndSkip)
{
    const TrayProgram program{firstStart()};
    ASSERT_TRUE(hasFocus(walkthrough));
    pressKeys({"Return"});
    ASSERT_TRUE(isAtStep(2));
    pressKeys({"shift+Tab", "shift+Tab"});
    ASSERT_TRUE(waitUntil([] { return AssistiveTechnology::find("push button", "← Back")->has("focused"); }));
    pressKeys({"space"});
    ASSERT_TRUE(isAtStep(1));
    EXPECT_TRUE(waitUntil([] { return AssistiveTechnology::find("push button", "Next →")->has("focused"); }))
        << "a button that disappears leaves the focus to the one that leads on";
    pressKeys({"shift+Tab", "Return"});
    EXPECT_TRUE(isHidden(walkthrough));
    EXPECT_TRUE(isShown(picker));
    EXPECT_THAT(program.storedFiles(), ElementsAre(keptFile));
}

TEST_F(WalkthroughTest, TheFifthStepShowsTheWindowThatIsChosenAndThenItsEndOpensNothing)
{
    const NumberedWindow window{{"--size", "320x240", "--class", "Alpha"}};
    TrayProgram program{firstStart()};
    ASSERT_TRUE(hasFocus(walkthrough));
    pressKeys({"Return", "Return", "Return", "Return"});
    ASSERT_TRUE(isAtStep(5));
    EXPECT_TRUE(AssistiveTechnology::find("label", "No video window selected yet."));
    ASSERT_TRUE(clickButton("Choose Video Window to Clip..."));
    ASSERT_TRUE(isShown(picker));
    EXPECT_FALSE(visibleWindows(walkthrough).empty());
    ASSERT_TRUE(AssistiveTechnology::clickOn("list item", "Alpha"));
    ASSERT_TRUE(clickButton("Start Clipping This Window"));
    ASSERT_TRUE(isHidden(picker));
    ASSERT_TRUE(program.hasState("capturing"));
    EXPECT_TRUE(AssistiveTechnology::find("alert", "Active Video Window: Alpha"));
    EXPECT_TRUE(hasButton("Change Window..."));
    EXPECT_TRUE(hasNoButton("Choose Video Window to Clip..."));
    ASSERT_TRUE(clickButton("Done & Start Clipping"));
    EXPECT_TRUE(isHidden(walkthrough));
    // What it would have opened was asked for before this answer.
    EXPECT_TRUE(program.hasState("capturing"));
    EXPECT_THAT(visibleWindows(picker), IsEmpty());
}

TEST_F(WalkthroughTest, SkippedOnItsFirstStepItDoesNotComeBackAtTheNextStart)
{
    TrayProgram program{firstStart()};
    ASSERT_TRUE(hasFocus(walkthrough));
    ASSERT_TRUE(isAtStep(1));
    ASSERT_TRUE(clickButton("Skip Walkthrough"));
    ASSERT_TRUE(isHidden(walkthrough));
    EXPECT_TRUE(isShown(picker));
    program.restart();
    EXPECT_TRUE(startsWithoutTheWalkthrough());
    program.restart();
    EXPECT_TRUE(startsWithoutTheWalkthrough());
}

TEST_F(WalkthroughTest, EscapeClosesItKeepsNothingAndItComesBackAtTheNextStart)
{
    TrayProgram program{firstStart()};
    ASSERT_TRUE(hasFocus(walkthrough));
    pressKeys({"Escape"});
    EXPECT_TRUE(isHidden(walkthrough));
    EXPECT_THAT(program.storedFiles(), IsEmpty());
    program.restart();
    EXPECT_TRUE(isShown(walkthrough));
}

TEST_F(WalkthroughTest, ClosedByItsTitleBarItKeepsNothingAndOpensNothing)
{
    TrayProgram program{firstStart()};
    ASSERT_TRUE(hasFocus(walkthrough));
    ASSERT_TRUE(isAtStep(1));
    closeByTitleBar(walkthrough);
    EXPECT_TRUE(isHidden(walkthrough));
    EXPECT_TRUE(program.hasState("waitingForWindowSelection")) << "the program goes on";
    EXPECT_THAT(visibleWindows(picker), IsEmpty());
    EXPECT_THAT(program.storedFiles(), IsEmpty());
    program.restart();
    EXPECT_TRUE(isShown(walkthrough));
}

TEST_F(WalkthroughTest, ReopenedFromTheMenuItShowsTheStepItWasLeftOn)
{
    const TrayProgram program{laterStart()};
    ASSERT_TRUE(startsWithoutTheWalkthrough());
    ASSERT_TRUE(AssistiveTechnology::clickOn("menu item", "📖 How to Use & Walkthrough..."));
    ASSERT_TRUE(hasFocus(walkthrough));
    pressKeys({"Return", "Return"});
    ASSERT_TRUE(isAtStep(3));
    pressKeys({"Escape"});
    ASSERT_TRUE(isHidden(walkthrough));
    ASSERT_TRUE(AssistiveTechnology::clickOn("menu item", "📖 How to Use & Walkthrough..."));
    ASSERT_TRUE(isShown(walkthrough));
    EXPECT_TRUE(isAtStep(3));
}

TEST_F(WalkthroughTest, UntilItIsCompletedASecondStartBringsItUpAgain)
{
    TrayProgram program{firstStart()};
    ASSERT_TRUE(hasFocus(walkthrough));
    pressKeys({"Escape"});
    ASSERT_TRUE(isHidden(walkthrough));
    ASSERT_EQ(program.run({}).status, 0);
    EXPECT_TRUE(isShown(walkthrough));
    EXPECT_TRUE(isHidden(picker));
    ASSERT_EQ(program.run({"choose"}).status, 0);
    EXPECT_TRUE(isShown(picker)) << "whoever asks for the list of windows gets it";
}

TEST_F(WalkthroughTest, AWholeFirstUseStoresTheFlagAndTheClipAndNothingElse)
{
    const NumberedWindow window{{"--size", "320x240", "--class", "Alpha"}};
    TrayProgram program{firstStart()};
    ASSERT_TRUE(hasFocus(walkthrough));
    ASSERT_TRUE(clickButton("Skip Walkthrough"));
    ASSERT_TRUE(isShown(picker));
    ASSERT_TRUE(AssistiveTechnology::clickOn("list item", "Alpha"));
    ASSERT_TRUE(clickButton("Start Clipping This Window"));
    ASSERT_TRUE(program.hasState("capturing"));
    ASSERT_TRUE(program.startByShortcut());
    record(1500ms);
    ASSERT_TRUE(program.saveByShortcut());
    ASSERT_EQ(program.run({"preview", program.lastSavedClip()}).status, 0);
    ASSERT_TRUE(isShown("^Preview & Trim"));
    // It is over the menu.
    closeByTitleBar("^Preview & Trim");
    ASSERT_TRUE(isHidden("^Preview & Trim"));
    ASSERT_TRUE(AssistiveTechnology::clickOn("menu item", "⚙️ Settings"));
    ASSERT_TRUE(isShown("^Velmora Settings$"));
    EXPECT_THAT(program.clips(), SizeIs(1));
    program.restart();
    ASSERT_TRUE(startsWithoutTheWalkthrough());
    EXPECT_THAT(program.clips(), SizeIs(1));
    // The cookie is the sound library's: every program that plays sound makes and shares it.
    EXPECT_THAT(program.storedFiles(), ElementsAre(keptFile));
}

TEST(WalkthroughWithoutPermissionTest, ItSaysWhatIsMissingOpensNothingAtItsEndAndComesBackAtEachStart)
{
    const SecondDisplay display{{"-extension", "Composite"}};
    const AssistiveTechnology assistiveTechnology;
    TrayProgram program{firstStart()};
    ASSERT_TRUE(hasFocus(walkthrough));
    pressKeys({"Return", "Return", "Return"});
    ASSERT_TRUE(isAtStep(4));
    EXPECT_TRUE(AssistiveTechnology::find("label", "Permission Required by macOS"));
    EXPECT_TRUE(AssistiveTechnology::find("label", "The X server does not offer the Composite extension."));
    EXPECT_TRUE(AssistiveTechnology::isAbsent("alert", "Permission is Granted! ✅"));
    ASSERT_TRUE(clickButton("Open System Settings"));
    ASSERT_TRUE(clickButton("I've Granted It — Check Status"));
    EXPECT_TRUE(AssistiveTechnology::find("label", "Permission Required by macOS"));
    ASSERT_TRUE(clickButton("Next →"));
    ASSERT_TRUE(isAtStep(5));
    ASSERT_TRUE(clickButton("Done & Start Clipping"));
    EXPECT_TRUE(isHidden(walkthrough));
    ASSERT_EQ(program.run({"status"}).status, 0);
    EXPECT_THAT(visibleWindows(picker), IsEmpty());
    EXPECT_THAT(program.storedFiles(), ElementsAre(keptFile));
    program.restart();
    EXPECT_TRUE(isShown(walkthrough)) << "completed, but of no use yet";
}

/// The titles of the program's windows on a display without a window manager, topmost first.
std::vector<std::string> stackedTitles()
{
    std::vector<std::string> titles;
    std::istringstream lines{runProgram({"xwininfo", "-root", "-children"}).output};
    const std::regex window{R"re("(.*)": \("velmora" "Velmora"\))re"};
    for (std::string line; std::getline(lines, line);) {
        if (std::smatch match; std::regex_search(line, match, window))
            titles.push_back(match[1]);
    }
    return titles;
}

TEST(WalkthroughWithoutWindowManagerTest, ItStaysBeforeTheSmallWindowThatComesAfterIt)
{
    // A window manager that has yet to hear who has the keyboard puts the small window on top as well.
    const SecondDisplay display{{}, SecondDisplay::WindowManager::none};
    const TrayProgram program{firstStart()};
    EXPECT_TRUE(waitUntil([] { return stackedTitles() == std::vector<std::string>{walkthrough, "Velmora"}; }));
}

TEST_F(WalkthroughTest, WithThePermissionTheFourthStepSaysThatItIsGranted)
{
    const TrayProgram program{firstStart()};
    ASSERT_TRUE(hasFocus(walkthrough));
    pressKeys({"Return", "Return", "Return"});
    ASSERT_TRUE(isAtStep(4));
    EXPECT_TRUE(AssistiveTechnology::find("alert", "Permission is Granted! ✅"));
    EXPECT_TRUE(hasNoButton("Open System Settings"));
    EXPECT_TRUE(hasNoButton("I've Granted It — Check Status"));
}

}  // namespace
}  // namespace velmora::test
