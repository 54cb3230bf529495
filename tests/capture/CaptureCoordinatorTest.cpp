#include "capture/CaptureCoordinator.h"

#include "tests/support/CapturedLog.h"
#include "tests/support/CoordinatorFixture.h"
#include "tests/support/Samples.h"
#include "tests/support/TemporaryDirectory.h"

#include <future>
#include <gmock/gmock.h>

namespace velmora {
namespace {

using namespace std::chrono_literals;
using platform::StreamOutputType;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

const CapturedWindowInfo film{
    .id = 7, .title = "Film", .appName = "Player", .bundleID = "player", .frame = {0, 0, 640, 480}, .isOnScreen = true};
const CapturedWindowInfo other{
    .id = 8, .title = "Other", .appName = "Browser", .bundleID = "browser", .frame = {0, 0, 640, 480}, .isOnScreen = true};

struct Saved {
    std::filesystem::path clip;
    double duration;
    bool isFullDuration;
};

class CaptureCoordinatorTest : public testing::Test, protected test::CoordinatorFixture {
protected:
    CaptureCoordinatorTest()
    {
        addLiveWindow(film);
        addLiveWindow(other);
        coordinator->onClipSaved = [this](const auto& clip, double duration, bool isFull) { saved.push_back({clip, duration, isFull}); };
        coordinator->onCaptureError = [this](const std::string& message) { errors.push_back(message); };
        executor->runAll();
    }

    void capture(const CapturedWindowInfo& window = film)
    {
        coordinator->selectWindowAndStartCapture(window);
        executor->runAll();
    }

    /// Until a frame of the recording has reached the writer.
    void deliverAFrame()
    {
        streams->streams.back()->deliver(test::screenSample(++frames * 1000), StreamOutputType::screen);
        captureService->sampleQueue().drain();
        captureService->encoder().outputQueue().drain();
    }

    void record()
    {
        capture();
        coordinator->startRecording();
        deliverAFrame();
    }

    void waitForSaves(std::size_t count)
    {
        executor->runUntil([&] { return saved.size() == count; });
        executor->runAll();
    }

    void press()
    {
        hotKeyCenter->press(platform::HotKeyID{KeyboardShortcutManager::hotKeySignature, 2});
        executor->runAll();
    }

    [[nodiscard]] CaptureState state(CaptureState::Case value) const { return {std::move(value)}; }

