// What the contract of capture streams leaves to a Mac's own ways.
#include "platform/mac/MacCaptureStream.h"

#include "tests/platform/contracts/StreamListener.h"
#include "tests/platform/mac/ScriptedSystemStream.h"

#include <algorithm>
#include <atomic>
#include <future>
#include <gmock/gmock.h>
#include <span>

namespace velmora::mac_backend {
namespace {

using platform::StreamOutputType;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class MacCaptureStreamTest : public testing::Test {
protected:
    ~MacCaptureStreamTest() override
    {
        stream_.reset();
        queue_->drain();
    }

    void makeStream()
    {
        configuration_.width = 64;
        configuration_.height = 48;
        stream_ = makeCaptureStream(std::make_unique<ScriptedSystemStream>(script_), configuration_, listener_, requests_);
        EXPECT_TRUE(stream_->addStreamOutput(listener_, StreamOutputType::screen, queue_));
        EXPECT_TRUE(stream_->addStreamOutput(listener_, StreamOutputType::audio, queue_));
    }

    std::future<Result<void>> start()
    {
        auto promise = std::make_shared<std::promise<Result<void>>>();
        stream_->startCapture([promise](Result<void> result) { promise->set_value(std::move(result)); });
        return promise->get_future();
    }

    std::future<Result<void>> stop()
    {
        auto promise = std::make_shared<std::promise<Result<void>>>();
        stream_->stopCapture([promise](Result<void> result) { promise->set_value(std::move(result)); });
        return promise->get_future();
    }

    const std::shared_ptr<SystemStreamScript> script_ = std::make_shared<SystemStreamScript>();
    platform::StreamConfiguration configuration_;
    engine::KeyFrameRequests requests_;
    const std::shared_ptr<test::StreamListener> listener_ = std::make_shared<test::StreamListener>();
    const std::shared_ptr<SerialQueue> queue_ = std::make_shared<SerialQueue>("com.velmora.tests.stream");
    std::shared_ptr<platform::CaptureStream> stream_;
};

TEST_F(MacCaptureStreamTest, AStopBeforeTheSystemHasStartedWaitsForThatAndIsNotRefused)
{
    script_->holdsStart = true;
    makeStream();
    auto started = start();
    auto stopped = stop();
    EXPECT_EQ(script_->stopCount(), 0);
    script_->answerStart();
    EXPECT_TRUE(started.get());
    EXPECT_TRUE(stopped.get());
    EXPECT_EQ(script_->stopCount(), 1);
}

TEST_F(MacCaptureStreamTest, AStopOfAStartThatFailsHasNothingToStop)
{
    script_->holdsStart = true;
    script_->startError = Error{"Mac", -3801, "The user declined.", nullptr};
    makeStream();
    auto started = start();
    auto stopped = stop();
    script_->answerStart();
    EXPECT_FALSE(started.get());
    EXPECT_TRUE(stopped.get());
    EXPECT_EQ(script_->stopCount(), 0);
}

TEST_F(MacCaptureStreamTest, AnEndThatComesBeforeTheStartsCompletionIsToldBehindIt)
{
    script_->holdsStart = true;
    script_->endsBeforeTheStartIsAnswered = true;
    makeStream();
    std::atomic<bool> wasToldFirst = false;
    std::promise<void> started;
    stream_->startCapture([&](const Result<void>& result) {
        EXPECT_TRUE(result);
        wasToldFirst = !listener_->errors().empty();
        started.set_value();
    });
    script_->answerStart();
    started.get_future().get();
    listener_->waitForEnd();
    EXPECT_FALSE(wasToldFirst);
    EXPECT_TRUE(stop().get());
    EXPECT_THAT(listener_->errors(), SizeIs(1));
}

TEST_F(MacCaptureStreamTest, AnEndAndAFailedStartAreOneError)
{
    script_->holdsStart = true;
    script_->endsBeforeTheStartIsAnswered = true;
    script_->startError = Error{"Mac", -3802, "It could not be started.", nullptr};
    makeStream();
    auto started = start();
    script_->answerStart();
    EXPECT_FALSE(started.get());
    EXPECT_TRUE(stop().get());
    EXPECT_THAT(listener_->errors(), IsEmpty());
}

TEST_F(MacCaptureStreamTest, WhatTheSystemSaysAboutAStopIsTheStopsResult)
{
    makeStream();
    EXPECT_TRUE(start().get());
    {
        MutexLock lock(script_->mutex);
        script_->isRunning = false;
    }
    const auto result = stop().get();
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().code, -3808);
}

TEST_F(MacCaptureStreamTest, EveryStopIsCompletedAndTheSystemIsStoppedOnce)
{
    makeStream();
    EXPECT_TRUE(stop().get());
    EXPECT_TRUE(start().get());
    auto first = stop();
    auto second = stop();
    EXPECT_TRUE(first.get());
    EXPECT_TRUE(second.get());
    EXPECT_EQ(script_->stopCount(), 1);
}

TEST_F(MacCaptureStreamTest, AReleasedStreamStopsTheSystems)
{
    makeStream();
    EXPECT_TRUE(start().get());
    stream_.reset();
    script_->system.drain();
    queue_->drain();
    EXPECT_EQ(script_->stopCount(), 1);
}

TEST_F(MacCaptureStreamTest, WithoutASystemsStreamTheStartSaysWhy)
{
    stream_ = makeCaptureStream(fail("Mac", 5, "The window is no longer there."), configuration_, listener_);
    EXPECT_TRUE(stream_->addStreamOutput(listener_, StreamOutputType::screen, queue_));
    const auto result = start().get();
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().code, 5);
    EXPECT_TRUE(stop().get());
}

