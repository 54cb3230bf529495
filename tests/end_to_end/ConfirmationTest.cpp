// What a person is told of a saved clip: the panel in the corner, and the desktop's notification.

#include "tests/support/desktop/Controls.h"
#include "tests/support/desktop/DesktopServices.h"
#include "tests/support/desktop/Screen.h"
#include "tests/support/desktop/TrayProgram.h"
#include "tests/support/recording/Subjects.h"

#include <algorithm>
#include <fstream>
#include <gmock/gmock.h>

namespace velmora::test {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::SizeIs;

constexpr const char* hud = "^Velmora$";

/// A desktop whose handler of files writes down what it is asked to open.
class ConfirmationTest : public testing::Test {
protected:
    void SetUp() override
    {
        const auto handler = tools.path() / "xdg-open";
        std::ofstream{handler} << "#!/bin/sh\nprintf '%s\\n' \"$1\" >>" << opened() << "\n";
        std::filesystem::permissions(handler, std::filesystem::perms::owner_all);
        auto environment = AssistiveTechnology::environment();
        environment.insert({"PATH", tools.path().string() + ":" + std::getenv("PATH")});
        program.emplace(TrayProgram::Options{.environment = std::move(environment), .prepareHome = {}});
        ASSERT_EQ(program->run({"select", std::to_string(window.id())}).status, 0);
    }

    void save()
    {
        ASSERT_TRUE(program->startByShortcut());
        record(1200ms);
        ASSERT_TRUE(program->saveByShortcut());
    }

    [[nodiscard]] std::string opened() const { return (tools.path() / "opened").string(); }
    [[nodiscard]] std::string openedFiles() const
    {
        std::ifstream file{opened()};
        return {std::istreambuf_iterator<char>{file}, {}};
    }

    AssistiveTechnology assistiveTechnology;
    Panel panel;
    Notifier notifier;
    NumberedWindow window{{"--size", "320x240", "--position", "100,200"}};
    TemporaryDirectory tools;
    std::optional<TrayProgram> program;
};

TEST_F(ConfirmationTest, ThePanelStandsInTheCornerBelowTheTrayAndGoesByItself)
{
    EXPECT_THAT(visibleWindows(hud), SizeIs(0));
    save();
    ASSERT_TRUE(isShown(hud));
    const auto windows = visibleWindows(hud);
    ASSERT_THAT(windows, SizeIs(1));
    EXPECT_EQ(windows.front().size(), (QSize{340, 110}));
    EXPECT_EQ(windows.front().left(), 1920 - 360);
    // The panel's lower edge, with a line of its own, and ten points.
    EXPECT_NEAR(windows.front().top(), Panel::height + 10, 1);
    EXPECT_TRUE(isHidden(hud));
}

TEST_F(ConfirmationTest, ASecondSaveTakesThePanelOver)
{
    save();
    ASSERT_TRUE(isShown(hud));
    const auto first = std::filesystem::path{program->lastSavedClip()}.filename().string();
    save();
    const auto second = std::filesystem::path{program->lastSavedClip()}.filename().string();
    ASSERT_NE(first, second);
    EXPECT_THAT(visibleWindows(hud), SizeIs(1));
    ASSERT_TRUE(AssistiveTechnology::clickOn("push button", "Preview & Trim"));
    EXPECT_TRUE(isShown("Preview & Trim — " + second));
    EXPECT_THAT(visibleWindows("Preview & Trim — " + first), SizeIs(0));
}

TEST_F(ConfirmationTest, ThePanelsButtonsOpenThePreviewAndTheFolder)
{
    save();
    const auto clip = std::filesystem::path{program->lastSavedClip()}.filename().string();
    ASSERT_TRUE(AssistiveTechnology::clickOn("push button", "Preview & Trim"));
    EXPECT_TRUE(isShown("Preview & Trim — " + clip));
    ASSERT_TRUE(AssistiveTechnology::clickOn("push button", "Reveal"));
    EXPECT_TRUE(waitUntil([&] { return openedFiles() == program->clipsFolder().string() + "\n"; })) << openedFiles();
}

TEST_F(ConfirmationTest, AClickOnTheNotificationOpensThePreview)
{
    save();
    const auto clip = std::filesystem::path{program->lastSavedClip()}.filename().string();
    ASSERT_TRUE(waitUntil([&] { return notifier.displayedCount() == 1; }));
    ASSERT_TRUE(notifier.clickNotification());
    EXPECT_TRUE(isShown("Preview & Trim — " + clip));
}

TEST_F(ConfirmationTest, TheNotificationsActionsPreviewAndReveal)
{
    save();
    const auto clip = std::filesystem::path{program->lastSavedClip()}.filename().string();
    ASSERT_TRUE(waitUntil([&] { return notifier.displayedCount() == 1; }));
    ASSERT_TRUE(notifier.choose("Reveal in Finder"));
    EXPECT_TRUE(waitUntil([&] { return openedFiles() == program->clipsFolder().string() + "\n"; })) << openedFiles();
    save();
    const auto second = std::filesystem::path{program->lastSavedClip()}.filename().string();
    ASSERT_TRUE(waitUntil([&] { return notifier.displayedCount() >= 1; }));
    ASSERT_TRUE(notifier.choose("Preview & Trim"));
    EXPECT_TRUE(isShown("Preview & Trim — "));
    const auto told = notifier.closeAndTell();
    EXPECT_THAT(told, HasSubstr("Clip Saved ("));
    EXPECT_THAT(told, HasSubstr(clip + " has been saved to your library."));
    EXPECT_THAT(told, HasSubstr(second + " has been saved to your library."));
}

}  // namespace
}  // namespace velmora::test