    test::CapturedLog log;
    std::vector<Saved> saved;
    std::vector<std::string> errors;
    std::int64_t frames = 0;
};

TEST_F(CaptureCoordinatorTest, WaitsForAWindowWhenThePermissionIsThere)
{
    EXPECT_EQ(coordinator->state(), state(CaptureState::WaitingForWindowSelection{}));
    EXPECT_FALSE(coordinator->selectedWindow());
    EXPECT_FALSE(coordinator->lastSavedClipURL());
}

TEST_F(CaptureCoordinatorTest, CarriesAnExporterThatWritesThroughItsOwnServices)
{
    const test::TemporaryDirectory clips;
    RollingBufferExtraction extraction;
    extraction.videoSamples.push_back(test::videoSample(1, true));
    extraction.startPTS = extraction.endPTS = MediaTime::nanoseconds(1);
    std::promise<Result<std::filesystem::path>> result;
    coordinator->exporter().exportClip(
        extraction, clips.path() / "clip.mp4", [&result](auto outcome) { result.set_value(std::move(outcome)); });
    EXPECT_EQ(result.get_future().get(), clips.path() / "clip.mp4");
    ASSERT_EQ(writers->writers.size(), 1U);
    EXPECT_EQ(writers->writers[0]->samples, extraction.videoSamples);
}

TEST_F(CaptureCoordinatorTest, IsNotConfiguredWithoutThePermission)
{
    access->isGranted = false;
    permissionManager->checkPermissions();
    const auto fresh = CaptureCoordinator::create(
        {library, permissionManager, shortcutManager, captureService, writers, fileManager, workspace, clock, executor});
    EXPECT_EQ(fresh->state(), state(CaptureState::NotConfigured{}));
}

TEST_F(CaptureCoordinatorTest, AWindowChosenWithoutPermissionChangesNothingElse)
{
    capture(other);
    access->isGranted = false;
    permissionManager->checkPermissions();
    bool isCompleted = false;
    coordinator->selectWindowAndStartCapture(film, [&] { isCompleted = true; });
    EXPECT_TRUE(isCompleted);
    EXPECT_EQ(coordinator->state(), state(CaptureState::NotConfigured{}));
    EXPECT_EQ(coordinator->selectedWindow(), other);
    EXPECT_THAT(errors, ElementsAre("Screen recording permission is required."));
}

TEST_F(CaptureCoordinatorTest, AChosenWindowIsCaptured)
{
    capture();
    EXPECT_EQ(coordinator->state(), state(CaptureState::Capturing{film}));
    EXPECT_EQ(coordinator->selectedWindow(), film);
    EXPECT_EQ(coordinator->state().statusDescription(), "Capturing: Player — Film");
    EXPECT_THAT(log->messages(), Contains("Capture started for window <private>"));
}

TEST_F(CaptureCoordinatorTest, AStreamThatCannotStartIsReportedAndTheWindowStaysChosen)
{
    streams->prepare = [](auto& stream) { stream.startError = Error{"Test", 1, "no pixels", nullptr}; };
    capture();
    EXPECT_EQ(coordinator->state(), state(CaptureState::CaptureUnavailable{"no pixels"}));
    EXPECT_EQ(coordinator->state().statusDescription(), "Capture unavailable (no pixels)");
    EXPECT_EQ(coordinator->selectedWindow(), film);
    EXPECT_THAT(errors, ElementsAre("Failed to capture window: no pixels"));
    EXPECT_THAT(log->messages(), Contains("Failed to start capture: <private>"));
}

TEST_F(CaptureCoordinatorTest, StoppingForgetsTheWindow)
{
    capture();
    coordinator->stopCapture();
    EXPECT_EQ(coordinator->state(), state(CaptureState::WaitingForWindowSelection{}));
    EXPECT_FALSE(coordinator->selectedWindow());
    EXPECT_FALSE(captureService->isCapturing());
}

TEST_F(CaptureCoordinatorTest, TheToggleWithoutAWindowSaysWhatToDo)
{
    coordinator->toggleRecording();
    EXPECT_THAT(errors, ElementsAre("Cannot record: Please select a video window first."));
    EXPECT_EQ(coordinator->state(), state(CaptureState::WaitingForWindowSelection{}));
}

TEST_F(CaptureCoordinatorTest, TheToggleStartsARecordingUnderAFreeName)
{
    capture();
    coordinator->toggleRecording();
    EXPECT_EQ(coordinator->state(), state(CaptureState::RecordingClip{film, clock->now()}));
    EXPECT_EQ(coordinator->state().statusDescription(), "Recording: Player");
    const auto& url = writers->writers.at(0)->outputURL;
    EXPECT_EQ(url.parent_path(), library->effectiveOutputDirectory().parent_path());
    EXPECT_THAT(url.filename().string(), testing::MatchesRegex("Velmora-Recording-....-..-..-..-..-..\\.mp4"));
    EXPECT_THAT(log->messages(), Contains("Started manual recording to <private>"));
}

TEST_F(CaptureCoordinatorTest, ARecordingThatCannotBeStartedIsReportedAndCapturingGoesOn)
{
    capture();
    writers->createError = Error{"POSIX", 28, "No space left on device", nullptr};
    coordinator->startRecording();
    EXPECT_EQ(coordinator->state(), state(CaptureState::Capturing{film}));
    EXPECT_THAT(errors, ElementsAre("Failed to start recording: No space left on device"));
    EXPECT_THAT(log->messages(), Contains("Failed starting manual recording: <private>"));
}

TEST_F(CaptureCoordinatorTest, ASavedRecordingIsPublishedListedAndAnnounced)
{
    record();
    coordinator->toggleRecording();
    waitForSaves(1);
    const auto url = writers->writers.at(0)->outputURL;
    EXPECT_EQ(saved[0].clip, url);
    EXPECT_EQ(saved[0].duration, 0.0);
    EXPECT_TRUE(saved[0].isFullDuration);
    EXPECT_EQ(coordinator->lastSavedClipURL(), url);
    ASSERT_EQ(library->recentClips().size(), 1U);
    EXPECT_EQ(library->recentClips()[0].url, url);
    EXPECT_EQ(coordinator->state(), state(CaptureState::Capturing{film}));
    EXPECT_THAT(errors, IsEmpty());
    EXPECT_THAT(log->messages(), Contains("Finished manual recording: <private>"));
}

TEST_F(CaptureCoordinatorTest, AFailedSaveIsReportedAndKeepsTheLastClip)
{
    record();
    writers->writers.at(0)->finishStatus = platform::AssetWriter::Status::failed;
    writers->writers.at(0)->currentError = Error{"POSIX", 28, "No space left on device", nullptr};
    coordinator->stopRecording();
    executor->runUntil([&] { return !errors.empty(); });
    EXPECT_THAT(errors, ElementsAre(testing::AllOf(testing::StartsWith("Failed saving recording: "), testing::HasSubstr("No space left"))));
    EXPECT_FALSE(coordinator->lastSavedClipURL());
    EXPECT_THAT(saved, IsEmpty());
    EXPECT_EQ(coordinator->state(), state(CaptureState::Capturing{film}));
    EXPECT_THAT(log->messages(), Contains("Failed stopping manual recording: <private>"));
}

TEST_F(CaptureCoordinatorTest, StoppingARecordingThatDoesNotRunDoesNothing)
{
    capture();
    coordinator->stopRecording();
    executor->runAll();
    EXPECT_THAT(errors, IsEmpty());
    EXPECT_EQ(coordinator->state(), state(CaptureState::Capturing{film}));
}

TEST_F(CaptureCoordinatorTest, StoppingTwiceSavesOnce)
{
    record();
    coordinator->stopRecording();
    coordinator->stopRecording();
    waitForSaves(1);
    EXPECT_THAT(errors, IsEmpty());
    EXPECT_EQ(saved.size(), 1U);
}

TEST_F(CaptureCoordinatorTest, ARecordingMayBeginWhileTheOneBeforeIsSaved)
{
    record();
    assetReader->answersAtOnce = false;
    coordinator->stopRecording();
    executor->runUntil([&] { return !assetReader->asked.empty(); });
    coordinator->toggleRecording();
    EXPECT_TRUE(coordinator->isRecording());
    clock->advance(1s);
    const auto recording = coordinator->state();
    assetReader->answerAll();
    waitForSaves(1);
    EXPECT_EQ(coordinator->state(), recording) << "the save before is not this recording's end";
    deliverAFrame();
    assetReader->answersAtOnce = true;
    coordinator->toggleRecording();
    waitForSaves(2);
    EXPECT_EQ(coordinator->state(), state(CaptureState::Capturing{film}));
    EXPECT_NE(saved[0].clip, saved[1].clip);
}

TEST_F(CaptureCoordinatorTest, AStopWhileARecordingIsSavedKeepsTheFile)
{
    record();
    coordinator->stopRecording();
    executor->runOne();
    coordinator->stopCapture();
    waitForSaves(1);
    EXPECT_EQ(coordinator->state(), state(CaptureState::WaitingForWindowSelection{}));
    EXPECT_TRUE(std::filesystem::exists(saved[0].clip));
}

TEST_F(CaptureCoordinatorTest, AStartThatFailsWhileARecordingIsSavedIsNotHidden)
{
    record();
    coordinator->stopRecording();
    executor->runOne();
    streams->prepare = [](auto& stream) { stream.startError = Error{"Test", 1, "no pixels", nullptr}; };
    coordinator->selectWindowAndStartCapture(other);
    waitForSaves(1);
    EXPECT_EQ(coordinator->state(), state(CaptureState::CaptureUnavailable{"no pixels"}));
}

TEST_F(CaptureCoordinatorTest, OfTwoStartsTheLaterWins)
{
    int completions = 0;
    coordinator->selectWindowAndStartCapture(film, [&] { ++completions; });
    coordinator->selectWindowAndStartCapture(other, [&] { ++completions; });
    executor->runAll();
    EXPECT_EQ(completions, 2);
    EXPECT_EQ(coordinator->state(), state(CaptureState::Capturing{other}));
    EXPECT_EQ(coordinator->selectedWindow(), other);
    EXPECT_THAT(errors, IsEmpty());
}

TEST_F(CaptureCoordinatorTest, AStopVoidsAStartInFlight)
{
    bool isCompleted = false;
    coordinator->selectWindowAndStartCapture(film, [&] { isCompleted = true; });
    coordinator->stopCapture();
    executor->runAll();
    EXPECT_TRUE(isCompleted);
    EXPECT_EQ(coordinator->state(), state(CaptureState::WaitingForWindowSelection{}));
    EXPECT_FALSE(coordinator->selectedWindow());
    EXPECT_FALSE(captureService->isCapturing());
    EXPECT_THAT(errors, IsEmpty());
}

TEST_F(CaptureCoordinatorTest, AWindowThatClosesInMidRecordingIsForgottenAndItsFileDeleted)
{
    record();
    const auto url = writers->writers.at(0)->outputURL;
    ASSERT_TRUE(std::filesystem::exists(url));
    streams->streams.back()->stopWithError({"Test", 1, "window gone", nullptr});
    executor->runAll();
    EXPECT_EQ(coordinator->state(), state(CaptureState::WaitingForWindowSelection{}));
    EXPECT_FALSE(coordinator->selectedWindow());
    EXPECT_THAT(errors, ElementsAre("Selected window was closed or is no longer available. Please select a window."));
    EXPECT_THAT(log->messages(), Contains("Capture stopped unexpectedly: <private>"));
    captureService->drain();
    EXPECT_FALSE(std::filesystem::exists(url));
    EXPECT_THAT(saved, IsEmpty());
}

TEST_F(CaptureCoordinatorTest, AnErrorOfTheServiceIsShownAsItIs)
{
    capture();
    coordinator->captureServiceDidEncounterError(*captureService, {"Test", 1, "out of order", nullptr});
    EXPECT_EQ(coordinator->state(), state(CaptureState::CaptureUnavailable{"out of order"}));
    EXPECT_THAT(errors, ElementsAre("out of order"));
}

TEST_F(CaptureCoordinatorTest, TheSaveClipShortcutOnlyWritesALine)
{
    capture();
    const auto before = coordinator->state();
    coordinator->shortcutManagerDidTriggerSaveClip();
    EXPECT_EQ(coordinator->state(), before);
    EXPECT_EQ(log->messages().back(), "Save clip shortcut triggered but feature has been removed.");
}

TEST_F(CaptureCoordinatorTest, PressesWithinHalfASecondOfTheLastAcceptedOneAreDropped)
{
    capture();
    press();
    EXPECT_TRUE(coordinator->isRecording());
    deliverAFrame();
    clock->advance(300ms);
    press();
    EXPECT_TRUE(coordinator->isRecording());
    clock->advance(400ms);
    press();
    waitForSaves(1);
    EXPECT_FALSE(coordinator->isRecording());
}

TEST_F(CaptureCoordinatorTest, BeforeSleepTheCaptureStopsAndTheMachineWaitsForIt)
{
    capture();
    workspace->sleep();
    EXPECT_THAT(log->messages(), Contains("System will sleep. Stopping active capture safely."));
    EXPECT_EQ(workspace->readyCount, 0);
    executor->runAll();
    EXPECT_EQ(coordinator->state(), state(CaptureState::WaitingForWindowSelection{}));
    EXPECT_EQ(streams->streams.back()->stopCount, 1);
    EXPECT_EQ(workspace->readyCount, 1);
}

TEST_F(CaptureCoordinatorTest, AfterSleepThePermissionsAreCheckedAndNothingIsStarted)
{
    access->isGranted = false;
    workspace->wake();
    EXPECT_THAT(log->messages(), Contains("System woke from sleep."));
    executor->runAll();
    EXPECT_FALSE(permissionManager->hasScreenRecordingPermission());
    EXPECT_FALSE(captureService->isCapturing());
}

TEST_F(CaptureCoordinatorTest, AChangeOfDisplaysIsOnlyLogged)
{
    capture();
    workspace->changeScreens();
    executor->runAll();
    EXPECT_EQ(log->messages().back(), "Display configuration changed.");
    EXPECT_EQ(coordinator->state(), state(CaptureState::Capturing{film}));
}

TEST_F(CaptureCoordinatorTest, ObserversHearOfAChangeBeforeItTakesEffect)
{
    std::vector<std::string> heard;
    QObject::connect(coordinator.get(), &CaptureCoordinator::objectWillChange, coordinator.get(),
        [&] { heard.push_back("will " + coordinator->state().statusDescription()); });
    QObject::connect(coordinator.get(), &CaptureCoordinator::stateChanged, coordinator.get(),
        [&] { heard.push_back("did " + coordinator->state().statusDescription()); });
    coordinator->captureServiceDidEncounterError(*captureService, {"Test", 1, "x", nullptr});
    EXPECT_THAT(heard, ElementsAre("will Waiting for window selection", "did Capture unavailable (x)"));
}

TEST(CaptureStateTest, EachCaseHasItsText)
{
    EXPECT_EQ(CaptureState{CaptureState::Case{CaptureState::SavingClip{"almost done"}}}.statusDescription(), "almost done");
    EXPECT_EQ(CaptureState{CaptureState::Case{CaptureState::NotConfigured{}}}.statusDescription(), "Not configured");
}

TEST(CaptureStateTest, EqualMeansTheSameCaseAndTheSameValues)
{
    using State = CaptureState;
    EXPECT_EQ(State{State::Case{State::Capturing{film}}}, State{State::Case{State::Capturing{film}}});
    EXPECT_NE(State{State::Case{State::Capturing{film}}}, State{State::Case{State::Capturing{other}}});
    EXPECT_NE(State{State::Case{State::SavingClip{"a"}}}, State{State::Case{State::CaptureUnavailable{"a"}}});
    EXPECT_NE((State{State::Case{State::RecordingClip{film, {}}}}),
        (State{State::Case{State::RecordingClip{film, State::Date{std::chrono::seconds{1}}}}}));
}

}  // namespace
}  // namespace velmora
