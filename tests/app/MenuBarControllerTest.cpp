#include "app/menu/MenuBarController.h"

#include "app/AppDelegate.h"
#include "tests/support/CoordinatorFixture.h"

#include <gmock/gmock.h>

namespace velmora {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const CapturedWindowInfo film{
    .id = 7, .title = "Film", .appName = "Player", .bundleID = "player", .frame = {0, 0, 640, 480}, .isOnScreen = true};

struct ScriptedStatusItem final : StatusItem {
    void setToolTip(const std::string& text) override { toolTip = text; }
    void setMenuDelegate(MenuDelegate delegate) override { menuDelegate = std::move(delegate); }
    void setImage(const MenuBarImage& newImage) override { image = newImage; }
    void popUpMenu() override { }

    std::string toolTip;
    MenuDelegate menuDelegate;
    std::optional<MenuBarImage> image;
};

struct ScriptedAlerts final : AlertPresenter {
    void present(Alert alert, UniqueFunction<void(std::size_t)> completion) override
    {
        alerts.push_back(std::move(alert));
        completions.push_back(std::move(completion));
    }

    std::vector<Alert> alerts;
    std::vector<UniqueFunction<void(std::size_t)>> completions;
};

struct LoggedWindows final : ApplicationWindowFactory {
    struct Window final : ApplicationWindow {
        void makeKeyAndOrderFront(bool regardless) override
        {
            ++shown;
            shownRegardless = regardless;
        }
        int shown = 0;
        bool shownRegardless = false;
    };

    std::shared_ptr<ApplicationWindow> makeWindow(const WindowDescription& description) override
    {
        descriptions.push_back(description);
        windows.push_back(std::make_shared<Window>());
        return windows.back();
    }

    std::vector<WindowDescription> descriptions;
    std::vector<std::shared_ptr<Window>> windows;
};

/// The whole shell over fakes: delegate, menu bar, alerts.
class ShellTest : public testing::Test, protected test::CoordinatorFixture {
protected:
    void launch()
    {
        addLiveWindow(film);
        delegate = AppDelegate::create({
            .coordinator = coordinator,
            .permissionManager = permissionManager,
            .userDefaults = userDefaults,
            .windows = windows,
            .alerts = alerts,
            .notificationController = ClipSavedNotificationController::create({
                .notificationCenter = notificationCenter,
                .workspace = workspace,
                .clock = clock,
                .mainExecutor = executor,
                .windows = [] { return AppDelegate::shared(); },
                .makePanel = [] { return nullptr; },
            }),
            .mainExecutor = executor,
            .makeMenuBarController =
                [this](std::weak_ptr<WindowPresenting> presenting) {
                    auto item = std::make_unique<ScriptedStatusItem>();
                    statusItem = item.get();
                    return std::make_unique<MenuBarController>(MenuBarController::Services{coordinator, library, workspace, alerts,
                                                                   std::move(presenting), [this] { events.emplace_back("terminate"); }},
                        std::move(item));
                },
        });
        delegate->applicationDidFinishLaunching();
        executor->runAll();
    }

    void launchQuietly()
    {
        userDefaults->values["hasCompletedWalkthrough"] = true;
        launch();
    }

    void capture()
    {
        coordinator->selectWindowAndStartCapture(film);
        executor->runAll();
    }

    void choose(MenuAction action)
    {
        for (const auto& item : statusItem->menuDelegate.menuNeedsUpdate()) {
            if (item.action == action) {
                statusItem->menuDelegate.menuItemTriggered(item);
                executor->runAll();
                return;
            }
        }
        FAIL() << "no such item";
    }

