#include "app/RecordingObserver.h"

#include "media/LiveTime.h"
#include "platform/fake/FakeAssetWriter.h"
#include "platform/fake/FakeCaptureStream.h"
#include "platform/fake/FakeCompressionSession.h"
#include "platform/fake/ManualExecutor.h"
#include "tests/support/Samples.h"
#include "tests/support/TemporaryDirectory.h"

#include <gmock/gmock.h>

namespace velmora {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr platform::CompressionStatus broken = -5;

class RecordingObserverTest : public testing::Test {
protected:
    RecordingObserverTest()
    {
        platform::PlatformServices all;
        all.captureStreams = streams;
        all.compressionSessions = sessions;
        all.assetWriters = writers;
        services = observer->observed(std::move(all));
        observer->onNothingMoreCanBeWritten = [this](const std::string& reason) { ends.push_back(reason); };
        observer->onChange = [this] { notices.push_back(observer->notice()); };
    }

    void capture()
    {
        stream = services.captureStreams->makeStream(platform::ContentFilter::desktopIndependentWindow({}), {}, {});
        executor->runAll();
    }

    void makeSession()
    {
        auto made = services.compressionSessions->makeSession(640, 480, FourCharacterCode{"avc1"}, [](auto, const auto&) {});
        if (made)
            session = *made;
        executor->runAll();
    }

    void encode(int count, platform::CompressionStatus status, bool isEncoded)
    {
        for (int i = 0; i < count; ++i)
            sessions->sessions.back()->emitOutput(status, isEncoded ? test::videoSample(1, true) : nullptr);
        executor->runAll();
    }

    void beginFile()
    {
        file = services.assetWriters->makeAssetWriter(folder.path() / "clip.mp4", platform::AssetFileType::mpeg4).value();
        video = file->makeInput(MediaType::video, std::nullopt, test::videoSample(0, true)->format);
        file->add(video);
        executor->runAll();
    }

    void append(const SampleBufferRef& sample)
    {
        video->append(sample);
        executor->runAll();
    }

    void fillTheDisk(std::size_t number)
    {
        writers->writers.at(number)->input(MediaType::video)->appendFails = true;
        writers->writers.at(number)->fail({"POSIX", 28, "No space left on device", nullptr});
    }

    void finishFile()
    {
        file->finishWriting([] {});
        executor->runAll();
    }

