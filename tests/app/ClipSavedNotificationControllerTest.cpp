#include "app/ClipSavedNotificationController.h"

#include "platform/fake/FakeClock.h"
#include "platform/fake/FakeDesktop.h"
#include "platform/fake/FakeUserNotificationCenter.h"
#include "platform/fake/ManualExecutor.h"
#include "tests/brand/OddTexts.h"

#include <gmock/gmock.h>

namespace velmora {
namespace {

using namespace std::chrono_literals;
using platform::NotificationResponse;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// What happened to the panel, in order.
struct PanelLog {
    std::vector<std::string> events;
    HudPanel::Content content;
    int panels = 0;
};

class LoggedPanel final : public HudPanel {
public:
    explicit LoggedPanel(PanelLog& log) : log_(log) { ++log_.panels; }

    void setContent(Content content) override
    {
        log_.content = std::move(content);
        log_.events.push_back("content " + log_.content.title);
    }
    void place() override { log_.events.emplace_back("place"); }
    void orderFrontAndFadeIn() override { log_.events.emplace_back("show"); }
    void fadeOutAndOrderOut(std::chrono::milliseconds duration) override
    {
        log_.events.push_back("fade out " + std::to_string(duration.count()));
    }

private:
    PanelLog& log_;
};

class LoggedWindows final : public WindowPresenting {
public:
    void presentOnboarding() override { }
    void presentWindowPicker() override { }
    void presentClipPreview(const std::filesystem::path& clip) override { previews.push_back(clip); }
    void presentPlayingClip(const std::filesystem::path&) override { ADD_FAILURE() << "nobody asked for that here"; }
    void presentSettings() override { }
    void presentClips() override { }

    std::vector<std::filesystem::path> previews;
};

class ClipSavedNotificationControllerTest : public testing::Test {
protected:
    std::shared_ptr<fake::FakeUserNotificationCenter> centre = std::make_shared<fake::FakeUserNotificationCenter>();
    std::shared_ptr<fake::FakeWorkspace> workspace = std::make_shared<fake::FakeWorkspace>();
    std::shared_ptr<fake::FakeClock> clock = std::make_shared<fake::FakeClock>();
    std::shared_ptr<fake::ManualExecutor> executor = std::make_shared<fake::ManualExecutor>();
    std::shared_ptr<LoggedWindows> windows = std::make_shared<LoggedWindows>();
    PanelLog panel;
    std::shared_ptr<ClipSavedNotificationController> controller = ClipSavedNotificationController::create({
        .notificationCenter = centre,
        .workspace = workspace,
        .clock = clock,
        .mainExecutor = executor,
        .windows = [this] { return windows; },
        .makePanel = [this] { return std::make_unique<LoggedPanel>(panel); },
        .describeClip = [](const std::filesystem::path& clip) { return "about " + clip.filename().string(); },
        .isBusyWith = [this](const std::filesystem::path& clip) { return clip == busyWith; },
    });
    std::filesystem::path busyWith;

    void save(double duration = 0, bool isFullDuration = true, const char* file = "/clips/a.mp4")
    {
        controller->showClipSaved(file, duration, isFullDuration);
        executor->runAll();
    }