TEST_F(MacCaptureStreamTest, AnOutputThatTheSystemRefusesIsItsError)
{
    script_->addError = Error{"Mac", -3812, "Not that one.", nullptr};
    stream_ = makeCaptureStream(std::make_unique<ScriptedSystemStream>(script_), configuration_, listener_);
    const auto added = stream_->addStreamOutput(listener_, StreamOutputType::screen, queue_);
    ASSERT_FALSE(added);
    EXPECT_EQ(added.error().code, -3812);
}

TEST_F(MacCaptureStreamTest, PicturesKeepTheirOwnTimesInWhateverScaleTheyCome)
{
    makeStream();
    EXPECT_TRUE(start().get());
    const auto now = MonotonicClock::now() - std::chrono::milliseconds{20};
    const MediaTime ticks{liveTime(now).converted(24'000'000).value, 24'000'000};
    script_->show(ticks);
    listener_->waitForPictures(1);
    const auto apart = momentOf(listener_->pictures()[0]->presentationTimeStamp) - now;
    EXPECT_LT(std::chrono::abs(apart), std::chrono::microseconds{1});
}

TEST_F(MacCaptureStreamTest, ATimeThatIsUnknownAheadOfTheClockOrOldIsTheClocks)
{
    const auto before = MonotonicClock::now();
    for (const auto time :
        {MediaTime::invalid(), liveTime(before + std::chrono::hours{1}), liveTime(before - std::chrono::seconds{1}), MediaTime{1, 600}}) {
        makeStream();
        EXPECT_TRUE(start().get());
        script_->show(time);
        listener_->waitForPictures(1);
        // The first: what follows is repeated.
        const auto given = momentOf(listener_->pictures().front()->presentationTimeStamp);
        EXPECT_GE(given, before) << time.value;
        EXPECT_LE(given, MonotonicClock::now()) << time.value;
        EXPECT_TRUE(stop().get());
        queue_->drain();
        listener_->forget();
    }
}

TEST_F(MacCaptureStreamTest, ATimeThatStandsStillGoesOn)
{
    makeStream();
    EXPECT_TRUE(start().get());
    const auto time = liveTime(MonotonicClock::now());
    script_->show(time);
    script_->show(time);
    listener_->waitForPictures(2);
    EXPECT_GT(listener_->pictures()[1]->presentationTimeStamp, listener_->pictures()[0]->presentationTimeStamp);
}

TEST_F(MacCaptureStreamTest, AStillPictureIsRepeatedAtOnceForWhomeverWaitsForAKeyFrame)
{
    makeStream();
    EXPECT_TRUE(start().get());
    script_->show();
    listener_->waitForPictures(1);
    const auto request = requests_.ask();
    listener_->waitForPictures(2);
    const auto pictures = listener_->pictures();
    EXPECT_EQ(pictures[1]->imageBuffer, pictures[0]->imageBuffer);
    EXPECT_LT(momentOf(pictures[1]->presentationTimeStamp) - momentOf(pictures[0]->presentationTimeStamp), std::chrono::milliseconds{450});
}

