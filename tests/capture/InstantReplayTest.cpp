// The last seconds of a capture, kept and saved when somebody asks.

#include "capture/CaptureCoordinator.h"
#include "tests/support/CoordinatorFixture.h"
#include "tests/support/Samples.h"
#include "tests/support/Windows.h"

#include <atomic>
#include <gmock/gmock.h>
#include <limits>
#include <optional>
#include <thread>

namespace velmora {
namespace {

using platform::StreamOutputType;
using test::film;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::int64_t frameTime = 1'000'000'000 / 60;
constexpr std::int64_t startTime = 1'000'000'000'000;

class InstantReplayTest : public testing::Test, protected test::CoordinatorFixture {
protected:
    struct Saved {
        std::filesystem::path clip;
        double duration;
        bool isFullDuration;
    };

    InstantReplayTest()
    {
        addLiveWindow(film);
        coordinator->onClipSaved = [this](const auto& clip, double duration, bool isFull) { saved.push_back({clip, duration, isFull}); };
        coordinator->onCaptureError = [this](const std::string& message) { errors.push_back(message); };
        executor->runAll();
    }

    void capture()
    {
        coordinator->selectWindowAndStartCapture(film);
        executor->runAll();
    }

    void settle()
    {
        captureService->sampleQueue().drain();
        captureService->audioQueue().drain();
        captureService->encoder().endingQueue().drain();
        captureService->encoder().outputQueue().drain();
        if (const auto buffer = captureService->replayBuffer())
            buffer->drain();
    }

    /// Pictures and sound, a sixtieth of a second apart. The first picture of a stream is a key frame.
    void deliver(int count, std::int32_t width = 640)
    {
        for (int i = 0; i < count; ++i) {
            const auto time = startTime + frames_++ * frameTime;
            streams->streams.back()->deliver(test::screenSample(time, width), StreamOutputType::screen);
            settle();
            streams->streams.back()->deliver(test::audioSample(time), StreamOutputType::audio);
        }
        settle();
    }

    /// What came of it, once that is known.
    Result<std::filesystem::path> save(std::optional<double> seconds = std::nullopt)
    {
        std::optional<Result<std::filesystem::path>> told;
        coordinator->saveReplay(seconds, [&](const auto& result) { told = result; });
        executor->runUntil([&] { return told.has_value(); });
        executor->runAll();
        return *told;
    }