    test::TemporaryDirectory folder;
    std::shared_ptr<fake::ManualExecutor> executor = std::make_shared<fake::ManualExecutor>();
    std::shared_ptr<fake::FakeCaptureStreams> streams = std::make_shared<fake::FakeCaptureStreams>();
    std::shared_ptr<fake::FakeCompressionSessions> sessions = std::make_shared<fake::FakeCompressionSessions>();
    std::shared_ptr<fake::FakeAssetWriters> writers = std::make_shared<fake::FakeAssetWriters>();
    std::shared_ptr<RecordingObserver> observer = RecordingObserver::create(executor);
    platform::PlatformServices services;
    std::vector<std::string> ends;
    std::vector<std::string> notices;
    std::shared_ptr<platform::CaptureStream> stream;
    std::shared_ptr<platform::CompressionSession> session;
    std::shared_ptr<platform::AssetWriter> file;
    std::shared_ptr<platform::AssetWriterInput> video;
};

TEST_F(RecordingObserverTest, SaysNothingOfARecordingThatGoesWell)
{
    capture();
    makeSession();
    beginFile();
    append(test::videoSample(100, true));
    encode(100, 0, true);
    encode(100, 0, false);
    finishFile();
    EXPECT_THAT(ends, IsEmpty());
    EXPECT_THAT(notices, IsEmpty());
    EXPECT_EQ(observer->notice(), "");
    EXPECT_EQ(observer->explained("Failed saving recording: x"), "Failed saving recording: x");
}

TEST_F(RecordingObserverTest, TellsHowManyPicturesWereLostWhereTheyAreMoreThanTwoOfAHundred)
{
    capture();
    makeSession();
    EXPECT_FALSE(observer->lostPictures());
    beginFile();
    for (int i = 1; i <= 98; ++i)
        append(test::videoSample(100 * i, i == 1));
    encode(2, 0, false);
    append(test::videoSample(9'900, false));
    EXPECT_FALSE(observer->lostPictures()) << "2 of 101";
    encode(1, 0, false);
    append(test::videoSample(10'000, false));
    const LostPictures running{3, 103, "The machine is not keeping up: the recording has lost 3 of 103 pictures so far."};
    EXPECT_EQ(observer->lostPictures(), running);
    encode(1, 0, false);
    finishFile();
    const LostPictures ended{4, 104, "The machine did not keep up: the recording lost 4 of 104 pictures."};
    EXPECT_EQ(observer->lostPictures(), ended) << "and it stays so";
    EXPECT_EQ(observer->notice(), "");
    beginFile();
    EXPECT_FALSE(observer->lostPictures()) << "another recording has lost nothing";
}

TEST_F(RecordingObserverTest, ABackEndThatDoesNotTellOfLostPicturesHasNothingSaidOfThem)
{
    beginFile();
    append(test::videoSample(100, true));
    append(test::videoSample(9'000'000'000, true));
    finishFile();
    EXPECT_FALSE(observer->lostPictures());
}

TEST_F(RecordingObserverTest, AFullDiskEndsTheRecordingAndTheReasonStaysUntilTheNext)
{
    beginFile();
    append(test::videoSample(100, true));
    fillTheDisk(0);
    append(test::videoSample(200, false));
    append(test::videoSample(300, false));
    EXPECT_THAT(ends, ElementsAre("No space left on device"));
    EXPECT_FALSE(observer->progress()) << "it grows no longer";
    finishFile();
    EXPECT_EQ(observer->notice(), "The recording ended early: No space left on device.");
    const std::string message = "Failed saving recording: No space left on device";
    EXPECT_EQ(observer->explained(message), message) << "it says so itself";
    beginFile();
    EXPECT_EQ(observer->notice(), "");
    EXPECT_THAT(notices, SizeIs(2));
}

TEST_F(RecordingObserverTest, WhyARecordingCouldNotBeSavedExplainsNoLaterOne)
{
    beginFile();
    append(test::videoSample(100, true));
    fillTheDisk(0);
    append(test::videoSample(200, false));
    finishFile();
    const std::string message = "Failed saving recording: x";
    EXPECT_EQ(observer->explained(message), message + "\n\nNo space left on device.");
    beginFile();
    append(test::videoSample(100, true));
    finishFile();
    EXPECT_EQ(observer->explained(message), message);
}

TEST_F(RecordingObserverTest, TellsWhereAFileLiesThatWasMovedWhileItWasRecorded)
{
    std::vector<std::filesystem::path> places;
    observer->onFileWasMoved = [&places](const std::filesystem::path& place) { places.push_back(place); };
    const auto record = [this](std::optional<std::filesystem::path> movedTo) {
        beginFile();
        append(test::videoSample(100, true));
        auto& writer = *writers->writers.back();
        writer.movedTo = std::move(movedTo);
        finishFile();
    };
    record(std::nullopt);
    EXPECT_THAT(places, IsEmpty());
    record("/else where/\xFF.mp4");
    EXPECT_THAT(places, ElementsAre("/else where/\xFF.mp4"));
    EXPECT_EQ(observer->notice(), "") << "nothing is wrong with the capture";
}

TEST_F(RecordingObserverTest, ARefusedSampleAloneIsNoReasonToEnd)
{
    beginFile();
    writers->writers.at(0)->input(MediaType::video)->appendFails = true;
    append(test::videoSample(100, true));
    EXPECT_THAT(ends, IsEmpty());
}

TEST_F(RecordingObserverTest, WhatAnEarlierFileSuffersIsNoReasonToEndTheNext)
{
    beginFile();
    append(test::videoSample(100, true));
    const auto earlier = video;
    beginFile();
    fillTheDisk(0);
    earlier->append(test::videoSample(200, false));
    executor->runAll();
    EXPECT_THAT(ends, IsEmpty());
    EXPECT_EQ(observer->notice(), "");
}

TEST_F(RecordingObserverTest, PicturesOfAnotherEncoderEndTheRecording)
{
    beginFile();
    append(test::videoSample(100, true));
    writers->writers.at(0)->input(MediaType::video)->refuses = [](const SampleBuffer& sample) {
        return sample.format->video()->width != 640;
    };
    auto foreign = std::make_shared<SampleBuffer>(*test::videoSample(200, true));
    foreign->format = std::make_shared<const FormatDescription>(VideoFormat{FourCharacterCode{"avc1"}, 320, 240, {}, {}});
    append(foreign);
    append(foreign);
    ASSERT_THAT(ends, SizeIs(1));
    EXPECT_EQ(
        observer->notice(), "The recording ended early: Another encoder has taken over, and its pictures do not belong in the same file.");
}

TEST_F(RecordingObserverTest, WithoutAnEncoderTheReasonIsThereFromTheFirstPictureOnAndEveryRecordingEndsAtOnce)
{
    sessions->createStatus = broken;
    capture();
    for (int i = 0; i < 3; ++i)
        makeSession();
    EXPECT_THAT(ends, ElementsAre("The encoder cannot be started (Status: -5)."));
    EXPECT_EQ(observer->notice(), "The encoder cannot be started (Status: -5).");
    for (int i = 0; i < 2; ++i) {
        ends.clear();
        beginFile();
        EXPECT_THAT(ends, ElementsAre("The encoder cannot be started (Status: -5)."));
        finishFile();
        EXPECT_EQ(observer->explained("Failed saving recording: Unknown"),
            "Failed saving recording: Unknown\n\nThe encoder cannot be started (Status: -5).");
    }
    sessions->createStatus = 0;
    makeSession();
    EXPECT_EQ(observer->notice(), "");
}

TEST_F(RecordingObserverTest, AnEncoderThatFailsThirtyTimesInARowEndsTheRecordingAndOneThatComesBackIsWelcome)
{
    makeSession();
    beginFile();
    append(test::videoSample(100, true));
    encode(29, broken, false);
    encode(1, 0, true);
    encode(29, broken, false);
    encode(50, 0, false);
    EXPECT_THAT(ends, IsEmpty());
    encode(5, broken, false);
    EXPECT_THAT(ends, ElementsAre("The encoder keeps failing (Status: -5)"));
    finishFile();
    EXPECT_EQ(observer->notice(), "The recording ended early: The encoder keeps failing (Status: -5).");
    encode(1, 0, true);
    beginFile();
    EXPECT_EQ(observer->notice(), "");
    EXPECT_THAT(ends, SizeIs(1));
}

TEST_F(RecordingObserverTest, AFileThatEndsBeforeTheFirstPictureIsExplained)
{
    beginFile();
    finishFile();
    EXPECT_EQ(observer->explained("Failed saving recording: Unknown"),
        "Failed saving recording: Unknown\n\nNo picture of the window had come yet.");
    EXPECT_EQ(
        observer->explained("Cannot record: Please select a video window first."), "Cannot record: Please select a video window first.");
    EXPECT_EQ(observer->notice(), "") << "there is nothing wrong";
}

TEST_F(RecordingObserverTest, SoundThatIsMissingIsSaidUntilItComesOrTheNextCapture)
{
    capture();
    const auto lose = [&] {
        streams->streams.back()->delegate.lock()->streamDidLoseSound(
            *streams->streams.back(), {"Test", 1, "No sound server answers.", nullptr});
        executor->runAll();
    };
    lose();
    EXPECT_EQ(observer->notice(), "Without sound: No sound server answers.");
    EXPECT_THAT(ends, IsEmpty()) << "the pictures are there";
    streams->streams.back()->delegate.lock()->streamDidRegainSound(*streams->streams.back());
    executor->runAll();
    EXPECT_EQ(observer->notice(), "");
    lose();
    capture();
    EXPECT_EQ(observer->notice(), "");
}

TEST_F(RecordingObserverTest, SoundThatTheFileDoesNotTakeIsSaid)
{
    writers->refused = {MediaType::audio};
    beginFile();
    EXPECT_FALSE(file->canAdd(*file->makeInput(MediaType::audio, platform::AudioOutputSettings{}, nullptr)));
    executor->runAll();
    EXPECT_EQ(observer->notice(), "Without sound: It cannot be encoded.");
}

TEST_F(RecordingObserverTest, SaysHowLongARecordingRunsAndHowLargeItIsWhileOneDoes)
{
    using namespace std::chrono_literals;
    int changes = 0;
    observer->onFileChange = [&] { ++changes; };
    EXPECT_FALSE(observer->progress());
    const auto before = MonotonicClock::now();
    beginFile();
    const auto after = MonotonicClock::now();
    EXPECT_EQ(changes, 1);
    ASSERT_TRUE(observer->progress());
    EXPECT_LE(observer->progress(before + 65s)->elapsed, 65s);
    EXPECT_GE(observer->progress(after + 65s)->elapsed, 65s);
    EXPECT_EQ(observer->progress()->bytes, 0U);
    EXPECT_EQ(observer->progress(before - 1h)->elapsed, 0s);
    writers->writers.back()->size = 12'300'000;
    append(test::videoSample(100, true));
    EXPECT_EQ(observer->progress()->bytes, 12'300'000U);
    EXPECT_EQ(changes, 1) << "nobody is told of each sample";
    finishFile();
    EXPECT_FALSE(observer->progress());
    EXPECT_EQ(changes, 2);
}

TEST_F(RecordingObserverTest, ARecordingThatBeginsWhileTheOneBeforeIsFinishedHasItsOwnLengthAndSize)
{
    beginFile();
    append(test::videoSample(100, true));
    const auto first = file;
    writers->writers.at(0)->holdsFinish = true;
    int changes = 0;
    observer->onFileChange = [&] { ++changes; };
    beginFile();
    EXPECT_EQ(changes, 1);
    writers->writers.at(0)->size = 999;
    first->finishWriting([] {});
    executor->runAll();
    ASSERT_TRUE(observer->progress());
    EXPECT_EQ(observer->progress()->bytes, 0U);
    writers->writers.at(0)->answerFinish();
    executor->runAll();
    EXPECT_TRUE(observer->progress());
    file->cancelWriting();
    executor->runAll();
    EXPECT_FALSE(observer->progress());
}

class PausedRecordingTest : public RecordingObserverTest {
protected:
    PausedRecordingTest()
    {
        observer->onPauseChange = [this](bool isPaused) { pauses.push_back(isPaused); };
        observer->onFileChange = [this] { ++changes; };
    }

    Result<RecordingObserver::PauseOutcome> setPaused(std::optional<bool> isPaused, std::chrono::seconds after)
    {
        return observer->setPaused(isPaused, began + after);
    }

    void beginPausableFile()
    {
        began = MonotonicClock::now();
        beginFile();
    }

    [[nodiscard]] double elapsed(std::chrono::seconds after) const
    {
        return std::chrono::duration<double>{observer->progress(began + after)->elapsed}.count();
    }

    using Outcome = RecordingObserver::PauseOutcome;
    MonotonicTime began;
    std::vector<bool> pauses;
    int changes = 0;
};

TEST_F(PausedRecordingTest, WhereNothingIsRecordedNothingIsPaused)
{
    const auto refused = setPaused(true, std::chrono::seconds{0});
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error().localizedDescription, "Nothing is being recorded.");
    beginPausableFile();
    finishFile();
    EXPECT_FALSE(setPaused(false, std::chrono::seconds{1}));
    EXPECT_FALSE(setPaused(std::nullopt, std::chrono::seconds{1}));
    EXPECT_THAT(pauses, IsEmpty());
}

TEST_F(PausedRecordingTest, TheFileIsPausedAndGoesOnWhenThatIsAskedForAndTheLengthIsThatOfWhatIsRecorded)
{
    using namespace std::chrono_literals;
    beginPausableFile();
    EXPECT_EQ(setPaused(false, 5s), Outcome::wasNotPaused);
    EXPECT_EQ(setPaused(true, 10s), Outcome::paused);
    EXPECT_EQ(setPaused(true, 20s), Outcome::wasPaused);
    EXPECT_TRUE(observer->progress(began + 25s)->isPaused);
    EXPECT_NEAR(elapsed(25s), 10, 1);
    EXPECT_EQ(setPaused(std::nullopt, 30s), Outcome::resumed);
    EXPECT_FALSE(observer->progress(began + 31s)->isPaused);
    EXPECT_NEAR(elapsed(35s), 15, 1);
    EXPECT_EQ(setPaused(std::nullopt, 40s), Outcome::paused);
    EXPECT_NEAR(elapsed(3600s), 20, 1);
    const auto& writer = *writers->writers.back();
    EXPECT_THAT(writer.pauses, ElementsAre(liveTime(began + 10s), liveTime(began + 40s)));
    EXPECT_THAT(writer.resumes, ElementsAre(liveTime(began + 30s)));
    EXPECT_THAT(pauses, ElementsAre(true, false, true));
    EXPECT_EQ(changes, 4) << "the file's beginning is the first";
}

TEST_F(PausedRecordingTest, ARecordingThatFollowsOneThatWasPausedIsNot)
{
    using namespace std::chrono_literals;
    beginPausableFile();
    ASSERT_TRUE(setPaused(true, 10s));
    finishFile();
    EXPECT_FALSE(observer->progress());
    beginPausableFile();
    EXPECT_FALSE(observer->progress()->isPaused);
    EXPECT_NEAR(elapsed(60s), 60, 1);
    EXPECT_THAT(writers->writers.back()->pauses, IsEmpty());
}

TEST_F(PausedRecordingTest, WhatAPauseLeavesOutIsNeitherWrittenNorLost)
{
    capture();
    makeSession();
    beginPausableFile();
    append(test::videoSample(100, true));
    encode(3, 0, false);
    append(test::videoSample(101, false));
    ASSERT_TRUE(observer->lostPictures());
    EXPECT_EQ(observer->lostPictures()->lost, 3U);
    ASSERT_TRUE(setPaused(true, std::chrono::seconds{1}));
    append(test::videoSample(102, false));
    encode(100, 0, false);
    append(test::videoSample(103, false));
    EXPECT_EQ(observer->lostPictures()->lost, 3U);
    EXPECT_EQ(observer->lostPictures()->ofAll, 5U);
    ASSERT_TRUE(setPaused(false, std::chrono::seconds{2}));
    append(test::videoSample(104, true));
    encode(2, 0, false);
    append(test::videoSample(105, false));
    EXPECT_EQ(observer->lostPictures()->lost, 5U);
    EXPECT_EQ(observer->lostPictures()->ofAll, 9U);
}

TEST_F(RecordingObserverTest, TheStreamIsTheOneThatWasMade)
{
    capture();
    EXPECT_EQ(stream.get(), streams->streams.back().get()) << "the capture knows it by its address";
    stream.reset();
    EXPECT_FALSE(streams->streams.back()->delegate.lock()) << "nobody keeps what stands between them";
}

}  // namespace
}  // namespace velmora
