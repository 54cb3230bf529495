// The walkthrough and the settings, as a person uses them: by the keyboard, and by what a screen reader finds.

#include "tests/support/desktop/Controls.h"
#include "tests/support/desktop/Screen.h"
#include "tests/support/desktop/TrayProgram.h"
#include "tests/support/recording/Subjects.h"

#include <gmock/gmock.h>

namespace velmora::test {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* walkthrough = "Welcome to Velmora — Quick Walkthrough";
constexpr const char* settings = "Velmora Settings";

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

/// What has been written among the user's settings.
std::vector<std::string> settingsFiles(const TrayProgram& program)
{
    const auto folder = program.home() / "config";
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator{folder}) {
        if (entry.is_regular_file())
            files.push_back(entry.path().lexically_relative(folder).string());
    }
    return files;
}

bool hasFocus(const std::string& title)
{
    return waitUntil([&] { return runProgram({"xdotool", "getactivewindow", "getwindowname"}).output.starts_with(title); });
}

TEST(GuideTest, ReturnAloneLeadsThroughTheWalkthroughToThePickerAndOnlyTheFlagIsKept)
{
    const NumberedWindow window{{"--size", "320x240"}};
    const AssistiveTechnology assistive;
    const TrayProgram program{firstStart()};
    ASSERT_TRUE(isShown(walkthrough));
    ASSERT_TRUE(hasFocus(walkthrough));
    EXPECT_THAT(settingsFiles(program), IsEmpty());
    for (int step = 1; step <= 5; ++step) {
        ASSERT_TRUE(AssistiveTechnology::find("label", "First-Time User Walkthrough • Step " + std::to_string(step) + " of 5")) << step;
        pressKeys({"Return"});
    }
    EXPECT_TRUE(isHidden(walkthrough));
    EXPECT_TRUE(isShown("Select Video Window"));
    EXPECT_THAT(settingsFiles(program), ElementsAre("velmora/velmora.conf"));
}

TEST(GuideTest, EscapeClosesTheWalkthroughAndKeepsNothing)
{
    const TrayProgram program{firstStart()};
    ASSERT_TRUE(isShown(walkthrough));
    ASSERT_TRUE(hasFocus(walkthrough));
    pressKeys({"Escape"});
    EXPECT_TRUE(isHidden(walkthrough));
    EXPECT_THAT(settingsFiles(program), IsEmpty());
}

TEST(GuideTest, UntilTheWalkthroughIsCompletedASecondStartBringsItUpAgain)
{
    TrayProgram program{firstStart()};
    ASSERT_TRUE(isShown(walkthrough));
    ASSERT_TRUE(hasFocus(walkthrough));
    pressKeys({"Escape"});
    ASSERT_TRUE(isHidden(walkthrough));
    ASSERT_EQ(program.run({}).status, 0);
    EXPECT_TRUE(isShown(walkthrough));
    EXPECT_TRUE(isHidden("Select Video Window"));
    ASSERT_EQ(program.run({"choose"}).status, 0);
    EXPECT_TRUE(isShown("Select Video Window")) << "who asks for the list of windows gets it";
}

TEST(GuideTest, ANewFolderThatIsChosenInTheSettingsTakesTheNextClip)
{
    const NumberedWindow window{{"--size", "320x240"}};
    const AssistiveTechnology assistive;
    TrayProgram program{laterStart()};
    ASSERT_TRUE(AssistiveTechnology::clickOn("list item", "⚙️ Settings"));
    ASSERT_TRUE(isShown(settings));
    ASSERT_TRUE(AssistiveTechnology::clickOn("push button", "Change..."));
    ASSERT_TRUE(isShown("^Choose Folder$")) << "no portal here, so our own dialog";
    ASSERT_TRUE(hasFocus("Choose Folder"));
    ASSERT_TRUE(AssistiveTechnology::clickOn("push button", "New Folder"));
    ASSERT_TRUE(AssistiveTechnology::find("text", "Name of the new folder"));
    typeText("Concerts");
    pressKeys({"Return"});
    ASSERT_TRUE(AssistiveTechnology::find("list item", "Concerts"));
    ASSERT_TRUE(AssistiveTechnology::clickOn("push button", "Choose Folder"));
    EXPECT_TRUE(isHidden("^Choose Folder$"));
    const auto chosen = program.clipsFolder() / "Concerts";
    EXPECT_TRUE(AssistiveTechnology::find("label", chosen.string()));
    EXPECT_THAT(settingsFiles(program), ElementsAre("velmora/velmora.conf")) << "the choice is for this run only";

    ASSERT_EQ(program.run({"select", std::to_string(window.id())}).status, 0);
    ASSERT_TRUE(program.startByShortcut());
    record(1500ms);
    ASSERT_TRUE(program.saveByShortcut());
    EXPECT_EQ(std::filesystem::path{program.lastSavedClip()}.parent_path(), chosen);
}

TEST(GuideTest, TheSettingsLeadToTheWalkthroughAndEscapeClosesThem)
{
    const AssistiveTechnology assistive;
    const TrayProgram program{laterStart()};
    ASSERT_TRUE(AssistiveTechnology::clickOn("list item", "⚙️ Settings"));
    ASSERT_TRUE(isShown(settings));
    ASSERT_TRUE(hasFocus(settings));
    pressKeys({"End"});
    EXPECT_TRUE(AssistiveTechnology::find("alert", "Shortcut active and listening system-wide"));
    pressKeys({"Home"});
    ASSERT_TRUE(AssistiveTechnology::clickOn("push button", "Open First-Time Walkthrough..."));
    ASSERT_TRUE(isShown(walkthrough));
    ASSERT_TRUE(hasFocus(walkthrough));
    pressKeys({"Escape"});
    EXPECT_TRUE(isHidden(walkthrough));
    ASSERT_TRUE(hasFocus(settings));
    pressKeys({"Escape"});
    EXPECT_TRUE(isHidden(settings));
}

}  // namespace
}  // namespace velmora::test