    std::vector<Saved> saved;
    std::vector<std::string> errors;

private:
    std::int64_t frames_ = 0;
};

TEST_F(InstantReplayTest, IsOffUntilAskedForAndThenHoldsNothing)
{
    capture();
    deliver(3);
    EXPECT_FALSE(coordinator->replay());
    EXPECT_FALSE(captureService->replayBuffer());
    const auto result = save();
    ASSERT_FALSE(result);
    EXPECT_THAT(errors, ElementsAre("Instant replay is off; 'velmora replay on' begins it."));
    EXPECT_THAT(writers->writers, IsEmpty());
}

TEST_F(InstantReplayTest, KeepsAtMost25Seconds)
{
    EXPECT_TRUE(coordinator->setReplayDuration(25));
    for (const double seconds : {25.001, 0.0, -1.0, std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()})
        EXPECT_FALSE(coordinator->setReplayDuration(seconds)) << seconds;
    EXPECT_EQ(coordinator->replay()->seconds, 25) << "what is refused changes nothing";
    EXPECT_FALSE(save(25.001));
}

TEST_F(InstantReplayTest, SavesWhatWasCapturedAsAClipLikeAnyOther)
{
    ASSERT_TRUE(coordinator->setReplayDuration(15));
    capture();
    deliver(61);
    const auto result = save();
    ASSERT_TRUE(result) << result.error().localizedDescription;
    EXPECT_EQ(result->parent_path(), library->effectiveOutputDirectory().parent_path());
    EXPECT_THAT(result->filename().native(), testing::MatchesRegex("Velmora-....-..-..-..-..-..\\.mp4"));
    ASSERT_EQ(saved.size(), 1U);
    EXPECT_EQ(saved[0].clip, *result);
    EXPECT_NEAR(saved[0].duration, 1, 1e-6);
    EXPECT_FALSE(saved[0].isFullDuration) << "15 seconds were asked for";
    EXPECT_EQ(coordinator->lastSavedClipURL(), *result);
    ASSERT_EQ(library->recentClips().size(), 1U);
    EXPECT_EQ(library->recentClips()[0].url, *result);
    const auto& writer = *writers->writers.at(0);
    EXPECT_EQ(writer.sessionTime, MediaTime::nanoseconds(startTime));
    ASSERT_EQ(writer.input(MediaType::video)->samples.size(), 61U);
    EXPECT_EQ(writer.input(MediaType::video)->samples.back()->presentationTimeStamp, MediaTime::nanoseconds(startTime + 60 * frameTime));
    EXPECT_EQ(writer.input(MediaType::audio)->samples.size(), 61U);
    EXPECT_THAT(errors, IsEmpty());
}

TEST_F(InstantReplayTest, SaysHowManyBytesItHoldsAndLetsThemGo)
{
    ASSERT_TRUE(coordinator->setReplayDuration(5));
    EXPECT_EQ(coordinator->replay()->bytes, 0U);
    capture();
    deliver(10);
    EXPECT_EQ(coordinator->replay()->bytes, 10U * (16 + 1024 * 2 * 4));
    const std::weak_ptr<RollingBuffer> buffer = captureService->replayBuffer();
    ASSERT_TRUE(coordinator->setReplayDuration(std::nullopt));
    EXPECT_TRUE(buffer.expired());
    deliver(3);
    EXPECT_FALSE(coordinator->replay());
}

TEST_F(InstantReplayTest, BeginsAnewWithEveryWindowAndSleepAndStaysOn)
{
    ASSERT_TRUE(coordinator->setReplayDuration(15));
    capture();
    deliver(5);
    const std::weak_ptr<RollingBuffer> first = captureService->replayBuffer();
    workspace->sleep();
    executor->runAll();
    EXPECT_TRUE(first.expired());
    EXPECT_EQ(coordinator->replay()->bytes, 0U);
    EXPECT_FALSE(save());
    EXPECT_THAT(errors, ElementsAre("Cannot record: Please select a video window first."));

    capture();
    EXPECT_FALSE(save()) << "nothing has come yet";
    deliver(2);
    const std::weak_ptr<RollingBuffer> second = captureService->replayBuffer();
    ASSERT_TRUE(save());
    EXPECT_EQ(writers->writers.back()->input(MediaType::video)->samples.size(), 2U);
    capture();
    EXPECT_TRUE(second.expired());
    deliver(3);
    ASSERT_TRUE(save());
    EXPECT_EQ(writers->writers.back()->input(MediaType::video)->samples.size(), 3U);
}

TEST_F(InstantReplayTest, BeginsWithAKeyFrameThoughItIsSwitchedOnBetweenTwo)
{
    capture();
    deliver(2);
    ASSERT_TRUE(coordinator->setReplayDuration(15));
    deliver(2);
    EXPECT_EQ(coordinator->replay()->bytes, 0U) << "neither pictures that nothing begins nor sound without pictures";
    deliver(2, 320);  // another session, which begins with a key frame
    ASSERT_TRUE(save());
    EXPECT_EQ(writers->writers.back()->input(MediaType::video)->samples.size(), 2U);
}

TEST_F(InstantReplayTest, HoldsPicturesOfOneFormatOnly)
{
    ASSERT_TRUE(coordinator->setReplayDuration(15));
    capture();
    deliver(4);
    deliver(3, 320);
    ASSERT_TRUE(save());
    EXPECT_EQ(writers->writers.back()->input(MediaType::video)->samples.size(), 3U);
}

TEST_F(InstantReplayTest, KeepsTheStreamsSizeWhileItIsOn)
{
    ASSERT_TRUE(coordinator->setReplayDuration(15));
    capture();
    deliver(1);
    streams->streams.back()->settle(1000, 500);
    for (int i = 0; i < 3; ++i) {
        executor->runAll();
        settle();
    }
    EXPECT_THAT(streams->streams.back()->sizesAsked, IsEmpty());
    ASSERT_TRUE(coordinator->setReplayDuration(std::nullopt));
    executor->runUntil([&] { return !streams->streams.back()->sizesAsked.empty(); });
    EXPECT_THAT(streams->streams.back()->sizesAsked, ElementsAre(testing::Pair(1000, 500)));
}

TEST_F(InstantReplayTest, SavesThatOverlapEachGetANameAndTheirOwnPictures)
{
    ASSERT_TRUE(coordinator->setReplayDuration(15));
    capture();
    std::vector<std::filesystem::path> clips;
    std::atomic<std::size_t> begun = 0;
    writers->onCreate = [&](auto& made) {
        made.holdsFinish = true;
        ++begun;
    };
    for (int i = 0; i < 3; ++i) {
        deliver(1);
        coordinator->saveReplay(std::nullopt, [&](const auto& result) { clips.push_back(result.value()); });
        settle();
    }
    bool isAllSaved = false;
    coordinator->notifyWhenSaved([&] { isAllSaved = true; });
    EXPECT_FALSE(isAllSaved);
    for (std::size_t i = 0; i < 3; ++i) {
        // A file is made on the queue of its export.
        while (begun <= i) {
            executor->runAll();
            std::this_thread::yield();
        }
        // Once this one is finished the queue adds the next to the list.
        const auto writer = writers->writers[i];
        writer->answerFinish();
        executor->runUntil([&] { return clips.size() > i; });
        EXPECT_EQ(writer->input(MediaType::video)->samples.size(), i + 1);
    }
    executor->runAll();
    EXPECT_TRUE(isAllSaved);
    EXPECT_THAT(clips, testing::SizeIs(3));
    EXPECT_NE(clips[0], clips[1]);
    EXPECT_NE(clips[1], clips[2]);
    EXPECT_EQ(saved.size(), 3U);
}

TEST_F(InstantReplayTest, ThatCannotBeWrittenIsTold)
{
    ASSERT_TRUE(coordinator->setReplayDuration(15));
    capture();
    deliver(2);
    writers->createError = Error{"POSIX", 28, "No space left on device", nullptr};
    const auto result = save();
    ASSERT_FALSE(result);
    ASSERT_EQ(errors.size(), 1U);
    EXPECT_THAT(errors[0], testing::StartsWith("Failed saving recording: "));
    EXPECT_THAT(errors[0], testing::HasSubstr("No space left on device"));
    EXPECT_THAT(saved, IsEmpty());
    writers->createError.reset();
    EXPECT_TRUE(save()) << "the next one is not held up by it";
}

TEST_F(InstantReplayTest, AndARecordingKnowNothingOfEachOther)
{
    ASSERT_TRUE(coordinator->setReplayDuration(15));
    capture();
    deliver(2);
    ASSERT_TRUE(coordinator->startRecording());
    EXPECT_TRUE(save());
    EXPECT_TRUE(coordinator->isRecording());
    EXPECT_TRUE(coordinator->state().is<CaptureState::RecordingClip>());
    coordinator->stopCapture();
    EXPECT_EQ(writers->writers.at(0)->outputURL.filename().native().find("Velmora-Recording"), 0U);
}

}  // namespace
}  // namespace velmora