TEST_F(MacCaptureStreamTest, ARequestBeforeTheFirstPictureHasNothingToRepeat)
{
    makeStream();
    EXPECT_TRUE(start().get());
    const auto request = requests_.ask();
    script_->show();
    listener_->waitForPictures(1);
    EXPECT_TRUE(stop().get());
    queue_->drain();
    EXPECT_THAT(listener_->pictures(), SizeIs(1));
}

TEST_F(MacCaptureStreamTest, NoPictureIsKeptAfterAStop)
{
    makeStream();
    EXPECT_TRUE(start().get());
    script_->show();
    listener_->waitForPictures(1);
    EXPECT_TRUE(stop().get());
    queue_->drain();
    EXPECT_EQ(listener_->pictures()[0]->imageBuffer.use_count(), 1);
    // Nor one that the system hands out all the same.
    const auto late = script_->show();
    EXPECT_TRUE(late.expired());
}

TEST_F(MacCaptureStreamTest, WithoutSoundFromTheSystemTheTrackIsSilence)
{
    configuration_.capturesAudio = true;
    makeStream();
    EXPECT_TRUE(start().get());
    listener_->waitForSound(2);
    for (const std::byte each : listener_->sound()[0]->data.bytes)
        ASSERT_EQ(each, std::byte{0});
}

TEST_F(MacCaptureStreamTest, SoundOfOneOrOfManyChannelsBecomesStereo)
{
    for (const std::int32_t channels : {1, 6}) {
        configuration_.capturesAudio = true;
        makeStream();
        EXPECT_TRUE(start().get());
        CapturedSound sound{liveTime(MonotonicClock::now()), 48000, channels, {}};
        for (int frame = 0; frame < 4096; ++frame) {
            for (int channel = 0; channel < channels; ++channel)
                sound.samples.push_back(static_cast<float>(channel + 1));
        }
        script_->play(sound);
        listener_->waitForSound(2);
        EXPECT_TRUE(stop().get());
        queue_->drain();
        bool hasPlayed = false;
        for (const auto& block : listener_->sound()) {
            const std::span samples{reinterpret_cast<const float*>(block->data.bytes.data()), block->data.bytes.size() / sizeof(float)};
            for (std::size_t at = 0; at < samples.size(); at += 2) {
                EXPECT_FLOAT_EQ(samples[at + 1], channels == 1 ? samples[at] : 2 * samples[at]);
                hasPlayed = hasPlayed || samples[at] > 0.9F;
            }
        }
        EXPECT_TRUE(hasPlayed);
        listener_->forget();
    }
}

TEST_F(MacCaptureStreamTest, SoundWithTheStampsOfAnotherClockIsTakenAsItComes)
{
    configuration_.capturesAudio = true;
    makeStream();
    EXPECT_TRUE(start().get());
    script_->play({MediaTime{1'000'000, 48000}, 48000, 2, std::vector<float>(8192, 0.5F)});
    listener_->waitForSound(2);
    EXPECT_TRUE(stop().get());
    queue_->drain();
    bool hasPlayed = false;
    for (const auto& block : listener_->sound()) {
        const std::span samples{reinterpret_cast<const float*>(block->data.bytes.data()), block->data.bytes.size() / sizeof(float)};
        hasPlayed = hasPlayed || std::any_of(samples.begin(), samples.end(), [](float value) { return value > 0.4F; });
    }
    EXPECT_TRUE(hasPlayed);
}

TEST_F(MacCaptureStreamTest, SoundOfAnotherRateOrWithoutATimeIsLeftOut)
{
    configuration_.capturesAudio = true;
    makeStream();
    EXPECT_TRUE(start().get());
    script_->play({liveTime(MonotonicClock::now()), 44100, 2, std::vector<float>(8192, 1.F)});
    script_->play({MediaTime::invalid(), 48000, 2, std::vector<float>(8192, 1.F)});
    listener_->waitForSound(1);
    for (const std::byte each : listener_->sound()[0]->data.bytes)
        ASSERT_EQ(each, std::byte{0});
}

TEST_F(MacCaptureStreamTest, TheSizeStaysAndSaysSo)
{
    makeStream();
    EXPECT_TRUE(start().get());
    std::optional<Result<void>> result;
    stream_->updateSize(10, 10, [&](Result<void> answer) { result = std::move(answer); });
    ASSERT_TRUE(result);
    EXPECT_FALSE(*result);
}

}  // namespace
}  // namespace velmora::mac_backend
