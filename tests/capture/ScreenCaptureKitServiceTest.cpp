#include "capture/ScreenCaptureKitService.h"

#include "platform/fake/FakeAssetWriter.h"
#include "platform/fake/FakeCaptureStream.h"
#include "platform/fake/FakeCompressionSession.h"
#include "platform/fake/FakeFileManager.h"
#include "platform/fake/FakeScreens.h"
#include "platform/fake/FakeShareableContent.h"
#include "platform/fake/ManualExecutor.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/Samples.h"
#include "tests/support/TemporaryDirectory.h"

#include <atomic>
#include <future>
#include <gtest/gtest.h>
#include <limits>
#include <thread>

namespace velmora {
namespace {

using platform::ContentFilter;
using platform::ShareableDisplay;
using platform::ShareableWindow;
using platform::StreamOutputType;
using Outcome = ScreenCaptureKitService::StartOutcome;

class Delegate final : public ScreenCaptureKitServiceDelegate {
public:
    void captureServiceDidEncounterError(ScreenCaptureKitService&, const Error& error) override
    {
        errors.push_back(error.localizedDescription);
    }
    void captureServiceDidStopUnexpectedly(ScreenCaptureKitService& service, const std::string& reason) override
    {
        wasCapturing = service.isCapturing();
        reasons.push_back(reason);
    }

    std::vector<std::string> errors;
    std::vector<std::string> reasons;
    bool wasCapturing = true;
};

class ScreenCaptureKitServiceTest : public testing::Test {
protected:
    ScreenCaptureKitServiceTest()
    {
        service->setDelegate(delegate);
        content->content.displays = {{1, {0, 0, 1920, 1080}}, {2, {1920, 0, 1280, 1024}}};
        content->content.applications = {{"org.other", "Other", 10}, {"org.player", "Player", 20}};
        place({100, 50, 1280, 720});
    }

    void place(Rect frame)
    {
        live.frame = frame;
        chosen.frame = frame;
        content->content.windows = {live};
    }

    std::optional<Result<Outcome>> start()
    {
        std::optional<Result<Outcome>> outcome;
        service->startCapture(chosen, [&](Result<Outcome> result) { outcome = std::move(result); });
        executor->runAll();
        return outcome;
    }

    void startOrFail()
    {
        const auto outcome = start();
        ASSERT_TRUE(outcome && outcome->has_value());
        ASSERT_EQ(**outcome, Outcome::started);
    }

    [[nodiscard]] fake::FakeCaptureStream& stream() const { return *streams->streams.back(); }

    /// Waits until everything delivered so far has gone through all queues.
    void settle()
    {
        service->sampleQueue().drain();
        service->audioQueue().drain();
        service->encoder().endingQueue().drain();
        service->encoder().outputQueue().drain();
    }

    std::optional<Result<std::filesystem::path>> stopRecording()
    {
        std::optional<Result<std::filesystem::path>> outcome;
        service->stopManualRecording([&](Result<std::filesystem::path> result) { outcome = std::move(result); });
        executor->runUntil([&] { return outcome.has_value(); });
        return outcome;
    }

    ShareableWindow live{.windowID = 77,
        .title = "Film",
        .frame = {},
        .windowLayer = 0,
        .isOnScreen = true,
        .owningApplication = platform::RunningApplication{"org.player", "Player", 20}};
    CapturedWindowInfo chosen{.id = 77, .title = "Film", .appName = "Player", .bundleID = "org.player", .frame = {}, .isOnScreen = true};

