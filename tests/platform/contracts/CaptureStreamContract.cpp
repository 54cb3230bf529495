#include "tests/platform/contracts/CaptureStreamContract.h"

#include "base/MonotonicClock.h"
#include "media/LiveTime.h"

#include <cstring>
#include <future>
#include <gmock/gmock.h>
#include <optional>
#include <vector>

namespace velmora::test {

using platform::CaptureStream;
using platform::StreamOutputType;
using testing::IsEmpty;
using testing::SizeIs;

CaptureStreamContract::CaptureStreamContract()
{
    configuration_.width = width;
    configuration_.height = height;
    configuration_.capturesAudio = desktop_->hasSound();
}

CaptureStreamContract::~CaptureStreamContract()
{
    stream_.reset();
    queue_->drain();
}

void CaptureStreamContract::makeStream()
{
    stream_ = desktop_->makeStream(configuration_, listener_);
    EXPECT_TRUE(stream_->addStreamOutput(listener_, StreamOutputType::screen, queue_));
    EXPECT_TRUE(stream_->addStreamOutput(listener_, StreamOutputType::audio, queue_));
}

Result<void> CaptureStreamContract::start()
{
    std::promise<Result<void>> promise;
    stream_->startCapture([&](Result<void> result) { promise.set_value(std::move(result)); });
    return promise.get_future().get();
}

Result<void> CaptureStreamContract::stop()
{
    std::promise<Result<void>> promise;
    stream_->stopCapture([&](Result<void> result) { promise.set_value(std::move(result)); });
    return promise.get_future().get();
}

namespace {

TEST_P(CaptureStreamContract, PicturesOfTheConfiguredSizeComeWhenTheWindowChanges)
{
    makeStream();
    ASSERT_TRUE(start());
    for (std::size_t count = 1; count <= 3; ++count) {
        desktop_->draw();
        listener_->waitForPictures(count);
    }
    for (const auto& picture : listener_->pictures()) {
        ASSERT_TRUE(picture->imageBuffer);
        EXPECT_EQ(picture->imageBuffer->width, width);
        EXPECT_EQ(picture->imageBuffer->height, height);
        EXPECT_EQ(picture->format->video()->codec, FourCharacterCode{"BGRA"});
    }
    EXPECT_TRUE(stop());
}

TEST_P(CaptureStreamContract, AStillPictureIsRepeatedWithALaterTime)
{
    makeStream();
    ASSERT_TRUE(start());
    desktop_->draw();
    // A system may have more to show at first.
    for (std::size_t count = 2; count < 6; ++count) {
        listener_->waitForPictures(count);
        const auto pictures = listener_->pictures();
        const auto& last = *pictures[count - 1];
        const auto& before = *pictures[count - 2];
        if (last.imageBuffer->baseAddress != before.imageBuffer->baseAddress)
            continue;
        // It may be late, never early.
        EXPECT_GE(momentOf(last.presentationTimeStamp) - momentOf(before.presentationTimeStamp), std::chrono::milliseconds{400});
        return;
    }
    FAIL() << "no picture was repeated";
}

TEST_P(CaptureStreamContract, TimesAscendAndAreTheClocks)
{
    const auto before = MonotonicClock::now();
    makeStream();
    ASSERT_TRUE(start());
    for (std::size_t count = 1; count <= 4; ++count) {
        desktop_->draw();
        listener_->waitForPictures(count);
    }
    const auto after = MonotonicClock::now();
    MonotonicTime last{};
    for (const auto& picture : listener_->pictures()) {
        EXPECT_EQ(picture->presentationTimeStamp.timescale, MediaTime::nanosecondScale);
        const auto time = momentOf(picture->presentationTimeStamp);
        EXPECT_GT(time, last);
        EXPECT_GE(time, before);
        EXPECT_LE(time, after);
        last = time;
    }
}

TEST_P(CaptureStreamContract, AfterAStopNothingArrivesButItsCompletion)
{
    makeStream();
    ASSERT_TRUE(start());
    desktop_->draw();
    listener_->waitForPictures(1);
    EXPECT_TRUE(stop());
    queue_->drain();
    const auto count = listener_->pictures().size();
    desktop_->draw();
    desktop_->play(2048);
    desktop_->closeWindow();
    queue_->drain();
    EXPECT_THAT(listener_->pictures(), SizeIs(count));
    EXPECT_THAT(listener_->errors(), IsEmpty());
}

TEST_P(CaptureStreamContract, WhatWaitsInAQueueWhenAStopIsAskedForIsNotDelivered)
{
    makeStream();
    ASSERT_TRUE(start());
    desktop_->draw();
    listener_->waitForPictures(1);
    std::promise<void> held;
    std::promise<void> released;
    queue_->async([&] {
        held.set_value();
        released.get_future().get();
    });
    held.get_future().get();
    const auto count = listener_->pictures().size();
    desktop_->draw();
    std::promise<void> stopped;
    stream_->stopCapture([&](const Result<void>&) { stopped.set_value(); });
    released.set_value();
    stopped.get_future().get();
    queue_->drain();
    EXPECT_THAT(listener_->pictures(), SizeIs(count));
}

TEST_P(CaptureStreamContract, AStopThatIsAskedForAtOnceStillGivesBothCompletions)
{
    makeStream();
    std::promise<void> started;
    std::promise<void> stopped;
    stream_->startCapture([&](const Result<void>&) { started.set_value(); });
    stream_->stopCapture([&](const Result<void>&) { stopped.set_value(); });
    started.get_future().get();
    stopped.get_future().get();
    desktop_->draw();
    queue_->drain();
    EXPECT_THAT(listener_->pictures(), IsEmpty());
}

TEST_P(CaptureStreamContract, AWindowThatGoesEndsTheStreamOnceWithAReason)
{
    makeStream();
    ASSERT_TRUE(start());
    desktop_->draw();
    listener_->waitForPictures(1);
    desktop_->closeWindow();
    listener_->waitForEnd();
    queue_->drain();
    const auto count = listener_->pictures().size();
    desktop_->closeWindow();
    desktop_->draw();
    queue_->drain();
    EXPECT_THAT(listener_->pictures(), SizeIs(count));
    EXPECT_TRUE(stop());
    ASSERT_THAT(listener_->errors(), SizeIs(1));
    EXPECT_NE(listener_->errors()[0].localizedDescription, "");
}

TEST_P(CaptureStreamContract, AStartThatFailsIsItsErrorAndNothingFollows)
{
    if (!desktop_->refuseStart(77))
        GTEST_SKIP() << "no start fails";
    makeStream();
    const auto result = start();
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().code, 77);
    EXPECT_NE(result.error().localizedDescription, "");
    desktop_->draw();
    queue_->drain();
    EXPECT_THAT(listener_->pictures(), IsEmpty());
    EXPECT_THAT(listener_->errors(), IsEmpty());
}

TEST_P(CaptureStreamContract, AMicrophoneIsNoOutput)
{
    makeStream();
    EXPECT_FALSE(stream_->addStreamOutput(listener_, StreamOutputType::microphone, queue_));
}

TEST_P(CaptureStreamContract, AStreamMayBeReleasedWhileItRuns)
{
    makeStream();
    ASSERT_TRUE(start());
    desktop_->draw();
    listener_->waitForPictures(1);
    stream_.reset();
    queue_->drain();
    const auto count = listener_->pictures().size();
    desktop_->draw();
    queue_->drain();
    EXPECT_THAT(listener_->pictures(), SizeIs(count));
}

TEST_P(CaptureStreamContract, PicturesThatAreHeldStayWhenTheStreamHasGone)
{
    makeStream();
    ASSERT_TRUE(start());
    desktop_->draw();
    listener_->waitForPictures(1);
    const auto picture = listener_->pictures().front();
    EXPECT_TRUE(stop());
    stream_.reset();
    std::vector<std::byte> copy(static_cast<std::size_t>(width) * 4);
    std::memcpy(copy.data(), picture->imageBuffer->baseAddress, copy.size());
}

TEST_P(CaptureStreamContract, SoundIsATrackWithoutGapsOfInterleavedBlocks)
{
    if (!desktop_->hasSound())
        GTEST_SKIP() << "silent";
    makeStream();
    ASSERT_TRUE(start());
    for (int count = 0; count < 12; ++count)
        desktop_->play(480);
    listener_->waitForSound(3);
    EXPECT_TRUE(stop());
    bool hasPlayed = false;
    std::optional<MonotonicTime> expected;
    for (const auto& block : listener_->sound()) {
        const auto* const format = block->format->audio();
        ASSERT_NE(format, nullptr);
        EXPECT_EQ(format->channelCount, 2);
        EXPECT_GE(block->sampleCount, 1024);
        ASSERT_EQ(block->data.bytes.size(), static_cast<std::size_t>(block->sampleCount) * 2 * sizeof(float));
        const auto time = momentOf(block->presentationTimeStamp);
        EXPECT_LT(std::chrono::abs(time - expected.value_or(time)), std::chrono::microseconds{2});
        expected = time + std::chrono::nanoseconds{block->sampleCount * 1'000'000'000 / format->sampleRate};
        std::vector<float> samples(block->data.bytes.size() / sizeof(float));
        std::memcpy(samples.data(), block->data.bytes.data(), block->data.bytes.size());
        for (std::size_t at = 0; at < samples.size(); at += 2) {
            EXPECT_FLOAT_EQ(samples[at + 1], -samples[at] / 2);
            hasPlayed = hasPlayed || samples[at] > 0.4F;
        }
    }
    EXPECT_TRUE(hasPlayed);
}

}  // namespace
}  // namespace velmora::test