    std::shared_ptr<fake::FakeUserDefaults> userDefaults = std::make_shared<fake::FakeUserDefaults>();
    std::shared_ptr<LoggedWindows> windows = std::make_shared<LoggedWindows>();
    std::shared_ptr<ScriptedAlerts> alerts = std::make_shared<ScriptedAlerts>();
    std::vector<std::string> events;
    ScriptedStatusItem* statusItem = nullptr;
    std::shared_ptr<AppDelegate> delegate;
};

TEST_F(ShellTest, TheItemHasItsToolTipAndImageFromTheStart)
{
    launchQuietly();
    EXPECT_EQ(statusItem->toolTip, "Velmora — Instant Video Clipping (Click to open menu)");
    EXPECT_EQ(statusItem->image, BrandAssets::menuBarImage(coordinator->state()));
}

TEST_F(ShellTest, TheFirstLaunchShowsTheWalkthroughInFrontOfEverything)
{
    launch();
    EXPECT_THAT(windows->descriptions,
        ElementsAre(WindowDescription{WindowContent::onboarding, 640, 530, true, false, "Welcome to Velmora — Quick Walkthrough", {}}));
    EXPECT_EQ(windows->windows[0]->shown, 1);
    EXPECT_TRUE(windows->windows[0]->shownRegardless);
}

TEST_F(ShellTest, ALaterLaunchShowsNothingButTheItem)
{
    launchQuietly();
    EXPECT_THAT(windows->descriptions, IsEmpty());
    EXPECT_TRUE(statusItem->image);
}

TEST_F(ShellTest, WithoutPermissionTheWalkthroughComesBackAtEveryLaunch)
{
    access->isGranted = false;
    permissionManager->checkPermissions();
    launchQuietly();
    ASSERT_EQ(windows->descriptions.size(), 1U);
    EXPECT_EQ(windows->descriptions[0].content, WindowContent::onboarding);
}

TEST_F(ShellTest, SettingsOpenOnceAndPreviewsEachTime)
{
    launchQuietly();
    delegate->presentSettings();
    delegate->presentSettings();
    delegate->presentClipPreview("/clips/a.mp4");
    delegate->presentClipPreview("/clips/b.mp4");
    EXPECT_THAT(windows->descriptions,
        ElementsAre(WindowDescription{WindowContent::settings, 540, 500, false, false, "Velmora Settings", {}},
            WindowDescription{WindowContent::clipPreview, 680, 600, true, true, "Preview & Trim — a.mp4", "/clips/a.mp4"},
            WindowDescription{WindowContent::clipPreview, 680, 600, true, true, "Preview & Trim — b.mp4", "/clips/b.mp4"}));
    EXPECT_EQ(windows->windows[0]->shown, 2);
}

TEST_F(ShellTest, ThePickerOpensFromTheMenuAndIsReused)
{
    launchQuietly();
    choose(MenuAction::selectWindow);
    choose(MenuAction::selectWindow);
    EXPECT_THAT(windows->descriptions,
        ElementsAre(WindowDescription{WindowContent::windowPicker, 560, 480, false, true, "Select Video Window — Velmora", {}}));
    EXPECT_EQ(windows->windows[0]->shown, 2);
    EXPECT_FALSE(windows->windows[0]->shownRegardless);
}

TEST_F(ShellTest, ClosingEveryWindowLeavesTheProgramRunning)
{
    EXPECT_FALSE(AppDelegate::applicationShouldTerminateAfterLastWindowClosed());
}

TEST_F(ShellTest, TheToggleWithoutAWindowAsksForOne)
{
    launchQuietly();
    choose(MenuAction::toggleRecording);
    ASSERT_THAT(alerts->alerts,
        ElementsAre(Alert{Alert::Style::informational, "No Video Window Selected",
            "To start a live recording, first choose the video window you want to capture.", {"Choose Window Now", "Cancel"}}));
    alerts->completions[0](1);
    EXPECT_THAT(windows->descriptions, IsEmpty());
    choose(MenuAction::toggleRecording);
    alerts->completions[1](0);
    ASSERT_EQ(windows->descriptions.size(), 1U);
    EXPECT_EQ(windows->descriptions[0].content, WindowContent::windowPicker);
}

TEST_F(ShellTest, TheToggleStartsARecordingAndTheImageTurnsCoral)
{
    launchQuietly();
    capture();
    choose(MenuAction::toggleRecording);
    EXPECT_TRUE(coordinator->isRecording());
    ASSERT_TRUE(statusItem->image);
    EXPECT_FALSE(statusItem->image->isTemplate);
}

TEST_F(ShellTest, TheImageFollowsTheStateHoweverItChanges)
{
    launchQuietly();
    capture();
    EXPECT_EQ(statusItem->image, BrandAssets::menuBarImage(coordinator->state()));
    workspace->sleep();
    executor->runAll();
    EXPECT_EQ(statusItem->image, BrandAssets::menuBarImage(CaptureState::Case{CaptureState::WaitingForWindowSelection{}}));
}

TEST_F(ShellTest, StopClippingForgetsTheWindow)
{
    launchQuietly();
    capture();
    choose(MenuAction::stopCapture);
    EXPECT_FALSE(coordinator->selectedWindow());
}

TEST_F(ShellTest, TheFolderOpensInTheFileBrowser)
{
    launchQuietly();
    choose(MenuAction::openFolder);
    EXPECT_THAT(workspace->opened, ElementsAre(library->effectiveOutputDirectory()));
}

TEST_F(ShellTest, QuittingInMidRecordingStopsTheCaptureFirst)
{
    launchQuietly();
    capture();
    choose(MenuAction::toggleRecording);
    QObject::connect(
        coordinator.get(), &CaptureCoordinator::selectedWindowChanged, coordinator.get(), [this] { events.emplace_back("stopped"); });
    choose(MenuAction::quit);
    EXPECT_THAT(events, ElementsAre("stopped", "terminate"));
    EXPECT_FALSE(coordinator->isRecording());
}

TEST_F(ShellTest, TheEndOfTheProgramStopsTheCapture)
{
    launchQuietly();
    capture();
    delegate->applicationWillTerminate();
    EXPECT_FALSE(captureService->isCapturing());
}

TEST_F(ShellTest, ACaptureErrorIsAnAlertWithItsMessage)
{
    launchQuietly();
    coordinator->startRecording();
    EXPECT_THAT(alerts->alerts, IsEmpty()) << "not before the main thread is free";
    executor->runAll();
    EXPECT_THAT(
        alerts->alerts, ElementsAre(Alert{Alert::Style::warning, "Velmora", "Cannot record: Please select a video window first.", {"OK"}}));
}

TEST_F(ShellTest, WithoutADelegateWindowsStayClosed)
{
    launchQuietly();
    EXPECT_EQ(AppDelegate::shared(), delegate);
    MenuBarController lonely{{coordinator, library, workspace, alerts, {}, [] {}}, std::make_unique<ScriptedStatusItem>()};
    for (const auto action : {MenuAction::selectWindow, MenuAction::openGuide, MenuAction::openSettings, MenuAction::openRecentClip}) {
        MenuItem item;
        item.action = action;
        item.representedFile = "/clips/a.mp4";
        lonely.handle(item);
    }
    EXPECT_THAT(windows->descriptions, IsEmpty());
}

}  // namespace
}  // namespace velmora
