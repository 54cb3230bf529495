// What the lines of the log say to a developer who has asked for the private values.
#include "library/PathUtilities.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/CoordinatorFixture.h"
#include "tests/support/Samples.h"
#include "tests/support/Windows.h"
#include "windows/WindowSelectionService.h"

#include <cstdlib>
#include <fstream>
#include <future>
#include <gmock/gmock.h>

namespace velmora {
namespace {

using platform::StreamOutputType;
using test::film;
using ::testing::Contains;
using ::testing::ElementsAre;

// The log reads it once, with its first line, so these tests are a program of their own.
[[maybe_unused]] const int isRevealed = ::setenv(Log::revealVariable, "1", 1);

Error broken(const char* reason)
{
    return Error{"Test", 1, reason, nullptr};
}

class LogValuesTest : public testing::Test, protected test::CoordinatorFixture {
protected:
    LogValuesTest()
    {
        ::setenv("TZ", "UTC", 1);
        addLiveWindow(film);
        coordinator->onCaptureError = [](const std::string&) {};
        executor->runAll();
    }

    void capture()
    {
        coordinator->selectWindowAndStartCapture(film);
        executor->runAll();
    }

    void deliverAFrame()
    {
        streams->streams.back()->deliver(test::screenSample(1000), StreamOutputType::screen);
        captureService->sampleQueue().drain();
        captureService->encoder().outputQueue().drain();
    }

