#include "app/menu/MenuBarController.h"

#include "app/AppControl.h"
#include "app/AppDelegate.h"
#include "tests/support/CoordinatorFixture.h"
#include "tests/support/Windows.h"

#include <chrono>
#include <gmock/gmock.h>
#include <thread>

namespace velmora {
namespace {

using namespace std::chrono_literals;
using test::film;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

struct ScriptedStatusItem final : StatusItem {
    void setToolTip(const std::string& text) override { toolTip = text; }
    void setMenuDelegate(MenuDelegate delegate) override { menuDelegate = std::move(delegate); }
    void setImage(const MenuBarImage& newImage) override { image = newImage; }
    void captionsChanged() override { ++captionChanges; }
    void popUpMenu() override { }

    std::string toolTip;
    int captionChanges = 0;
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

struct ShownWindows final : ApplicationWindowFactory {
    struct Window final : ApplicationWindow {
        void makeKeyAndOrderFront() override { ++shown; }
        int shown = 0;
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
            .coordinator = *coordinator,
            .permissionManager = *permissionManager,
            .shortcutManager = *shortcutManager,
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
            .workspace = workspace,
            .clock = clock,
            .mainExecutor = executor,
            .makeMenuBarController =
                [this](std::weak_ptr<WindowPresenting> presenting) {
                    auto item = std::make_unique<ScriptedStatusItem>();
                    statusItem = item.get();
                    return std::make_unique<MenuBarController>(MenuBarController::Services{*coordinator, *library, workspace, alerts,
                                                                   std::move(presenting), [this] { events.emplace_back("terminate"); }},
                        std::move(item));
                },
            .recordingObserver = observer,
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
    std::shared_ptr<ShownWindows> windows = std::make_shared<ShownWindows>();
    std::shared_ptr<ScriptedAlerts> alerts = std::make_shared<ScriptedAlerts>();
    std::vector<std::string> events;
    const std::shared_ptr<RecordingMeter> meter = std::make_shared<RecordingMeter>();
    const std::shared_ptr<RecordingObserver> observer = RecordingObserver::create(executor, meter);
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

TEST_F(ShellTest, TheClipsWindowOpensOnceAndNotBeforeItIsAskedFor)
{
    launchQuietly();
    EXPECT_THAT(windows->descriptions, testing::IsEmpty());
    delegate->presentClips();
    delegate->presentClips();
    EXPECT_THAT(windows->descriptions, ElementsAre(WindowDescription{WindowContent::clips, 760, 600, true, true, "Clips — Velmora", {}}));
    EXPECT_EQ(windows->windows[0]->shown, 2);
}

TEST_F(ShellTest, AClipThatIsToPlayOpensInAPreviewThatPlaysAtOnce)
{
    launchQuietly();
    delegate->presentPlayingClip("/clips/a.mp4");
    EXPECT_THAT(windows->descriptions,
        ElementsAre(WindowDescription{WindowContent::clipPreview, 680, 600, true, true, "Preview & Trim — a.mp4", "/clips/a.mp4", true}));
    EXPECT_EQ(windows->windows[0]->shown, 1);
}

TEST_F(ShellTest, ThePickerOpensFromTheMenuAndIsReused)
{
    launchQuietly();
    choose(MenuAction::selectWindow);
    choose(MenuAction::selectWindow);
    EXPECT_THAT(windows->descriptions,
        ElementsAre(WindowDescription{WindowContent::windowPicker, 560, 480, false, true, "Select Video Window — Velmora", {}}));
    EXPECT_EQ(windows->windows[0]->shown, 2);
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

TEST_F(ShellTest, ARecordingWhoseFileWasMovedIsANotificationOfWhereItLiesWhole)
{
    launchQuietly();
    meter->report(RecordingReport::Event::fileWasMoved, "/old clips/Clip 1.mp4", 1);
    executor->runAll();
    ASSERT_EQ(notificationCenter->requests.size(), 1U);
    const auto& notification = notificationCenter->requests[0].content;
    EXPECT_EQ(notification.title, "Clip Moved");
    EXPECT_EQ(notification.body, "Clip 1.mp4 was moved while it was being recorded. The whole clip is in /old clips.");
    EXPECT_TRUE(notificationCenter->respond("PREVIEW_ACTION", notification));
    executor->runAll();
    EXPECT_EQ(windows->descriptions.at(0).clip, "/old clips/Clip 1.mp4");
}

constexpr const char* firstLine = "Velmora — Instant Video Clipping (Click to open menu)";

class ShellRecordingTest : public ShellTest {
protected:
    ShellRecordingTest()
    {
        writers->onCreate = [](auto& made) { made.holdsFinish = true; };
        launchQuietly();
        capture();
        coordinator->onClipSaved = [this](const auto&, double, bool) { events.emplace_back("saved"); };
    }

    [[nodiscard]] std::vector<std::string> disabledLines() const
    {
        std::vector<std::string> titles;
        for (const auto& item : statusItem->menuDelegate.menuNeedsUpdate()) {
            if (!item.isEnabled && (item.kind == MenuItem::Kind::entry || item.kind == MenuItem::Kind::remark))
                titles.push_back(item.title);
        }
        return titles;
    }

    /// What waits for the last clip would otherwise keep itself.
    void finishSaving()
    {
        writers->writers.back()->awaitFinish();
        writers->writers.back()->answerFinish();
        bool isSaved = false;
        coordinator->notifyWhenSaved([&] { isSaved = true; });
        executor->runUntil([&] { return isSaved; });
        executor->runAll();
    }

    void terminate()
    {
        delegate->applicationShouldTerminate([this] { events.emplace_back("end"); });
        executor->runAll();
    }
};

TEST_F(ShellRecordingTest, WithoutAClipOnItsWayTheProgramEndsAtOnce)
{
    terminate();
    EXPECT_THAT(events, ElementsAre("end"));
    EXPECT_EQ(statusItem->toolTip, firstLine);
    EXPECT_FALSE(captureService->isCapturing());
}

TEST_F(ShellRecordingTest, TheProgramEndsWhenTheLastClipIsOnTheDiskAndSaysThatItWaits)
{
    for (int i = 0; i < 2; ++i) {
        clock->advance(std::chrono::seconds{1});
        choose(MenuAction::toggleRecording);
        choose(MenuAction::toggleRecording);
        writers->writers.back()->awaitFinish();
    }
    terminate();
    EXPECT_FALSE(captureService->isCapturing());
    EXPECT_EQ(statusItem->toolTip, std::string{firstLine} + "\nSaving a clip. Velmora ends when it is on the disk.");
    EXPECT_THAT(disabledLines(), testing::Contains("Saving a clip. Velmora ends when it is on the disk."));
    writers->writers.at(1)->answerFinish();
    executor->runUntil([&] { return !events.empty(); });
    executor->runAll();
    EXPECT_THAT(events, ElementsAre("saved"));
    writers->writers.at(0)->answerFinish();
    executor->runUntil([&] { return events.size() == 3; });
    EXPECT_THAT(events, ElementsAre("saved", "saved", "end"));
    EXPECT_EQ(library->recentClips().size(), 2U);
}

TEST_F(ShellRecordingTest, AStopThatWasAskedForJustBeforeTheEndIsASave)
{
    choose(MenuAction::toggleRecording);
    coordinator->toggleRecording();
    terminate();
    EXPECT_THAT(events, IsEmpty());
    EXPECT_EQ(writers->writers.at(0)->cancelCount, 0);
    writers->writers.at(0)->answerFinish();
    executor->runUntil([&] { return events.size() == 2; });
    EXPECT_THAT(events, ElementsAre("saved", "end"));
}

TEST_F(ShellRecordingTest, ARecordingThatCannotGoOnIsSavedAndTheReasonIsInTheToolTipAndTheMenu)
{
    choose(MenuAction::toggleRecording);
    meter->report(RecordingReport::Event::fileBegins, {}, 1);
    meter->report(RecordingReport::Event::fileFailed, "No space left on device", 1);
    executor->runAll();
    EXPECT_FALSE(coordinator->isRecording());
    const std::string reason = "The recording ended early: No space left on device.";
    EXPECT_EQ(statusItem->toolTip, std::string{firstLine} + '\n' + reason);
    EXPECT_THAT(disabledLines(), ElementsAre(testing::_, "📺 Target: " + film.displayName(), reason));
    writers->writers.at(0)->answerFinish();
    executor->runUntil([&] { return !events.empty(); });
    EXPECT_THAT(events, ElementsAre("saved"));
    meter->report(RecordingReport::Event::fileBegins, {}, 2);
    executor->runAll();
    EXPECT_EQ(statusItem->toolTip, firstLine);
}

TEST_F(ShellRecordingTest, ARecordingsLengthAndSizeAreSaidOnceASecondAndNothingRunsByTheClockWithoutOne)
{
    const auto idle = clock->pendingCount();
    std::vector<std::string> toolTips;
    QObject::connect(delegate->menuBarController(), &MenuBarController::remarksChanged, delegate->menuBarController(),
        [&] { toolTips.push_back(statusItem->toolTip); });
    choose(MenuAction::toggleRecording);
    const auto size = std::make_shared<std::atomic<std::uint64_t>>(0);
    meter->onReport({.event = RecordingReport::Event::fileBegins, .file = 1, .size = size, .time = MonotonicClock::now() - 70s});
    executor->runAll();
    EXPECT_EQ(clock->pendingCount(), idle + 1);
    ASSERT_EQ(toolTips.size(), 1U);
    EXPECT_THAT(toolTips[0], testing::StartsWith(std::string{firstLine} + "\nRecording: 1:1"));
    *size = 1'500'000;
    clock->advance(999ms);
    EXPECT_EQ(toolTips.size(), 1U);
    const int before = statusItem->captionChanges;
    clock->advance(1ms);
    EXPECT_EQ(statusItem->captionChanges, before + 1) << "an open menu follows";
    ASSERT_EQ(toolTips.size(), 2U);
    EXPECT_THAT(toolTips[1], testing::HasSubstr(", 1.5 MB so far\nQuitting"));
    EXPECT_EQ(clock->pendingCount(), idle + 1);
    EXPECT_THAT(statusItem->menuDelegate.menuNeedsUpdate().at(1).caption, testing::EndsWith(", 1.5 MB so far"));

    choose(MenuAction::toggleRecording);
    meter->report(RecordingReport::Event::fileEnds, {}, 1);
    executor->runAll();
    EXPECT_EQ(clock->pendingCount(), idle);
    EXPECT_EQ(statusItem->toolTip, firstLine) << "while the file is finished";
    finishSaving();
}

TEST_F(ShellRecordingTest, AWindowThatIsLostIsSaidUntilAnotherIsChosen)
{
    streams->streams.back()->stopWithError({"Test", 1, "window gone", nullptr});
    executor->runAll();
    EXPECT_EQ(statusItem->toolTip, std::string{firstLine} + "\nThe window was closed or is no longer available.");
    EXPECT_EQ(statusItem->menuDelegate.menuNeedsUpdate().at(1).caption, "The window was closed or is no longer available.");
    capture();
    EXPECT_EQ(statusItem->toolTip, firstLine);
    choose(MenuAction::stopCapture);
    EXPECT_EQ(statusItem->toolTip, firstLine) << "what the user asked for is no loss";
}

TEST_F(ShellRecordingTest, AfterSleepItIsSaidWhyNoWindowIsChosen)
{
    workspace->sleep();
    executor->runAll();
    EXPECT_EQ(statusItem->toolTip, std::string{firstLine} + "\nThe capture was stopped because the computer went to sleep.");
    capture();
    choose(MenuAction::stopCapture);
    workspace->sleep();
    executor->runAll();
    EXPECT_EQ(statusItem->toolTip, firstLine) << "there was nothing to stop";
}

TEST_F(ShellRecordingTest, ACaptureThatCannotStartOrIsNotAllowedIsSaidAtTheGivenRow)
{
    streams->prepare = [](auto& stream) { stream.startError = Error{"Test", 1, "no pixels", nullptr}; };
    capture();
    EXPECT_EQ(statusItem->toolTip, std::string{firstLine} + "\nCapture unavailable (no pixels). Choose a window to try again.");
    auto row = statusItem->menuDelegate.menuNeedsUpdate().at(1);
    EXPECT_EQ(row.title, "🟢 Ready — Press ⌥⌘C to Start Recording");
    EXPECT_EQ(row.caption, "Capture unavailable (no pixels). Choose a window to try again.");
    coordinator->stopCapture();
    access->isGranted = false;
    access->reason = "There is no display.";
    permissionManager->checkPermissions();
    capture();
    EXPECT_EQ(statusItem->toolTip, std::string{firstLine} + "\nNot configured: There is no display.");
    row = statusItem->menuDelegate.menuNeedsUpdate().at(1);
    EXPECT_EQ(row.title, "⚠️ No Video Window Selected");
    EXPECT_EQ(row.caption, "Not configured: There is no display.");
}

TEST_F(ShellRecordingTest, AShortcutThatIsLostOrComesBackIsSaidAtOnce)
{
    hotKeyCenter->registerStatus = -9878;
    shortcutManager->registerAll();
    EXPECT_THAT(statusItem->toolTip, testing::HasSubstr("Bind a key of your own to 'velmora toggle'"));
    hotKeyCenter->reason = "Bind keys in the settings.";
    shortcutManager->registerAll();
    EXPECT_EQ(statusItem->toolTip, std::string{firstLine} + "\nBind keys in the settings.");
    EXPECT_EQ(statusItem->menuDelegate.menuNeedsUpdate().at(1).caption, "Bind keys in the settings.");
    hotKeyCenter->registerStatus = 0;
    shortcutManager->registerAll();
    EXPECT_EQ(statusItem->toolTip, firstLine);
}

TEST_F(ShellRecordingTest, OfAShortcutThatTheDesktopHasYetToDecideOnNothingIsSaidUntilItRefuses)
{
    hotKeyCenter->registerStatus = platform::HotKeyCenter::pending;
    shortcutManager->registerAll();
    EXPECT_FALSE(shortcutManager->isRegistered());
    EXPECT_EQ(statusItem->toolTip, firstLine);
    EXPECT_EQ(statusItem->menuDelegate.menuNeedsUpdate().at(1).caption, "");
    hotKeyCenter->registerStatus = -9878;
    hotKeyCenter->decided();
    executor->runAll();
    EXPECT_THAT(statusItem->toolTip, testing::HasSubstr("Bind a key of your own to 'velmora toggle'"));
}

TEST_F(ShellRecordingTest, TheNameOfTheFileBrowserIsInAnOpenMenuOnceItIsFound)
{
    const int before = statusItem->captionChanges;
    workspace->findFileBrowser("Dolphin");
    EXPECT_EQ(statusItem->captionChanges, before + 1);
    const auto menu = statusItem->menuDelegate.menuNeedsUpdate();
    EXPECT_TRUE(std::any_of(menu.begin(), menu.end(), [](const auto& item) {
        return item.title == "📁 Open Clips Folder in Finder" && item.caption == "Opens it in Dolphin on this desktop.";
    }));
}

TEST_F(ShellRecordingTest, WhatTheMenuSaysWouldEndARecordingUnsavedDoesSoAndNothingElse)
{
    for (const auto action : {MenuAction::selectWindow, MenuAction::stopCapture, MenuAction::quit, MenuAction::openFolder,
             MenuAction::openGuide, MenuAction::openSettings}) {
        SCOPED_TRACE(static_cast<int>(action));
        if (!coordinator->selectedWindow())
            capture();
        clock->advance(1s);
        coordinator->startRecording();
        ASSERT_TRUE(coordinator->isRecording());
        bool isAnnounced = false;
        for (const auto& item : statusItem->menuDelegate.menuNeedsUpdate())
            isAnnounced = isAnnounced || (item.action == action && item.caption.find("without saving") != std::string::npos);
        choose(action);
        if (action == MenuAction::selectWindow)
            capture();  // the list of windows has opened, and one is chosen in it
        coordinator->drain();
        EXPECT_EQ(coordinator->isRecording(), !isAnnounced);
        const auto& writer = *writers->writers.back();
        // A discarded recording is cancelled on its own queue, which nobody waits for.
        for (const auto end = std::chrono::steady_clock::now() + 60s;
             isAnnounced && writer.cancelCount == 0 && std::chrono::steady_clock::now() < end;)
            std::this_thread::yield();
        EXPECT_EQ(writer.cancelCount, isAnnounced ? 1 : 0);
        coordinator->stopCapture();
        executor->runAll();
    }
}

TEST_F(ShellRecordingTest, AnAlertAboutASaveThatFailedHoldsTheReasonToo)
{
    choose(MenuAction::toggleRecording);
    meter->report(RecordingReport::Event::fileBegins, {}, 1);
    meter->report(RecordingReport::Event::fileEndsEmpty, {}, 1);
    writers->writers.at(0)->finishStatus = platform::AssetWriter::Status::failed;
    choose(MenuAction::toggleRecording);
    writers->writers.at(0)->answerFinish();
    executor->runUntil([&] { return !alerts->alerts.empty(); });
    ASSERT_EQ(alerts->alerts.size(), 1U);
    EXPECT_THAT(alerts->alerts[0].informativeText,
        testing::AllOf(testing::StartsWith("Failed saving recording: "), testing::EndsWith("\n\nNo picture of the window had come yet.")));
}

TEST_F(ShellRecordingTest, AStopAsTheWindowClosesGivesOneAlertWithBothTexts)
{
    choose(MenuAction::toggleRecording);
    // The window's end is handled before the stop that was asked for.
    streams->streams.back()->stopWithError({"Test", 1, "window gone", nullptr});
    coordinator->toggleRecording();
    executor->runAll();
    ASSERT_EQ(alerts->alerts.size(), 1U);
    EXPECT_EQ(alerts->alerts[0].informativeText,
        "Selected window was closed or is no longer available. Please select a window.\n\n"
        "Failed saving recording: No active manual recording session.");
    coordinator->startRecording();
    executor->runAll();
    ASSERT_EQ(alerts->alerts.size(), 2U);
    EXPECT_EQ(alerts->alerts[1].informativeText, "Cannot record: Please select a video window first.");
}

/// Commands that come in over the bus. `isThere` as long as whoever sent one can tell of a failure.
class ShellCommandTest : public ShellRecordingTest {
protected:
    ShellCommandTest()
        : control({.coordinator = *coordinator,
            .permissionManager = *permissionManager,
            .shortcutManager = *shortcutManager,
            .windowService = std::make_shared<WindowSelectionService>(content, executor),
            .windows = nullptr,
            .userDefaults = userDefaults,
            .showMenu = {},
            .quit = {},
            .recordingObserver = observer})
    {
    }

    template <typename Answer>
    auto answer()
    {
        return [this](const Result<Answer>& result) { answers.push_back(result ? "" : result.error().localizedDescription); };
    }

    void toggle()
    {
        control.toggleRecording(answer<InstanceControl::SavedClip>(), [this] { return isThere; });
        executor->runAll();
    }

    void stop()
    {
        control.stopCapture(answer<InstanceControl::SavedClip>(), [this] { return isThere; });
    }

    void failToSave()
    {
        writers->writers.at(0)->finishStatus = platform::AssetWriter::Status::failed;
        writers->writers.at(0)->currentError = Error{"POSIX", 28, "No space left on device", nullptr};
        executor->runAll();
        writers->writers.at(0)->answerFinish();
        executor->runUntil([&] { return !answers.empty(); });
        executor->runAll();
    }

    [[nodiscard]] std::vector<std::string> alertTexts() const
    {
        std::vector<std::string> texts;
        for (const auto& alert : alerts->alerts)
            texts.push_back(alert.informativeText);
        return texts;
    }

    AppControl control;
    bool isThere = true;
    std::vector<std::string> answers;
};

constexpr const char* diskIsFull = "Failed saving recording: No space left on device";
constexpr const char* windowIsGone = "Selected window was closed or is no longer available. Please select a window.";

TEST_F(ShellCommandTest, ACommandThatTellsOfItsFailureOpensNoAlertToo)
{
    coordinator->stopCapture();
    toggle();
    EXPECT_THAT(answers, ElementsAre("Cannot record: Please select a video window first."));
    streams->prepare = [](auto& stream) { stream.startError = Error{"Test", 1, "no pixels", nullptr}; };
    control.selectWindow(film.id, std::nullopt, answer<std::string>(), [] { return true; });
    executor->runAll();
    EXPECT_THAT(answers, ElementsAre(testing::_, "Failed to capture window: no pixels"));
    access->isGranted = false;
    permissionManager->checkPermissions();
    control.selectWindow(film.id, std::nullopt, answer<std::string>(), [] { return true; });
    executor->runAll();
    EXPECT_THAT(answers, ElementsAre(testing::_, testing::_, "Screen recording permission is required."));
    EXPECT_THAT(alertTexts(), IsEmpty());
}

TEST_F(ShellCommandTest, TheStatusHasTheLengthAndSizeOfARecordingWhileOneRuns)
{
    const auto has = [this](const char* field) { return control.status().contains(QLatin1String{field}); };
    EXPECT_FALSE(has("recordingSeconds") || has("recordingBytes"));
    choose(MenuAction::toggleRecording);
    const auto size = std::make_shared<std::atomic<std::uint64_t>>(12'345'678);
    const auto began = MonotonicClock::now() - 70s;
    meter->onReport({.event = RecordingReport::Event::fileBegins, .file = 1, .size = size, .time = began});
    executor->runAll();
    const auto seconds = control.status().value(QLatin1String{"recordingSeconds"}).toDouble();
    EXPECT_GE(seconds, 70);
    EXPECT_LE(seconds, std::chrono::duration<double>{MonotonicClock::now() - began}.count());
    EXPECT_EQ(control.status().value(QLatin1String{"recordingBytes"}).toInteger(), 12'345'678);
    choose(MenuAction::toggleRecording);
    EXPECT_FALSE(has("recordingSeconds") || has("recordingBytes")) << "the file is being finished";
    finishSaving();
}

TEST_F(ShellCommandTest, TheStatusTellsOfLostPicturesWhileARecordingRunsAndAfterIt)
{
    const auto loss = [this] { return control.status().value(QLatin1String{"lostPictures"}).toObject(); };
    EXPECT_TRUE(loss().isEmpty());
    choose(MenuAction::toggleRecording);
    const auto frames = std::make_shared<FileFrames>();
    meter->onReport({.event = RecordingReport::Event::fileBegins, .file = 1, .frames = frames});
    executor->runAll();
    frames->written = 970;
    frames->lost = 30;
    EXPECT_EQ(loss().value(QLatin1String{"lost"}).toInteger(), 30);
    EXPECT_EQ(loss().value(QLatin1String{"of"}).toInteger(), 1000);
    EXPECT_EQ(loss().value(QLatin1String{"text"}).toString().toStdString(),
        "The machine is not keeping up: the recording has lost 30 of 1000 pictures so far.");
    choose(MenuAction::toggleRecording);
    finishSaving();
    EXPECT_EQ(loss().value(QLatin1String{"lost"}).toInteger(), 30);
    frames->lost = 19;
    EXPECT_TRUE(loss().isEmpty());
}

TEST_F(ShellCommandTest, AStartThatFailsForACommandThatTellsOpensNoAlertToo)
{
    writers->createError = Error{"POSIX", 28, "No space left on device", nullptr};
    toggle();
    EXPECT_THAT(answers, ElementsAre("Failed to start recording: No space left on device"));
    EXPECT_THAT(alertTexts(), IsEmpty());
}

TEST_F(ShellCommandTest, ASaveThatFailsForCommandsThatTellOpensNoAlertToo)
{
    choose(MenuAction::toggleRecording);
    control.toggleRecording(answer<InstanceControl::SavedClip>(), [] { return true; });
    stop();
    failToSave();
    EXPECT_THAT(answers, ElementsAre(diskIsFull, diskIsFull));
    EXPECT_THAT(alertTexts(), IsEmpty());
}

TEST_F(ShellCommandTest, WhatFailsForACommandThatTellsNothingOrIsGoneIsAnAlert)
{
    choose(MenuAction::toggleRecording);
    stop();
    isThere = false;
    failToSave();
    control.toggleRecording(answer<InstanceControl::SavedClip>(), {});
    executor->runAll();
    EXPECT_THAT(alertTexts(), ElementsAre(diskIsFull, "Cannot record: Please select a video window first."));
}

TEST_F(ShellCommandTest, ASaveThatSomebodyElseHadAskedForTooIsAnAlertForThem)
{
    choose(MenuAction::toggleRecording);
    coordinator->toggleRecording();
    stop();
    failToSave();
    EXPECT_THAT(answers, ElementsAre(diskIsFull));
    EXPECT_THAT(alertTexts(), ElementsAre(diskIsFull));
}

TEST_F(ShellCommandTest, AStopOfACommandAsTheWindowClosesLeavesTheAlertAboutTheWindow)
{
    choose(MenuAction::toggleRecording);
    streams->streams.back()->stopWithError({"Test", 1, "window gone", nullptr});
    stop();
    executor->runAll();
    EXPECT_THAT(answers, ElementsAre("Failed saving recording: No active manual recording session."));
    EXPECT_THAT(alertTexts(), ElementsAre(windowIsGone));
}

TEST_F(ShellCommandTest, AfterACommandThatToldItselfTheNextFailureIsAnAlert)
{
    coordinator->stopCapture();
    toggle();
    coordinator->startRecording();
    executor->runAll();
    EXPECT_THAT(alertTexts(), ElementsAre("Cannot record: Please select a video window first."));
}

TEST_F(ShellTest, WithoutADelegateWindowsStayClosed)
{
    launchQuietly();
    EXPECT_EQ(AppDelegate::shared(), delegate);
    MenuBarController lonely{{*coordinator, *library, workspace, alerts, {}, [] {}}, std::make_unique<ScriptedStatusItem>()};
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