    test::TemporaryDirectory folder;
    test::CapturedLog log;
    const std::filesystem::path url = folder.path() / "clip.mp4";
    std::shared_ptr<fake::FakeShareableContent> content = std::make_shared<fake::FakeShareableContent>();
    std::shared_ptr<fake::FakeCaptureStreams> streams = std::make_shared<fake::FakeCaptureStreams>();
    std::shared_ptr<fake::FakeCompressionSessions> sessions = std::make_shared<fake::FakeCompressionSessions>();
    std::shared_ptr<fake::FakeAssetWriters> writers = std::make_shared<fake::FakeAssetWriters>();
    std::shared_ptr<fake::FakeFileManager> fileManager = std::make_shared<fake::FakeFileManager>();
    std::shared_ptr<fake::FakeScreens> screens = std::make_shared<fake::FakeScreens>();
    std::shared_ptr<fake::ManualExecutor> executor = std::make_shared<fake::ManualExecutor>();
    std::shared_ptr<Delegate> delegate = std::make_shared<Delegate>();
    std::shared_ptr<ScreenCaptureKitService> service =
        ScreenCaptureKitService::create({content, streams, sessions, writers, fileManager, screens, executor});
};

TEST_F(ScreenCaptureKitServiceTest, BeginsIdleWithItsQueues)
{
    EXPECT_FALSE(service->isCapturing());
    EXPECT_FALSE(service->isRecordingManualClip());
    EXPECT_FALSE(service->activeWindow());
    EXPECT_EQ(service->sampleQueue().label(), "com.velmora.capture.sampleQueue");
    EXPECT_EQ(service->audioQueue().label(), "com.velmora.capture.audioQueue");
    EXPECT_EQ(service->sampleQueue().qualityOfService(), SerialQueue::QualityOfService::userInteractive);
    EXPECT_EQ(service->audioQueue().qualityOfService(), SerialQueue::QualityOfService::userInteractive);
}

TEST_F(ScreenCaptureKitServiceTest, AStartFindsTheLiveWindowThenAsksForEverything)
{
    startOrFail();
    EXPECT_EQ(content->queries, (std::vector<fake::FakeShareableContent::Query>{{true, true}, {false, false}}));
    EXPECT_TRUE(service->isCapturing());
    EXPECT_EQ(service->activeWindow(), chosen);
}

TEST_F(ScreenCaptureKitServiceTest, TheSoundOfARecordingIsMadeReadyWhenTheCaptureStarts)
{
    startOrFail();
    ASSERT_EQ(writers->preparedSounds.size(), 1U);
    ASSERT_TRUE(service->startManualRecording(url));
    EXPECT_EQ(writers->writers.back()->inputs.front()->settings, writers->preparedSounds.front()) << "what is made ready is what is used";
}

TEST_F(ScreenCaptureKitServiceTest, ConfiguresTheStreamWithEveryValue)
{
    startOrFail();
    const platform::StreamConfiguration expected{
        .width = 1280,
        .height = 720,
        .pixelFormat = FourCharacterCode{"BGRA"},
        .capturesAudio = true,
        .sampleRate = 48000,
        .channelCount = 2,
        .excludesCurrentProcessAudio = true,
        .ignoreShadowsSingleWindow = true,
        .ignoreShadowsDisplay = true,
        .showsCursor = true,
        .minimumFrameInterval = MediaTime{1, 60},
        .sourceRect = Rect{100, 50, 1280, 720},
    };
    EXPECT_EQ(stream().configuration, expected);
    ASSERT_EQ(stream().outputs.size(), 2U);
    EXPECT_EQ(stream().outputs[0].type, StreamOutputType::screen);
    EXPECT_EQ(stream().outputs[0].queue.get(), &service->sampleQueue());
    EXPECT_EQ(stream().outputs[1].type, StreamOutputType::audio);
    EXPECT_EQ(stream().outputs[1].queue.get(), &service->audioQueue());
}

TEST_F(ScreenCaptureKitServiceTest, ScalesTheSizeByTheMainScreensFactorAndTruncates)
{
    screens->scale = 1.5F;
    place({0, 0, 641, 479});
    startOrFail();
    EXPECT_EQ(stream().configuration.width, 961);
    EXPECT_EQ(stream().configuration.height, 718);
    EXPECT_EQ(stream().configuration.sourceRect, (Rect{0, 0, 641, 479}));
}

TEST_F(ScreenCaptureKitServiceTest, WithoutAMainScreenTheScaleIsTwo)
{
    screens->scale = std::nullopt;
    startOrFail();
    EXPECT_EQ(stream().configuration.width, 2560);
    EXPECT_EQ(stream().configuration.height, 1440);
}

TEST_F(ScreenCaptureKitServiceTest, AWindowHalfAPointWideYieldsAWidthOfTwo)
{
    place({0, 0, 0.5, 300});
    startOrFail();
    EXPECT_EQ(stream().configuration.width, 2);
    EXPECT_EQ(stream().configuration.height, 300);
}

TEST_F(ScreenCaptureKitServiceTest, ASizeThatIsNotFiniteIsFatal)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    place({0, 0, std::numeric_limits<double>::infinity(), 300});
    EXPECT_DEATH(start(), "does not fit");
    place({0, 0, 1e30, 300});
    EXPECT_DEATH(start(), "does not fit");
}

TEST_F(ScreenCaptureKitServiceTest, UsesTheDisplayFilterWithTheWindowsApplication)
{
    startOrFail();
    const auto& filter = stream().filter;
    EXPECT_EQ(filter.kind(), ContentFilter::Kind::displayIncludingApplications);
    EXPECT_EQ(filter.display(), (ShareableDisplay{1, {0, 0, 1920, 1080}}));
    EXPECT_EQ(filter.applications(), (std::vector<platform::RunningApplication>{{"org.player", "Player", 20}}));
    EXPECT_TRUE(filter.exceptingWindows().empty());
    EXPECT_EQ(filter.window(), live);
    EXPECT_EQ(log->messages(),
        (std::vector<std::string>{"Using app-level display filter for <private> on display 1 (Chromium-safe audio)",
            "Started window-specific capture for <private> (1280x720)"}));
}

TEST_F(ScreenCaptureKitServiceTest, AWindowPartlyOnTwoDisplaysUsesTheFirstInContentOrder)
{
    std::swap(content->content.displays[0], content->content.displays[1]);
    place({1800, 10, 400, 300});
    startOrFail();
    EXPECT_EQ(stream().filter.display()->displayID, 2U);
    EXPECT_EQ(stream().configuration.sourceRect, (Rect{0, 10, 400, 300})) << "left of the display's origin is clamped";
}

TEST_F(ScreenCaptureKitServiceTest, AWindowThatIntersectsNoDisplayUsesTheFirstWithItsSourceClamped)
{
    place({-5000, -4000, 640, 480});
    startOrFail();
    EXPECT_EQ(stream().filter.kind(), ContentFilter::Kind::displayIncludingApplications);
    EXPECT_EQ(stream().filter.display()->displayID, 1U);
    EXPECT_EQ(stream().configuration.sourceRect, (Rect{0, 0, 640, 480}));
}

TEST_F(ScreenCaptureKitServiceTest, AnUnknownApplicationMeansTheWindowFilterWithTheSourceStillSet)
{
    content->content.applications = {{"org.other", "Other", 10}};
    place({2000, 100, 640, 480});
    startOrFail();
    EXPECT_EQ(stream().filter.kind(), ContentFilter::Kind::desktopIndependentWindow);
    EXPECT_EQ(stream().filter.window(), live);
    EXPECT_EQ(stream().configuration.sourceRect, (Rect{80, 100, 640, 480}));
    EXPECT_EQ(log->count("Falling back to desktopIndependentWindow filter for <private>"), 1U);
}

TEST_F(ScreenCaptureKitServiceTest, ContentWithoutADisplayMeansTheWindowFilterAndNoSource)
{
    content->content.displays.clear();
    startOrFail();
    EXPECT_EQ(stream().filter.kind(), ContentFilter::Kind::desktopIndependentWindow);
    EXPECT_FALSE(stream().configuration.sourceRect);
}

TEST_F(ScreenCaptureKitServiceTest, AVanishedWindowFailsWithCodeMinusOneAndKeepsNothing)
{
    content->content.windows.clear();
    const auto outcome = start();
    ASSERT_TRUE(outcome && !outcome->has_value());
    EXPECT_EQ(
        outcome->error(), (Error{"Velmora.ScreenCaptureKitService", -1, "Selected window is no longer on screen or available.", nullptr}));
    EXPECT_FALSE(service->isCapturing());
    EXPECT_TRUE(streams->streams.empty());
}

TEST_F(ScreenCaptureKitServiceTest, AMinimisedWindowCannotBeStarted)
{
    live.isOnScreen = false;
    content->content.windows = {live};
    const auto outcome = start();
    ASSERT_TRUE(outcome && !outcome->has_value());
    EXPECT_EQ(outcome->error().code, -1);
}

TEST_F(ScreenCaptureKitServiceTest, AFailedQueryIsPassedOnUnchanged)
{
    content->error = Error{"Desktop", 9, "gone", nullptr};
    const auto outcome = start();
    ASSERT_TRUE(outcome && !outcome->has_value());
    EXPECT_EQ(outcome->error(), *content->error);
}

TEST_F(ScreenCaptureKitServiceTest, ARefusedOutputOrAFailedStartKeepsNothing)
{
    for (const auto type : {StreamOutputType::screen, StreamOutputType::audio}) {
        streams->prepare = [type](fake::FakeCaptureStream& made) { made.refusedOutput = type; };
        const auto outcome = start();
        ASSERT_TRUE(outcome && !outcome->has_value());
        EXPECT_EQ(outcome->error().localizedDescription, "The output cannot be added.");
        EXPECT_FALSE(stream().started);
    }
    const Error failure{"Stream", 3, "no permission", nullptr};
    streams->prepare = [&](fake::FakeCaptureStream& made) { made.startError = failure; };
    const auto outcome = start();
    ASSERT_TRUE(outcome && !outcome->has_value());
    EXPECT_EQ(outcome->error(), failure);
    EXPECT_FALSE(service->isCapturing());
    EXPECT_FALSE(service->activeWindow());
    EXPECT_EQ(service->startManualRecording(url).error().code, -2);
}

TEST_F(ScreenCaptureKitServiceTest, AStartStopsTheStreamThatRunsFirst)
{
    startOrFail();
    const auto first = streams->streams.back();
    startOrFail();
    EXPECT_EQ(first->stopCount, 1);
    EXPECT_EQ(streams->streams.size(), 2U);
    EXPECT_EQ(stream().stopCount, 0);
}

TEST_F(ScreenCaptureKitServiceTest, OfOverlappingStartsTheLastWinsAndTheEarlierStreamIsStopped)
{
    streams->prepare = [](fake::FakeCaptureStream& made) { made.holdsStart = true; };
    std::vector<Outcome> outcomes;
    const auto note = [&](Result<Outcome> result) { outcomes.push_back(result.value()); };
    service->startCapture(chosen, note);
    executor->runAll();
    const auto first = streams->streams.back();
    service->startCapture(chosen, note);
    executor->runAll();
    const auto second = streams->streams.back();
    ASSERT_NE(first, second);

    second->answerStart();
    first->answerStart();
    executor->runAll();
    EXPECT_EQ(outcomes, (std::vector<Outcome>{Outcome::started, Outcome::superseded}));
    EXPECT_EQ(first->stopCount, 1);
    EXPECT_EQ(second->stopCount, 0);
    EXPECT_TRUE(service->isCapturing());
}

TEST_F(ScreenCaptureKitServiceTest, AStopVoidsAStartInFlightAtEveryStep)
{
    content->holdsAnswers = true;
    std::optional<Result<Outcome>> outcome;
    const auto begin = [&] {
        outcome.reset();
        service->startCapture(chosen, [&](Result<Outcome> result) { outcome = std::move(result); });
    };

    begin();
    service->stopCapture();
    content->answerNext();
    executor->runAll();
    ASSERT_TRUE(outcome);
    EXPECT_EQ(*outcome, Outcome::superseded);

    begin();
    content->answerNext();
    executor->runAll();
    service->stopCapture();
    content->answerNext();
    executor->runAll();
    EXPECT_EQ(*outcome, Outcome::superseded);
    EXPECT_TRUE(streams->streams.empty());

    content->holdsAnswers = false;
    streams->prepare = [](fake::FakeCaptureStream& made) { made.holdsStart = true; };
    begin();
    executor->runAll();
    service->stopCapture();
    stream().answerStart();
    executor->runAll();
    EXPECT_EQ(*outcome, Outcome::superseded);
    EXPECT_EQ(stream().stopCount, 1);
    EXPECT_FALSE(service->isCapturing());
}

TEST_F(ScreenCaptureKitServiceTest, AStopOfAnIdleServiceDoesNothing)
{
    service->stopCapture();
    EXPECT_TRUE(log->lines().empty());
}

TEST_F(ScreenCaptureKitServiceTest, AStopDoesNotWaitForPicturesThatAreBeingEncoded)
{
    startOrFail();
    stream().deliver(test::screenSample(1), StreamOutputType::screen);
    settle();
    std::promise<void> released;
    bool isOnTheCallersThread = false;
    sessions->records[0]->onComplete = [&, caller = std::this_thread::get_id()] {
        isOnTheCallersThread = std::this_thread::get_id() == caller;
        // There it would wait for ever.
        if (!isOnTheCallersThread)
            released.get_future().wait();
    };
    service->stopCapture();
    EXPECT_FALSE(service->isCapturing());
    bool hasGoneOn = false;
    executor->async([&] { hasGoneOn = true; });
    executor->runAll();
    EXPECT_TRUE(hasGoneOn);
    released.set_value();
    service->drain();
    EXPECT_FALSE(isOnTheCallersThread);
    EXPECT_TRUE(sessions->records[0]->invalidated) << "the end of the program waits for it";
}

TEST_F(ScreenCaptureKitServiceTest, AStopEndsStreamAndEncoder)
{
    startOrFail();
    stream().deliver(test::screenSample(1), StreamOutputType::screen);
    settle();
    stream().stopError = Error{"Stream", 1, "was gone", nullptr};
    service->stopCapture();
    EXPECT_FALSE(service->isCapturing());
    EXPECT_FALSE(service->activeWindow());
    EXPECT_EQ(stream().stopCount, 1);
    EXPECT_EQ(service->encoder().currentWidth(), 0);
    settle();
    EXPECT_TRUE(sessions->records[0]->invalidated);
    EXPECT_EQ(log->count("Error stopping capture stream: <private>"), 1U);
    EXPECT_EQ(log->messages().back(), "Stopped window capture.");
}

TEST_F(ScreenCaptureKitServiceTest, PicturesGoToTheEncoderWithoutACopyWhetherOrNotARecordingRuns)
{
    startOrFail();
    const auto sample = test::screenSample(5);
    stream().deliver(sample, StreamOutputType::screen);
    settle();
    ASSERT_EQ(sessions->records.size(), 1U);
    const auto& frame = sessions->records[0]->frames.at(0);
    EXPECT_EQ(frame.pixelBuffer, sample->imageBuffer);
    EXPECT_EQ(frame.presentationTimeStamp, sample->presentationTimeStamp);
    EXPECT_EQ(frame.duration, sample->duration);
    EXPECT_TRUE(writers->writers.empty());
}

TEST_F(ScreenCaptureKitServiceTest, ABufferWithoutAPictureOrFromTheMicrophoneIsDropped)
{
    startOrFail();
    stream().deliver(test::audioSample(5), StreamOutputType::screen);
    ASSERT_TRUE(service->startManualRecording(url));
    auto& capture = stream();
    service->streamDidOutputSampleBuffer(capture, test::audioSample(6), StreamOutputType::microphone);
    settle();
    EXPECT_TRUE(sessions->records.empty());
    ASSERT_TRUE(stopRecording());
    EXPECT_TRUE(writers->writers[0]->input(MediaType::audio)->samples.empty());
}

TEST_F(ScreenCaptureKitServiceTest, BuffersThatAreStillQueuedAfterAStopAreDropped)
{
    startOrFail();
    const auto old = streams->streams.back();
    service->stopCapture();
    old->deliverEvenIfStopped(test::screenSample(5), StreamOutputType::screen);
    settle();
    EXPECT_TRUE(sessions->records.empty());

    startOrFail();
    old->deliverEvenIfStopped(test::screenSample(6), StreamOutputType::screen);
    settle();
    EXPECT_TRUE(sessions->records.empty()) << "a picture of the previous window must not reach the next one's recording";
}

TEST_F(ScreenCaptureKitServiceTest, ARecordingGetsCompressedFramesAndRawSoundAndIsReturned)
{
    startOrFail();
    ASSERT_TRUE(service->startManualRecording(url));
    EXPECT_TRUE(service->isRecordingManualClip());
    EXPECT_EQ(log->messages().back(), "Manual recording session started at <private>");
    stream().deliver(test::screenSample(1000), StreamOutputType::screen);
    settle();
    const auto sound = test::audioSample(2000);
    stream().deliver(sound, StreamOutputType::audio);
    stream().deliver(test::screenSample(3000), StreamOutputType::screen);
    settle();

    const auto outcome = stopRecording();
    EXPECT_EQ(*outcome, url);
    EXPECT_FALSE(service->isRecordingManualClip());
    EXPECT_TRUE(service->isCapturing());
    const auto& asset = *writers->writers.at(0);
    ASSERT_EQ(asset.input(MediaType::video)->samples.size(), 2U);
    EXPECT_EQ(asset.input(MediaType::video)->samples[0]->presentationTimeStamp, MediaTime::nanoseconds(1000));
    EXPECT_EQ(asset.input(MediaType::audio)->samples, std::vector<SampleBufferRef>{sound});
}

TEST_F(ScreenCaptureKitServiceTest, SoundBeforeTheFirstVideoFrameIsGivenToTheWriterWhichDecides)
{
    startOrFail();
    ASSERT_TRUE(service->startManualRecording(url));
    stream().deliver(test::audioSample(10), StreamOutputType::audio);
    settle();
    stream().deliver(test::screenSample(1000), StreamOutputType::screen);
    settle();
    ASSERT_TRUE(stopRecording());
    EXPECT_TRUE(writers->writers[0]->input(MediaType::audio)->samples.empty());
}

TEST_F(ScreenCaptureKitServiceTest, NothingReachesAWriterAfterItsRecordingWasStopped)
{
    startOrFail();
    ASSERT_TRUE(service->startManualRecording(url));
    stream().deliver(test::screenSample(1000), StreamOutputType::screen);
    settle();
    ASSERT_TRUE(stopRecording());
    stream().deliver(test::screenSample(2000), StreamOutputType::screen);
    stream().deliver(test::audioSample(2000), StreamOutputType::audio);
    settle();
    EXPECT_EQ(writers->writers[0]->input(MediaType::video)->samples.size(), 1U);
}

TEST_F(ScreenCaptureKitServiceTest, ARecordingWithoutACaptureFailsWithCodeMinusTwo)
{
    const auto result = service->startManualRecording(url);
    ASSERT_FALSE(result.has_value());
    EXPECT_EQ(result.error(),
        (Error{"Velmora.ScreenCaptureKitService", -2, "Cannot start recording: No active window capture session.", nullptr}));
    EXPECT_TRUE(writers->writers.empty());
}

TEST_F(ScreenCaptureKitServiceTest, TheWritersErrorReachesTheCallerUnchanged)
{
    startOrFail();
    writers->createError = Error{"POSIX", 13, "Permission denied", nullptr};
    const auto result = service->startManualRecording(url);
    ASSERT_FALSE(result.has_value());
    EXPECT_EQ(result.error(), *writers->createError);
    EXPECT_FALSE(service->isRecordingManualClip());
}

TEST_F(ScreenCaptureKitServiceTest, StoppingTwiceFailsTheSecondTimeWithCodeMinusThree)
{
    startOrFail();
    ASSERT_TRUE(service->startManualRecording(url));
    EXPECT_EQ(*stopRecording(), url);
    const auto second = stopRecording();
    ASSERT_FALSE(second->has_value());
    EXPECT_EQ(second->error(), (Error{"Velmora.ScreenCaptureKitService", -3, "No active manual recording session.", nullptr}));
}

TEST_F(ScreenCaptureKitServiceTest, StoppingTheCaptureDuringARecordingCancelsItAndNoLaterStopMakesAFile)
{
    startOrFail();
    ASSERT_TRUE(service->startManualRecording(url));
    stream().deliver(test::screenSample(1000), StreamOutputType::screen);
    settle();
    service->stopCapture();
    EXPECT_FALSE(service->isRecordingManualClip());
    service->drain();
    EXPECT_EQ(writers->writers[0]->cancelCount, 1);
    EXPECT_FALSE(std::filesystem::exists(url));
    EXPECT_EQ(stopRecording()->error().code, -3);
    EXPECT_FALSE(std::filesystem::exists(url));
}

TEST_F(ScreenCaptureKitServiceTest, AStreamThatStopsByItselfCancelsTheRecordingThenTellsTheDelegate)
{
    startOrFail();
    ASSERT_TRUE(service->startManualRecording(url));
    stream().stopWithError({"Stream", 1, "The window is gone.", nullptr});
    EXPECT_TRUE(delegate->reasons.empty()) << "the delegate is called on the main thread";
    executor->runAll();
    EXPECT_EQ(delegate->reasons, std::vector<std::string>{"The window is gone."});
    EXPECT_FALSE(delegate->wasCapturing);
    EXPECT_TRUE(delegate->errors.empty());
    EXPECT_FALSE(service->isRecordingManualClip());
    service->drain();
    EXPECT_FALSE(std::filesystem::exists(url));
    EXPECT_EQ(log->count("SCStream did stop with error: <private>"), 1U);
}

TEST_F(ScreenCaptureKitServiceTest, AnEarlierStreamsLateErrorDoesNotStopTheNewOne)
{
    startOrFail();
    const auto first = streams->streams.back();
    startOrFail();
    first->stopWithError({"Stream", 1, "late", nullptr});
    executor->runAll();
    EXPECT_TRUE(delegate->reasons.empty());
    EXPECT_TRUE(service->isCapturing());
}

TEST_F(ScreenCaptureKitServiceTest, TheDelegateIsHeldWeakly)
{
    startOrFail();
    delegate.reset();
    stream().stopWithError({"Stream", 1, "gone", nullptr});
    executor->runAll();
    EXPECT_FALSE(service->isCapturing());
}

TEST_F(ScreenCaptureKitServiceTest, ReleasingTheServiceStopsItsStream)
{
    startOrFail();
    const auto running = streams->streams.back();
    service.reset();
    EXPECT_EQ(running->stopCount, 1);
}

TEST_F(ScreenCaptureKitServiceTest, StopsWhileBuffersPourIn)
{
    startOrFail();
    ASSERT_TRUE(service->startManualRecording(url));
    const auto running = streams->streams.back();
    std::thread pictures([running] {
        for (int i = 1; i <= 300; ++i)
            running->deliverEvenIfStopped(test::screenSample(i), StreamOutputType::screen);
    });
    std::thread sound([running] {
        for (int i = 1; i <= 300; ++i)
            running->deliverEvenIfStopped(test::audioSample(i), StreamOutputType::audio);
    });
    service->stopCapture();
    pictures.join();
    sound.join();
    settle();
    service->drain();
    EXPECT_FALSE(std::filesystem::exists(url));
    EXPECT_FALSE(service->isRecordingManualClip());
}

TEST_F(ScreenCaptureKitServiceTest, DrainingWaitsForWhatIsBeingHandled)
{
    startOrFail();
    std::promise<void> gate;
    const auto open = gate.get_future().share();
    std::atomic<int> handled = 0;
    for (const auto& output : stream().outputs) {
        output.queue->async([&handled, open] {
            open.wait();
            ++handled;
        });
    }
    service->stopCapture();
    auto handledAtReturn = std::async(std::launch::async, [&] {
        service->drain();
        return handled.load();
    });
    gate.set_value();
    EXPECT_EQ(handledAtReturn.get(), 2);
}

/// What has to stand still must do so for this long.
constexpr auto aWhile = std::chrono::milliseconds{50};

TEST_F(ScreenCaptureKitServiceTest, DrainingWaitsForAStreamThatStopsLate)
{
    startOrFail();
    stream().holdsStop = true;
    service->stopCapture();
    auto drained = std::async(std::launch::async, [this] { service->drain(); });
    EXPECT_EQ(drained.wait_for(aWhile), std::future_status::timeout);
    stream().answerStop();
    drained.get();
}

TEST_F(ScreenCaptureKitServiceTest, DrainingWaitsForTheStreamOfAStartThatWasOvertaken)
{
    streams->prepare = [](fake::FakeCaptureStream& made) { made.holdsStart = made.holdsStop = true; };
    service->startCapture(chosen, [](const auto&) {});
    executor->runAll();
    service->stopCapture();
    stream().answerStart();
    executor->runAll();
    ASSERT_EQ(stream().stopCount, 1);
    auto drained = std::async(std::launch::async, [this] { service->drain(); });
    EXPECT_EQ(drained.wait_for(aWhile), std::future_status::timeout);
    stream().answerStop();
    drained.get();
}

TEST_F(ScreenCaptureKitServiceTest, WhoAsksIsToldWhenTheLateStreamHasStoppedAndNotBefore)
{
    startOrFail();
    stream().holdsStop = true;
    service->stopCapture();
    bool isTold = false;
    service->notifyWhenStopped([&] { isTold = true; });
    executor->runAll();
    EXPECT_FALSE(isTold);
    stream().answerStop();
    EXPECT_FALSE(isTold) << "only on the main thread";
    executor->runAll();
    EXPECT_TRUE(isTold);
}

TEST_F(ScreenCaptureKitServiceTest, DrainingWaitsUntilEveryFinishedFileIsOnTheDisk)
{
    startOrFail();
    writers->onCreate = [](fake::FakeAssetWriter& made) { made.holdsFinish = true; };
    std::vector<std::filesystem::path> saved;
    for (const auto* name : {"first.mp4", "second.mp4"}) {
        ASSERT_TRUE(service->startManualRecording(folder.path() / name));
        stream().deliver(test::screenSample(static_cast<std::int64_t>(writers->writers.size()) * 1000), StreamOutputType::screen);
        settle();
        service->stopManualRecording([&](Result<std::filesystem::path> result) { saved.push_back(result.value()); });
        writers->writers.back()->awaitFinish();
    }
    service->stopCapture();
    auto drained = std::async(std::launch::async, [this] { service->drain(); });
    // The later file is there first.
    writers->writers[1]->answerFinish();
    EXPECT_EQ(drained.wait_for(aWhile), std::future_status::timeout);
    writers->writers[0]->answerFinish();
    drained.get();
    executor->runAll();
    EXPECT_EQ(saved, (std::vector<std::filesystem::path>{folder.path() / "second.mp4", folder.path() / "first.mp4"}));
}

/// The window, of 1280 x 720, is resized.
class ResizedWindow : public ScreenCaptureKitServiceTest {
protected:
    using Sizes = std::vector<std::pair<std::int32_t, std::int32_t>>;