    /// The name for the fake clock's time, 2023-11-14 22:13:20 UTC.
    const std::string name = "Velmora-Recording-2023-11-14-22-13-20.mp4";
    const std::string path = library->effectiveOutputDirectory() / name;
    test::CapturedLog log;
};

TEST_F(LogValuesTest, ACaptureNamesItsWindowItsSizeAndItsDisplay)
{
    content->content.applications = {{"player", "Player", 4242}};
    capture();
    EXPECT_THAT(log->messages(), Contains("Using app-level display filter for Player — Film on display 1 (Chromium-safe audio)"));
    EXPECT_THAT(log->messages(), Contains("Started window-specific capture for Player — Film (640x480)"));
    EXPECT_THAT(log->messages(), Contains("Capture started for window Player — Film"));
}

TEST_F(LogValuesTest, ACaptureOfTheWindowAloneNamesItToo)
{
    content->content.applications.clear();
    capture();
    EXPECT_THAT(log->messages(), Contains("Falling back to desktopIndependentWindow filter for Player — Film"));
}

TEST_F(LogValuesTest, ARecordingNamesItsFileWithTheTimeOfTheClockThatItWasGiven)
{
    capture();
    coordinator->startRecording();
    EXPECT_THAT(log->messages(), Contains("Manual recording session started at " + path));
    EXPECT_THAT(log->messages(), Contains("Started manual recording to " + name));
    ASSERT_EQ(writers->writers.size(), 1U);
    EXPECT_EQ(writers->writers[0]->outputURL, path);
    deliverAFrame();
    EXPECT_THAT(log->messages(), Contains("Initialized hardware video encoder (640x480 H.264)"));
    bool isSaved = false;
    coordinator->onClipSaved = [&](const auto&, double, bool) { isSaved = true; };
    coordinator->toggleRecording();
    executor->runUntil([&] { return isSaved; });
    EXPECT_THAT(log->messages(), Contains(testing::StartsWith("Finished manual recording: ")));
    EXPECT_THAT(log->messages(), Contains(testing::EndsWith(name)));
}

TEST_F(LogValuesTest, FailuresOfACaptureTellTheirReasons)
{
    content->error = broken("no query");
    capture();
    EXPECT_THAT(log->messages(), Contains("Failed to start capture: no query"));
    content->error.reset();

    capture();
    streams->streams.back()->stopError = broken("no stop");
    writers->createError = broken("no file");
    coordinator->startRecording();
    EXPECT_THAT(log->messages(), Contains("Failed starting manual recording: no file"));
    coordinator->stopCapture();
    executor->runAll();
    EXPECT_THAT(log->messages(), Contains("Error stopping capture stream: no stop"));
}

TEST_F(LogValuesTest, AnErrorOfTheSecondQueryOfAStartIsTheReason)
{
    std::vector<std::string> errors;
    coordinator->onCaptureError = [&](const std::string& message) { errors.push_back(message); };
    content->holdsAnswers = true;
    coordinator->selectWindowAndStartCapture(film);
    content->answerNext();
    executor->runAll();
    ASSERT_EQ(content->queries.size(), 2U) << "for the window, then for its display";
    content->error = broken("gone in between");
    content->answerNext();
    executor->runAll();
    EXPECT_THAT(errors, ElementsAre("Failed to capture window: gone in between"));
    EXPECT_THAT(log->messages(), Contains("Failed to start capture: gone in between"));
    EXPECT_TRUE(streams->streams.empty());
    EXPECT_FALSE(captureService->isCapturing());
    EXPECT_FALSE(captureService->activeWindow());
}

TEST_F(LogValuesTest, AStreamThatStopsTellsItsError)
{
    capture();
    streams->streams.back()->stopWithError(broken("the window has gone"));
    executor->runAll();
    EXPECT_THAT(log->messages(), Contains("SCStream did stop with error: the window has gone"));
    EXPECT_THAT(log->messages(), Contains("Capture stopped unexpectedly: the window has gone"));
}

TEST_F(LogValuesTest, AWriterThatFailsTellsItsError)
{
    writers->onCreate = [](fake::FakeAssetWriter& writer) {
        writer.startFails = true;
        writer.finishStatus = platform::AssetWriter::Status::failed;
        writer.currentError = broken("disk full");
    };
    capture();
    coordinator->startRecording();
    deliverAFrame();
    coordinator->toggleRecording();
    const CaptureState over{CaptureState::Capturing{film}};
    executor->runUntil([&] { return coordinator->state() == over; });
    EXPECT_THAT(log->messages(), Contains("Manual writer startWriting failed: disk full"));
    EXPECT_THAT(log->messages(), Contains("Failed stopping manual recording: disk full"));
}

TEST_F(LogValuesTest, ASampleThatAWriterRefusesTellsItsError)
{
    writers->onCreate = [](fake::FakeAssetWriter& writer) {
        writer.currentError = broken("disk full");
        writer.onAdd = [](fake::FakeAssetWriterInput& input) { input.appendFails = true; };
    };
    capture();
    coordinator->startRecording();
    deliverAFrame();
    streams->streams.back()->deliver(test::audioSample(2000), StreamOutputType::audio);
    captureService->drain();
    coordinator->stopCapture();
    captureService->drain();
    EXPECT_THAT(log->messages(), Contains("Manual recording: failed to append video sample: disk full"));
}

TEST_F(LogValuesTest, TheFolderTheListOfWindowsAndThePermissionTellTheirErrors)
{
    const auto file = folder.path() / "file";
    std::ofstream{file} << "in the way";
    EXPECT_FALSE(PathUtilities::ensureDirectoryExists(file / "below", *fileManager));
    EXPECT_THAT(log->messages(), Contains(testing::StartsWith("Failed to create directory at " + (file / "below").string() + ": ")));
    EXPECT_THAT(log->messages(), Contains(testing::EndsWith("Not a directory")));

    library->setOutputDirectory(file);
    executor->runAll();
    EXPECT_EQ(log->messages().back(), "Failed loading clips from " + file.string() + ": Not a directory");

    content->error = broken("no permission");
    WindowSelectionService service{content, executor};
    service.refreshWindows();
    executor->runAll();
    EXPECT_EQ(log->messages().back(), "Failed to query shareable content: no permission");

    notificationCenter->authorization = fail("Test", 1, "no bus");
    permissionManager->requestNotificationPermission([](bool) {});
    executor->runAll();
    EXPECT_EQ(log->messages().back(), "Notification permission error: no bus");
}

}  // namespace
}  // namespace velmora