    [[nodiscard]] static platform::NotificationContent contentFor(const std::string& path)
    {
        platform::NotificationContent content;
        content.userInfo = {{"clipURL", path}};
        return content;
    }
};

TEST_F(ClipSavedNotificationControllerTest, RegistersOneCategoryWithBothActionsInOrder)
{
    EXPECT_THAT(centre->categories,
        ElementsAre(platform::NotificationCategory{
            "CLIP_SAVED_CATEGORY", {{"PREVIEW_ACTION", "Preview & Trim", true}, {"REVEAL_ACTION", "Reveal in Finder", false}}}));
}

TEST_F(ClipSavedNotificationControllerTest, PostsANotificationAboutTheClip)
{
    save();
    ASSERT_EQ(centre->requests.size(), 1U);
    platform::NotificationContent expected{
        "Clip Saved (Full)", "a.mp4 has been saved to your library.", true, "CLIP_SAVED_CATEGORY", {{"clipURL", "/clips/a.mp4"}}};
    expected.leastTimeOnScreen = ClipSavedNotificationController::notificationTime;
    EXPECT_EQ(centre->requests[0].content, expected);
    EXPECT_EQ(centre->requests[0].identifier.size(), 36U);
}

TEST_F(ClipSavedNotificationControllerTest, AClipThatWasRestoredIsAnnouncedWithTheSameActionsAndNoPanel)
{
    controller->showClipRestored("/clips/a.mp4");
    executor->runAll();
    ASSERT_EQ(centre->requests.size(), 1U);
    EXPECT_EQ(centre->requests[0].content.title, "Clip Restored");
    EXPECT_EQ(centre->requests[0].content.body, "a.mp4 is in your library again.");
    EXPECT_EQ(centre->requests[0].content.categoryIdentifier, "CLIP_SAVED_CATEGORY");
    EXPECT_THAT(panel.events, IsEmpty());
}

// The panel may be over it, and is raised whenever it is covered.
TEST_F(ClipSavedNotificationControllerTest, TheNotificationCanStillBeReadAndUsedWhenThePanelHasGone)
{
    save();
    clock->advance(7s);
    ASSERT_THAT(panel.events, ElementsAre("content Clip Saved (Full)", "place", "show", "fade out 250"));
    ASSERT_EQ(centre->requests.size(), 1U);
    EXPECT_GE(centre->requests[0].content.leastTimeOnScreen, 7s + 250ms + 5s);
}

TEST_F(ClipSavedNotificationControllerTest, EachRequestHasAnIdentifierOfItsOwn)
{
    save();
    save();
    ASSERT_EQ(centre->requests.size(), 2U);
    EXPECT_NE(centre->requests[0].identifier, centre->requests[1].identifier);
}

TEST_F(ClipSavedNotificationControllerTest, AnUnknownDurationIsFull)
{
    for (const double duration : {0.0, -1.0}) {
        save(duration, true);
        EXPECT_EQ(panel.content.title, "Clip Saved (Full)");
        save(duration, false);
        EXPECT_EQ(panel.content.title, "Clip Saved (Full buffered)");
    }
}

TEST_F(ClipSavedNotificationControllerTest, ThePanelsCaptionIsOfTheClipThatItIsAbout)
{
    save(0, true, "/clips/a.mp4");
    EXPECT_EQ(panel.content.caption, "about a.mp4");
    save(0, true, "/clips/b.mp4");
    EXPECT_EQ(panel.content.caption, "about b.mp4");
    EXPECT_EQ(panel.content.title, "Clip Saved (Full)");
}

TEST(SavedClipCaption, SaysTheClipsLengthAndSizeAndNothingOfAClipThatIsNotListed)
{
    ClipItem clip;
    clip.url = "/clips/a.mp4";
    clip.duration = 64.6;
    clip.fileSize = 12'345'678;
    ClipItem unreadable;
    unreadable.url = "/clips/b.mp4";
    unreadable.fileSize = 2000;
    const std::vector clips{clip, unreadable};
    EXPECT_EQ(savedClipCaption(clips, "/clips/a.mp4"), "The whole recording: 1:05, 12.3 MB");
    EXPECT_EQ(savedClipCaption(clips, "/clips/b.mp4"), "The whole recording: 2 KB");
    EXPECT_EQ(savedClipCaption(clips, "/clips/c.mp4"), "");
}

TEST_F(ClipSavedNotificationControllerTest, ADurationHasOneDecimal)
{
    save(12.34, true);
    EXPECT_EQ(panel.content.title, "Clip Saved (12.3s)");
    save(12.34, false);
    EXPECT_EQ(panel.content.title, "Clip Saved (12.3s buffered)");
}

TEST_F(ClipSavedNotificationControllerTest, ThePanelIsFilledPlacedAndShownAndGoesAfterSevenSeconds)
{
    save();
    EXPECT_THAT(panel.events, ElementsAre("content Clip Saved (Full)", "place", "show"));
    panel.events.clear();
    clock->advance(7s - 1ns);
    EXPECT_THAT(panel.events, IsEmpty());
    clock->advance(1ns);
    EXPECT_THAT(panel.events, ElementsAre("fade out 250"));
    clock->advance(60s);
    EXPECT_EQ(panel.events.size(), 1U);
}

TEST_F(ClipSavedNotificationControllerTest, ASecondSaveTakesOverThePanelAndItsSevenSeconds)
{
    save(1.0);
    clock->advance(3s);
    panel.events.clear();
    save(2.0);
    EXPECT_EQ(panel.panels, 1);
    EXPECT_THAT(panel.events, ElementsAre("content Clip Saved (2.0s)", "place", "show"));
    panel.events.clear();
    clock->advance(7s - 1ns);
    EXPECT_THAT(panel.events, IsEmpty());
    clock->advance(1ns);
    EXPECT_THAT(panel.events, ElementsAre("fade out 250"));
}

TEST_F(ClipSavedNotificationControllerTest, DismissingEndsTheTimer)
{
    save();
    panel.events.clear();
    panel.content.onDismiss();
    EXPECT_THAT(panel.events, ElementsAre("fade out 250"));
    EXPECT_EQ(clock->pendingCount(), 0U);
    clock->advance(60s);
    EXPECT_EQ(panel.events.size(), 1U);
}

TEST_F(ClipSavedNotificationControllerTest, DismissingWithoutAPanelDoesNothing)
{
    controller->dismissHUD();
    EXPECT_EQ(panel.panels, 0);
}

TEST_F(ClipSavedNotificationControllerTest, NotificationsShowAsBannerAndSoundWhileTheProgramIsActive)
{
    EXPECT_EQ(centre->present({}), 18U);
}

TEST_F(ClipSavedNotificationControllerTest, ClickingTheNotificationOrItsFirstActionOpensThePreview)
{
    EXPECT_TRUE(centre->respond("PREVIEW_ACTION", contentFor("/clips/a.mp4")));
    EXPECT_TRUE(centre->respond(std::string{NotificationResponse::defaultActionIdentifier}, contentFor("/clips/b.mp4")));
    EXPECT_THAT(windows->previews, IsEmpty()) << "not before the main thread is free";
    executor->runAll();
    EXPECT_THAT(windows->previews, ElementsAre("/clips/a.mp4", "/clips/b.mp4"));
}

TEST_F(ClipSavedNotificationControllerTest, TheSecondActionRevealsTheFile)
{
    EXPECT_TRUE(centre->respond("REVEAL_ACTION", contentFor("/clips/a.mp4")));
    executor->runAll();
    EXPECT_THAT(workspace->revealed, ElementsAre(std::vector<std::filesystem::path>{"/clips/a.mp4"}));
    EXPECT_THAT(windows->previews, IsEmpty());
}

TEST_F(ClipSavedNotificationControllerTest, ANotificationWithoutAClipOrThatWasClosedDoesNothing)
{
    EXPECT_TRUE(centre->respond("PREVIEW_ACTION", {}));
    EXPECT_TRUE(centre->respond(std::string{NotificationResponse::dismissActionIdentifier}, contentFor("/clips/a.mp4")));
    executor->runAll();
    EXPECT_THAT(windows->previews, IsEmpty());
    EXPECT_THAT(workspace->revealed, IsEmpty());
}

TEST_F(ClipSavedNotificationControllerTest, WithoutADelegateThePreviewStaysClosed)
{
    const auto gone = std::exchange(windows, nullptr);
    EXPECT_TRUE(centre->respond("PREVIEW_ACTION", contentFor("/clips/a.mp4")));
    executor->runAll();
    EXPECT_THAT(gone->previews, IsEmpty());
    EXPECT_THAT(workspace->revealed, IsEmpty());
    windows = gone;
    EXPECT_TRUE(centre->respond("PREVIEW_ACTION", contentFor("/clips/b.mp4")));
    executor->runAll();
    EXPECT_THAT(gone->previews, ElementsAre("/clips/b.mp4")) << "what was asked for in between is not made up for";
}

TEST_F(ClipSavedNotificationControllerTest, TheNotificationSaysTheWholeNameWhateverItIs)
{
    for (const auto& [kind, text] : test::oddNames()) {
        const auto name = text + ".mp4";
        save(1.0, true, ("/clips/" + name).c_str());
        EXPECT_EQ(centre->requests.back().content.body, name + " has been saved to your library.") << kind;
    }
}

TEST_F(ClipSavedNotificationControllerTest, AControllerThatIsGoneShowsNothing)
{
    controller->showClipSaved("/clips/a.mp4", 0, true);
    controller.reset();
    executor->runAll();
    EXPECT_EQ(panel.panels, 0);
}

TEST_F(ClipSavedNotificationControllerTest, ThePanelStaysWhileACopyOfItsClipIsMadeAndAsLongAsAlwaysAfterThat)
{
    save();
    panel.events.clear();
    busyWith = "/clips/a.mp4";
    clock->advance(60s);
    EXPECT_THAT(panel.events, IsEmpty());
    busyWith.clear();
    clock->advance(7s);
    EXPECT_THAT(panel.events, IsEmpty());
    clock->advance(1s);
    EXPECT_THAT(panel.events, ElementsAre("fade out 250"));
}

TEST_F(ClipSavedNotificationControllerTest, WorkOnAnotherClipDoesNotKeepThePanel)
{
    save();
    panel.events.clear();
    busyWith = "/clips/b.mp4";
    clock->advance(7s);
    EXPECT_THAT(panel.events, ElementsAre("fade out 250"));
}

}  // namespace
}  // namespace velmora