    ResizedWindow() { startOrFail(); }

    void runAll()
    {
        executor->runAll();
        service->encoder().endingQueue().drain();
        executor->runAll();
    }

    void settleAt(std::int32_t width, std::int32_t height)
    {
        stream().settle(width, height);
        runAll();
    }

    void answer(Result<void> result)
    {
        stream().answerUpdate(std::move(result));
        runAll();
    }

    void deliver(std::int64_t time, std::int32_t width, std::int32_t height)
    {
        stream().deliver(test::screenSample(time, width, height), StreamOutputType::screen);
        settle();
    }

    /// Times of what the only recording holds, each with its width.
    [[nodiscard]] std::vector<std::pair<std::int64_t, std::int32_t>> recorded() const
    {
        std::vector<std::pair<std::int64_t, std::int32_t>> all;
        if (const auto input = writers->writers.at(0)->input(MediaType::video)) {
            for (const auto& sample : input->samples)
                all.emplace_back(sample->presentationTimeStamp.value, sample->format->video()->width);
        }
        return all;
    }

    const Error refusal{"test", 1, "Not now.", nullptr};
};

TEST_F(ResizedWindow, WhileNoRecordingRunsTheStreamGoesOnInTheSizeThatHasSettled)
{
    settleAt(1920, 1080);
    EXPECT_EQ(stream().sizesAsked, (Sizes{{1920, 1080}}));
    answer({});
    settleAt(961, 541);
    EXPECT_EQ(stream().sizesAsked, (Sizes{{1920, 1080}, {961, 541}}));
    EXPECT_EQ(streams->streams.size(), 1U);
    EXPECT_EQ(stream().stopCount, 0);
    EXPECT_TRUE(service->isCapturing());
}

TEST_F(ResizedWindow, DuringARecordingNothingChangesAndWhenItEndsTheSizeIsFollowed)
{
    std::atomic<int> checks = 0;
    sessions->onCheck = [&] { ++checks; };
    ASSERT_TRUE(service->startManualRecording(url));
    settleAt(1920, 1080);
    deliver(1000, 1280, 720);
    settleAt(1600, 900);
    EXPECT_TRUE(stream().sizesAsked.empty());
    EXPECT_EQ(checks, 0) << "a check takes the processor from the recording";
    ASSERT_TRUE(stopRecording());
    runAll();
    EXPECT_EQ(stream().sizesAsked, (Sizes{{1600, 900}}));
}

TEST_F(ResizedWindow, ARecordingThatBeginsWhileTheSizeIsCheckedHasTheFormerOne)
{
    std::promise<void> isChecked;
    sessions->onCheck = [open = isChecked.get_future().share()] { open.wait(); };
    stream().settle(1920, 1080);
    executor->runAll();
    ASSERT_TRUE(service->startManualRecording(url));
    isChecked.set_value();
    runAll();
    EXPECT_TRUE(stream().sizesAsked.empty());
    deliver(1000, 1280, 720);
    ASSERT_TRUE(stopRecording());
    EXPECT_EQ(recorded(), (std::vector<std::pair<std::int64_t, std::int32_t>>{{1000, 1280}}));
    runAll();
    EXPECT_EQ(stream().sizesAsked, (Sizes{{1920, 1080}}));
}

TEST_F(ResizedWindow, APressInTheVeryMomentOfTheChangeRecordsTheNewSizeFromItsFirstPictureAndNothingOfTheFormer)
{
    sessions->encodesAtOnce = false;  // the first encoder has pictures left when the new size comes
    deliver(1000, 1280, 720);
    sessions->encodesAtOnce = true;
    settleAt(1920, 1080);
    ASSERT_TRUE(service->startManualRecording(url));
    deliver(2000, 1280, 720);
    sessions->newest()->emitOutput(0, test::videoSample(2000, true));
    settle();
    deliver(3000, 1920, 1080);
    sessions->sessions.front()->emitOutput(0, test::videoSample(2500, true));
    settle();
    answer({});
    deliver(4000, 1920, 1080);
    ASSERT_TRUE(stopRecording());
    EXPECT_EQ(recorded(), (std::vector<std::pair<std::int64_t, std::int32_t>>{{3000, 1920}, {4000, 1920}}));
}

TEST_F(ResizedWindow, APressInTheMomentOfAChangeThatFailsRecordsTheFormerSize)
{
    deliver(1000, 1280, 720);
    settleAt(1920, 1080);
    ASSERT_TRUE(service->startManualRecording(url));
    answer(fail(refusal));
    sessions->newest()->emitOutput(0, test::videoSample(2000, true));
    settle();
    ASSERT_TRUE(stopRecording());
    EXPECT_EQ(recorded().size(), 1U);
    runAll();
    EXPECT_EQ(stream().sizesAsked.size(), 1U) << "until the stream says so again";
    settleAt(1920, 1080);
    EXPECT_EQ(stream().sizesAsked.size(), 2U);
}

TEST_F(ResizedWindow, ASizeThatNoEncoderTakesIsNotFollowed)
{
    settleAt(5000, 400);
    ASSERT_TRUE(service->startManualRecording(url));
    deliver(1000, 1280, 720);
    ASSERT_TRUE(stopRecording());
    runAll();
    EXPECT_TRUE(stream().sizesAsked.empty());
    EXPECT_EQ(recorded().size(), 1U);
    settleAt(4000, 400);
    EXPECT_EQ(stream().sizesAsked, (Sizes{{4000, 400}}));
}

TEST_F(ResizedWindow, OfSizesThatSettleDuringACheckOrAChangeTheLastIsFollowed)
{
    std::promise<void> isChecked;
    sessions->onCheck = [open = isChecked.get_future().share()] { open.wait(); };
    stream().settle(1920, 1080);
    executor->runAll();
    stream().settle(800, 600);
    executor->runAll();
    isChecked.set_value();
    runAll();
    runAll();
    EXPECT_EQ(stream().sizesAsked, (Sizes{{800, 600}}));
    settleAt(1000, 700);
    EXPECT_EQ(stream().sizesAsked.size(), 1U) << "one change at a time";
    answer({});
    EXPECT_EQ(stream().sizesAsked, (Sizes{{800, 600}, {1000, 700}}));
}

TEST_F(ResizedWindow, AWindowOfOnePixelIsNotFollowed)
{
    settleAt(1, 720);
    EXPECT_TRUE(stream().sizesAsked.empty());
}

TEST_F(ResizedWindow, AWindowThatGoesDuringAChangeEndsTheCaptureAndTheRecordingThatWaitedForTheNewSize)
{
    deliver(1000, 1280, 720);
    settleAt(1920, 1080);
    ASSERT_TRUE(service->startManualRecording(url));
    const auto gone = streams->streams.back();
    gone->stopWithError({"Stream", 1, "The window is gone.", nullptr});
    runAll();
    EXPECT_EQ(delegate->reasons, std::vector<std::string>{"The window is gone."});
    EXPECT_FALSE(service->isRecordingManualClip());
    gone->answerUpdate(fail(refusal));
    runAll();
    EXPECT_FALSE(service->isCapturing());
    EXPECT_EQ(gone->sizesAsked.size(), 1U);
    service->drain();
    EXPECT_FALSE(std::filesystem::exists(url));
}

TEST_F(ResizedWindow, AChangeThatAStopOvertookLeavesTheNextCaptureAlone)
{
    settleAt(1920, 1080);
    const auto former = streams->streams.back();
    startOrFail();
    former->settle(1600, 900);
    former->answerUpdate({});
    runAll();
    EXPECT_TRUE(stream().sizesAsked.empty());
    ASSERT_TRUE(service->startManualRecording(url));
    deliver(1000, 1280, 720);
    ASSERT_TRUE(stopRecording());
    EXPECT_EQ(recorded().size(), 1U);
    runAll();
    EXPECT_TRUE(stream().sizesAsked.empty());
    settleAt(1920, 1080);
    EXPECT_EQ(stream().sizesAsked, (Sizes{{1920, 1080}}));
}

TEST_F(ResizedWindow, ACheckThatAStopOvertookLeavesTheNextCaptureAlone)
{
    std::promise<void> isChecked;
    sessions->onCheck = [open = isChecked.get_future().share()] { open.wait(); };
    stream().settle(1920, 1080);
    executor->runAll();
    startOrFail();
    stream().settle(1920, 1080);
    executor->runAll();
    isChecked.set_value();
    runAll();
    EXPECT_EQ(stream().sizesAsked, (Sizes{{1920, 1080}})) << "by its own check alone";
}

TEST_F(ResizedWindow, TheNextCaptureBeginsWithTheSizeThatItIsStartedIn)
{
    settleAt(1920, 1080);
    answer({});
    startOrFail();
    settleAt(1920, 1080);
    EXPECT_EQ(stream().sizesAsked, (Sizes{{1920, 1080}}));
}

class SlowEncoderTest : public ScreenCaptureKitServiceTest {
protected:
    /// Returns with a picture waiting for the first encoder, which exists once `encoderIsMade_` has its value.
    void startWhileTheEncoderIsBeingMade()
    {
        sessions->onMake = [this, open = encoderIsMade_.get_future().share()] {
            if (sessions->attempts > 1)
                return;
            isBegun_.set_value();
            open.wait();
        };
        startOrFail();
        stream().deliver(test::screenSample(1), StreamOutputType::screen);
        isBegun_.get_future().wait();
    }

    std::promise<void> encoderIsMade_;

private:
    std::promise<void> isBegun_;
};

TEST_F(SlowEncoderTest, AnEncoderThatIsStillBeingMadeDoesNotSurviveTheStop)
{
    startWhileTheEncoderIsBeingMade();
    service->stopCapture();
    encoderIsMade_.set_value();
    settle();
    ASSERT_EQ(sessions->records.size(), 1U);
    EXPECT_TRUE(sessions->records[0]->invalidated);
    EXPECT_EQ(service->encoder().currentWidth(), 0);
}

TEST_F(SlowEncoderTest, AnEncoderThatIsStillBeingMadeDoesNotReachTheNextCapture)
{
    startWhileTheEncoderIsBeingMade();
    startOrFail();
    encoderIsMade_.set_value();
    stream().deliver(test::screenSample(2), StreamOutputType::screen);
    settle();
    ASSERT_EQ(sessions->records.size(), 2U);
    EXPECT_TRUE(sessions->records[0]->invalidated);
    EXPECT_FALSE(sessions->records[1]->invalidated);
    EXPECT_EQ(sessions->records[1]->frames.size(), 1U);
}

}  // namespace
}  // namespace velmora
