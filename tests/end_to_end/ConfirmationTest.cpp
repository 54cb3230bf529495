// What a person is told of a saved clip: the panel in the corner, and the desktop's notification.

#include "tests/support/desktop/Controls.h"
#include "tests/support/desktop/DesktopServices.h"
#include "tests/support/desktop/Screen.h"
#include "tests/support/desktop/TrayProgram.h"
#include "tests/support/recording/Subjects.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <gmock/gmock.h>
#include <sstream>

namespace velmora::test {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::SizeIs;

constexpr const char* hud = "^Velmora$";

/// A desktop whose file handler writes down what it is asked to open.
class SavedClip : public testing::Test {
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
    NumberedWindow window{{"--size", "320x240", "--position", "100,200"}};
    TemporaryDirectory tools;
    std::optional<TrayProgram> program;
};

/// With a notification service that shows its notifications elsewhere.
class ConfirmationTest : public SavedClip {
protected:
    Notifier notifier;
};

/// With one that shows them where the panel is.
class CoveredPanelTest : public SavedClip {
protected:
    static std::vector<QRect> notifications(const std::string& className)
    {
        std::vector<QRect> places;
        std::istringstream identifiers{runProgram({"xdotool", "search", "--onlyvisible", "--class", className}).output};
        for (std::string identifier; std::getline(identifiers, identifier);) {
            const auto told = runProgram({"xdotool", "getwindowgeometry", "--shell", identifier}).output;
            int x = 0;
            int y = 0;
            int width = 0;
            int height = 0;
            if (std::sscanf(told.c_str(), "WINDOW=%*s X=%d Y=%d WIDTH=%d HEIGHT=%d", &x, &y, &width, &height) == 4)
                places.emplace_back(x, y, width, height);
        }
        return places;
    }

    void expectBothCanBeUsed(const std::string& className)
    {
        save();
        ASSERT_TRUE(isShown(hud));
        const auto place = visibleWindows(hud).at(0);
        const auto coversThePanel = [&] {
            const auto places = notifications(className);
            return std::any_of(places.begin(), places.end(), [&](const QRect& notification) { return notification.intersects(place); });
        };
        ASSERT_TRUE(waitUntil(coversThePanel));
        // Its prominent button, which is read and clicked where it is.
        EXPECT_TRUE(waitUntil([&] { return countPixels(screenPicture(place), QColor{255, 59, 48}) > 1500; }));
        ASSERT_TRUE(AssistiveTechnology::clickOn("push button", "Reveal"));
        EXPECT_TRUE(waitUntil([&] { return openedFiles() == program->clipsFolder().string() + "\n"; })) << openedFiles();
        ASSERT_TRUE(isHidden(hud));
        EXPECT_TRUE(coversThePanel()) << "the notification is still there, and nothing covers it";
    }
};

TEST_F(CoveredPanelTest, ANotificationOfXfceLeavesThePanelInReachAndOutlivesIt)
{
    const XfceNotifier notifier;
    expectBothCanBeUsed("xfce4-notifyd");
}

TEST_F(CoveredPanelTest, ANotificationOfDunstLeavesThePanelInReachAndOutlivesIt)
{
    const Notifier notifier{"top-right"};
    expectBothCanBeUsed("dunst");
}

/// With a compositing manager, so that the panel has a shadow.
class CompositedPanelTest : public SavedClip {
protected:
    Program compositor{{"xcompmgr", "-n"}};
    NumberedWindow below{{"--size", "500x400", "--position", "1350,60"}};
};

TEST_F(CompositedPanelTest, TheShadowLetsClicksThroughToWhatLiesBelowAndThePanelTakesItsOwn)
{
    click({200, 300});
    ASSERT_TRUE(hasFocus(window.title()));
    save();
    ASSERT_TRUE(isShown(hud));
    const auto place = visibleWindows(hud).at(0);
    const int margin = (place.width() - 340) / 2;
    ASSERT_GT(margin, 4) << "no shadow";
    EXPECT_EQ(place.left() + margin, 1920 - 360);
    click({place.left() + margin / 2, place.center().y()});
    EXPECT_TRUE(hasFocus(below.title()));
    ASSERT_TRUE(AssistiveTechnology::clickOn("push button", "Reveal"));
    EXPECT_TRUE(waitUntil([&] { return openedFiles() == program->clipsFolder().string() + "\n"; })) << openedFiles();
}

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

TEST_F(ConfirmationTest, ThePanelTakesNoFocusHoweverItIsUsed)
{
    ASSERT_EQ(runProgram({"xdotool", "windowactivate", "--sync", std::to_string(window.id())}).status, 0);
    ASSERT_TRUE(hasFocus(window.title()));
    const auto focused = [] { return runProgram({"xdotool", "getwindowfocus"}).output; };
    const auto before = focused();
    save();
    ASSERT_TRUE(isShown(hud));
    EXPECT_EQ(focused(), before);
    const auto place = visibleWindows(hud).at(0);
    click(place.topLeft() + QPoint{30, 55});
    EXPECT_EQ(focused(), before) << "its background";
    ASSERT_TRUE(AssistiveTechnology::clickOn("push button", "Reveal"));
    EXPECT_TRUE(waitUntil([&] { return !openedFiles().empty(); }));
    EXPECT_EQ(focused(), before) << "a button";
    pressKeys({"Tab", "Return"});
    EXPECT_TRUE(isHidden(hud));
    EXPECT_EQ(focused(), before) << "it has gone";
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
