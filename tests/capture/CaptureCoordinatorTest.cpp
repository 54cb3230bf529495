#include "capture/CaptureCoordinator.h"

#include "tests/support/CapturedLog.h"
#include "tests/support/CoordinatorFixture.h"
#include "tests/support/Samples.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/Windows.h"

#include <future>
#include <gmock/gmock.h>
#include <map>

namespace velmora {
namespace {

using namespace std::chrono_literals;
using platform::StreamOutputType;
using test::film;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using StartOutcome = CaptureCoordinator::StartOutcome;

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
        {*library, *permissionManager, *shortcutManager, captureService, writers, fileManager, workspace, clock, executor});
    EXPECT_EQ(fresh->state(), state(CaptureState::NotConfigured{}));
}

TEST_F(CaptureCoordinatorTest, AWindowChosenWithoutPermissionChangesNothingElse)
{
    capture(other);
    access->isGranted = false;
    permissionManager->checkPermissions();
    bool isCompleted = false;
    coordinator->selectWindowAndStartCapture(film, [&](const auto& outcome) {
        isCompleted = true;
        EXPECT_EQ(outcome.error().localizedDescription, "Screen recording permission is required.");
    });
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
    std::string told;
    coordinator->selectWindowAndStartCapture(film, [&](const auto& outcome) { told = outcome.error().localizedDescription; });
    executor->runAll();
    EXPECT_EQ(told, "Failed to capture window: no pixels");
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

TEST_F(CaptureCoordinatorTest, AFailedSaveLeavesTheClipThatWasSavedBeforeAsTheLast)
{
    record();
    coordinator->stopRecording();
    waitForSaves(1);
    clock->advance(1s);
    coordinator->startRecording();
    deliverAFrame();
    writers->writers.at(1)->finishStatus = platform::AssetWriter::Status::failed;
    coordinator->stopRecording();
    executor->runUntil([&] { return !errors.empty(); });
    executor->runAll();
    EXPECT_EQ(coordinator->lastSavedClipURL(), writers->writers.at(0)->outputURL);
    EXPECT_EQ(saved.size(), 1U);
}

TEST_F(CaptureCoordinatorTest, TheListTheLastClipTheStateAndTheCallbackChangeInThisOrder)
{
    record();
    const auto url = writers->writers.at(0)->outputURL;
    std::vector<std::string> order;
    const auto isListed = [&] { return library->recentClips().size() == 1; };
    QObject::connect(coordinator.get(), &CaptureCoordinator::lastSavedClipURLChanged, coordinator.get(), [&] {
        EXPECT_TRUE(isListed());
        EXPECT_EQ(coordinator->lastSavedClipURL(), url);
        EXPECT_TRUE(coordinator->state().is<CaptureState::RecordingClip>());
        order.emplace_back("last clip");
    });
    QObject::connect(coordinator.get(), &CaptureCoordinator::stateChanged, coordinator.get(), [&] {
        EXPECT_EQ(coordinator->lastSavedClipURL(), url);
        order.emplace_back("state");
    });
    coordinator->onClipSaved = [&](const auto& clip, double, bool) {
        EXPECT_EQ(coordinator->state(), state(CaptureState::Capturing{film}));
        EXPECT_EQ(log->messages().back(), "Finished manual recording: <private>");
        order.emplace_back("callback");
        saved.push_back({clip, 0, true});
    };
    coordinator->stopRecording();
    waitForSaves(1);
    EXPECT_THAT(order, ElementsAre("last clip", "state", "callback"));
}

TEST_F(CaptureCoordinatorTest, OfAFailedSaveTheStateChangesBeforeTheCallback)
{
    record();
    writers->writers.at(0)->finishStatus = platform::AssetWriter::Status::failed;
    std::optional<CaptureState> stateAtCallback;
    coordinator->onCaptureError = [&](const std::string&) { stateAtCallback = coordinator->state(); };
    coordinator->stopRecording();
    executor->runUntil([&] { return stateAtCallback.has_value(); });
    EXPECT_EQ(*stateAtCallback, state(CaptureState::Capturing{film}));
}

TEST_F(CaptureCoordinatorTest, TheSaveIsATaskOfItsOwn)
{
    record();
    for (const auto stop : {&CaptureCoordinator::toggleRecording, &CaptureCoordinator::shortcutManagerDidTriggerToggleRecording}) {
        ((*coordinator).*stop)();
        EXPECT_TRUE(coordinator->isRecording()) << "nothing happens within the call";
    }
    coordinator->stopRecording();
    EXPECT_TRUE(coordinator->isRecording());
    EXPECT_EQ(writers->writers.at(0)->finishCount, 0);
    waitForSaves(1);
    EXPECT_FALSE(coordinator->isRecording());
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
    EXPECT_EQ(coordinator->state(), recording) << "the earlier save does not end this recording";
    deliverAFrame();
    assetReader->answersAtOnce = true;
    coordinator->toggleRecording();
    waitForSaves(2);
    EXPECT_EQ(coordinator->state(), state(CaptureState::Capturing{film}));
    EXPECT_NE(saved[0].clip, saved[1].clip);
}

/// What somebody who asked for the end of a recording was told.
struct Answer {
    std::filesystem::path clip;
    std::string complaint;
    int count = 0;

    CaptureCoordinator::SaveCompletion take()
    {
        return [this](const Result<std::filesystem::path>& result) {
            ++count;
            if (result)
                clip = *result;
            else
                complaint = result.error().localizedDescription;
        };
    }
};

class OverlappingSavesTest : public CaptureCoordinatorTest {
protected:
    OverlappingSavesTest()
    {
        writers->onCreate = [](auto& made) { made.holdsFinish = true; };
        capture();
    }

    /// Records something and asks for its end.
    void recordAndStop(Answer& answer)
    {
        clock->advance(1s);
        ASSERT_TRUE(coordinator->startRecording());
        deliverAFrame();
        coordinator->stopRecording(answer.take());
        executor->runAll();
        writers->writers.back()->awaitFinish();
    }

    void finish(std::size_t number, Answer& answer)
    {
        executor->runAll();
        writers->writers.at(number)->answerFinish();
        executor->runUntil([&] { return answer.count > 0; });
        executor->runAll();
    }

    [[nodiscard]] std::filesystem::path file(std::size_t number) const { return writers->writers.at(number)->outputURL; }
};

TEST_F(OverlappingSavesTest, EveryCallerGetsItsOwnClipThoughTheLastIsSavedFirst)
{
    Answer first;
    Answer second;
    Answer third;
    recordAndStop(first);
    recordAndStop(second);
    recordAndStop(third);
    finish(2, third);
    EXPECT_EQ(first.count + second.count, 0);
    finish(0, first);
    EXPECT_EQ(second.count, 0);
    finish(1, second);
    EXPECT_EQ(first.clip, file(0));
    EXPECT_EQ(second.clip, file(1));
    EXPECT_EQ(third.clip, file(2));
    EXPECT_EQ(first.count + second.count + third.count, 3);
    EXPECT_EQ(saved.size(), 3U);
    EXPECT_EQ(coordinator->lastSavedClipURL(), file(1)) << "the one that was saved last";
}

TEST_F(OverlappingSavesTest, AFailureIsToldToItsOwnCallerAndTheOthersGetTheirClips)
{
    Answer first;
    Answer second;
    recordAndStop(first);
    recordAndStop(second);
    writers->writers.at(1)->finishStatus = platform::AssetWriter::Status::failed;
    writers->writers.at(1)->currentError = Error{"POSIX", 28, "No space left on device", nullptr};
    finish(1, second);
    EXPECT_EQ(second.complaint, "Failed saving recording: No space left on device");
    EXPECT_THAT(errors, ElementsAre(second.complaint));
    EXPECT_EQ(first.count, 0);
    finish(0, first);
    EXPECT_EQ(first.clip, file(0));
    EXPECT_EQ(second.count, 1);
}

TEST_F(OverlappingSavesTest, AFailedStartIsNoAnswerToWhoWaitsForAClip)
{
    Answer first;
    recordAndStop(first);
    writers->createError = Error{"POSIX", 28, "No space left on device", nullptr};
    const auto started = coordinator->startRecording();
    ASSERT_FALSE(started);
    EXPECT_EQ(started.error().localizedDescription, "Failed to start recording: No space left on device");
    executor->runAll();
    EXPECT_EQ(first.count, 0);
    finish(0, first);
    EXPECT_EQ(first.clip, file(0));
}

TEST_F(OverlappingSavesTest, AStopOfOneRecordingDoesNotEndTheCaptureOfAnotherWhoseClipIsNotSafe)
{
    Answer first;
    Answer second;
    recordAndStop(first);
    clock->advance(1s);
    ASSERT_TRUE(coordinator->startRecording());
    deliverAFrame();
    coordinator->stopRecordingAndCapture(second.take());
    // The first clip is there before the second one has begun to end.
    writers->writers.at(0)->answerFinish();
    executor->runUntil([&] { return first.count > 0; });
    executor->runAll();
    EXPECT_EQ(second.count, 0);
    finish(1, second);
    EXPECT_EQ(second.clip, file(1));
    EXPECT_EQ(writers->writers.at(1)->cancelCount, 0);
    EXPECT_TRUE(std::filesystem::exists(file(1)));
    EXPECT_EQ(coordinator->state(), state(CaptureState::WaitingForWindowSelection{}));
}

TEST_F(OverlappingSavesTest, AfterAStopOfTheCaptureNothingBeginsWhileTheClipIsSaved)
{
    Answer answer;
    ASSERT_TRUE(coordinator->startRecording());
    deliverAFrame();
    coordinator->stopRecordingAndCapture(answer.take());
    executor->runAll();
    EXPECT_FALSE(captureService->isCapturing());
    const auto started = coordinator->startRecording();
    ASSERT_FALSE(started);
    EXPECT_EQ(started.error().localizedDescription, "Cannot record: Please select a video window first.");
    finish(0, answer);
    EXPECT_EQ(answer.clip, file(0));
}

TEST_F(OverlappingSavesTest, SeveralWhoEndOneRecordingAllGetItsClip)
{
    Answer toggler;
    Answer stopper;
    ASSERT_TRUE(coordinator->startRecording());
    deliverAFrame();
    coordinator->stopRecording(toggler.take());
    coordinator->toggleRecording();
    coordinator->stopRecordingAndCapture(stopper.take());
    finish(0, stopper);
    EXPECT_EQ(toggler.clip, file(0));
    EXPECT_EQ(stopper.clip, file(0));
    EXPECT_EQ(toggler.count, 1);
    EXPECT_EQ(saved.size(), 1U);
    EXPECT_FALSE(captureService->isCapturing());
}

TEST_F(OverlappingSavesTest, TheShellHearsBeforeTheCaller)
{
    std::vector<std::string> order;
    coordinator->onClipSaved = [&](const auto&, double, bool) { order.emplace_back("shell"); };
    ASSERT_TRUE(coordinator->startRecording());
    deliverAFrame();
    coordinator->stopRecording([&](const auto&) { order.emplace_back("caller"); });
    executor->runAll();
    writers->writers.at(0)->answerFinish();
    executor->runUntil([&] { return order.size() == 2; });
    EXPECT_THAT(order, ElementsAre("shell", "caller"));
}

TEST_F(OverlappingSavesTest, WithoutARecordingTheCallerAloneIsToldSo)
{
    Answer answer;
    coordinator->stopRecording(answer.take());
    EXPECT_EQ(answer.complaint, "No recording is running.");
    EXPECT_THAT(errors, IsEmpty());
}

TEST_F(OverlappingSavesTest, WhoWaitsForAllSavesHearsWhenTheLastCallerKnows)
{
    Answer first;
    Answer second;
    recordAndStop(first);
    ASSERT_TRUE(coordinator->startRecording());
    deliverAFrame();
    coordinator->stopRecording(second.take());
    int told = 0;
    coordinator->notifyWhenSaved([&] { told = first.count + second.count; });
    writers->writers.at(1)->finishStatus = platform::AssetWriter::Status::failed;
    executor->runAll();
    finish(1, second);
    EXPECT_EQ(told, 0);
    finish(0, first);
    EXPECT_EQ(told, 2);
}

TEST_F(CaptureCoordinatorTest, WhereNothingIsSavedNobodyWaits)
{
    bool isTold = false;
    coordinator->notifyWhenSaved([&] { isTold = true; });
    EXPECT_TRUE(isTold);
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
    std::map<std::uint32_t, StartOutcome> outcomes;
    coordinator->selectWindowAndStartCapture(film, [&](const auto& outcome) { outcomes.emplace(film.id, outcome.value()); });
    coordinator->selectWindowAndStartCapture(other, [&](const auto& outcome) { outcomes.emplace(other.id, outcome.value()); });
    executor->runAll();
    EXPECT_THAT(outcomes, ElementsAre(Pair(film.id, StartOutcome::superseded), Pair(other.id, StartOutcome::started)));
    EXPECT_EQ(coordinator->state(), state(CaptureState::Capturing{other}));
    EXPECT_EQ(coordinator->selectedWindow(), other);
    EXPECT_THAT(errors, IsEmpty());
}

TEST_F(CaptureCoordinatorTest, AnOvertakenStartThatFailsSaysNothing)
{
    streams->prepare = [](auto& stream) { stream.holdsStart = true; };
    capture(film);
    const auto overtaken = streams->streams.back();
    overtaken->startError = Error{"Test", 1, "no pixels", nullptr};
    capture(other);
    streams->streams.back()->answerStart();
    executor->runAll();
    const auto lines = log->messages();
    overtaken->answerStart();
    executor->runAll();
    EXPECT_THAT(errors, IsEmpty());
    EXPECT_EQ(log->messages(), lines);
    EXPECT_EQ(coordinator->state(), state(CaptureState::Capturing{other}));
    EXPECT_EQ(coordinator->selectedWindow(), other);
}

TEST_F(CaptureCoordinatorTest, AStopVoidsAStartInFlight)
{
    std::optional<StartOutcome> told;
    coordinator->selectWindowAndStartCapture(film, [&](const auto& outcome) { told = outcome.value(); });
    coordinator->stopCapture();
    executor->runAll();
    EXPECT_EQ(told, StartOutcome::superseded);
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

TEST_F(CaptureCoordinatorTest, TheMachineDoesNotSleepBeforeALateStreamHasStopped)
{
    capture();
    streams->streams.back()->holdsStop = true;
    workspace->sleep();
    executor->runAll();
    EXPECT_EQ(workspace->readyCount, 0);
    streams->streams.back()->answerStop();
    executor->runAll();
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

TEST_F(CaptureCoordinatorTest, ObserversHearOfAChangeOnceItHasTakenEffect)
{
    std::vector<std::string> heard;
    QObject::connect(coordinator.get(), &CaptureCoordinator::stateChanged, coordinator.get(),
        [&] { heard.push_back(coordinator->state().statusDescription()); });
    coordinator->captureServiceDidEncounterError(*captureService, {"Test", 1, "x", nullptr});
    EXPECT_THAT(heard, ElementsAre("Capture unavailable (x)"));
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
