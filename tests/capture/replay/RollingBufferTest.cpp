#include "capture/replay/RollingBuffer.h"

#include "tests/support/Samples.h"

#include <cmath>
#include <cstdlib>
#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <new>
#include <thread>

namespace {

// How often this thread has allocated. Counted in the whole test program, because a container's capacity cannot be seen from outside.
thread_local std::size_t allocationsOfThisThread = 0;

}  // namespace

void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    ++allocationsOfThisThread;
    return std::malloc(size != 0 ? size : 1);
}

void* operator new(std::size_t size)
{
    if (void* memory = operator new(size, std::nothrow))
        return memory;
    throw std::bad_alloc{};
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}

namespace velmora {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

std::int64_t nanoseconds(double seconds)
{
    return std::llround(seconds * 1e9);
}

std::vector<double> times(const std::vector<SampleBufferRef>& samples)
{
    std::vector<double> result;
    for (const auto& sample : samples)
        result.push_back(sample->presentationTimeStamp.seconds());
    return result;
}

class RollingBufferTest : public testing::Test {
protected:
    void video(double seconds, bool keyFrame) { buffer->appendVideoSample(test::videoSample(nanoseconds(seconds), keyFrame)); }
    void audio(double seconds) { buffer->appendAudioSample(test::audioSample(nanoseconds(seconds))); }

    /// `count` pictures, `rate` a second, from `start` on; every 30th a key frame.
    void steadyVideo(int count, int rate, double start = 0)
    {
        for (int i = 0; i < count; ++i)
            video(start + static_cast<double>(i) / rate, i % 30 == 0);
    }

    [[nodiscard]] BufferSnapshot snapshot() const
    {
        std::promise<BufferSnapshot> answer;
        buffer->snapshot([&answer](BufferSnapshot snapshot) { answer.set_value(snapshot); });
        return answer.get_future().get();
    }

    [[nodiscard]] std::size_t allocationsOfTheQueue() const
    {
        std::promise<std::size_t> answer;
        buffer->snapshot([&answer](const auto&) { answer.set_value(allocationsOfThisThread); });
        return answer.get_future().get();
    }

    [[nodiscard]] double bufferedDuration() const
    {
        std::promise<double> answer;
        buffer->bufferedDuration([&answer](double duration) { answer.set_value(duration); });
        return answer.get_future().get();
    }

    [[nodiscard]] std::optional<RollingBufferExtraction> extract(std::optional<double> requestedDuration = std::nullopt) const
    {
        std::promise<std::optional<RollingBufferExtraction>> answer;
        buffer->extractRecentClip(requestedDuration, [&answer](auto extraction) { answer.set_value(std::move(extraction)); });
        return answer.get_future().get();
    }

    std::shared_ptr<RollingBuffer> buffer = RollingBuffer::create();
};

TEST_F(RollingBufferTest, ANewBufferIsEmptyAndKeepsTwentySecondsForAClipOfFifteen)
{
    EXPECT_EQ(buffer->targetDuration(), 15.0);
    EXPECT_EQ(buffer->maxRetentionDuration(), 20.0);
    EXPECT_EQ(buffer->queue().label(), "com.velmora.rollingBuffer");
    EXPECT_EQ(snapshot(), (BufferSnapshot{0, 0, 0.0, 15.0}));
    EXPECT_EQ(bufferedDuration(), 0);
}

TEST_F(RollingBufferTest, ExtractionFromAnEmptyBufferIsAbsent)
{
    EXPECT_FALSE(extract());
    EXPECT_FALSE(extract(5));
    audio(1);
    EXPECT_FALSE(extract()) << "sound alone is not a clip";
}

TEST_F(RollingBufferTest, ASnapshotCountsWhatIsThere)
{
    steadyVideo(31, 30);
    audio(0.5);
    audio(0.6);
    EXPECT_EQ(snapshot(), (BufferSnapshot{31, 2, 1.0, 15.0}));
    EXPECT_EQ(bufferedDuration(), 1.0);
}

TEST_F(RollingBufferTest, ARequestStartsAtTheLastKeyFrameAtOrBeforeItsBeginning)
{
    steadyVideo(25 * 30 + 1, 30);
    const auto exact = extract(15);
    ASSERT_TRUE(exact);
    EXPECT_EQ(exact->startPTS, (MediaTime{10, 1}));
    EXPECT_EQ(exact->endPTS, (MediaTime{25, 1}));
    EXPECT_EQ(exact->actualDuration, 15.0);
    EXPECT_TRUE(exact->isFullDuration);
    EXPECT_THAT(exact->videoSamples, SizeIs(451));
    EXPECT_TRUE(exact->videoSamples.front()->isSync());

    video(25.5, false);
    const auto between = extract(15);
    EXPECT_EQ(between->startPTS, (MediaTime{10, 1}));
    EXPECT_EQ(between->actualDuration, 15.5);
    EXPECT_TRUE(between->isFullDuration);
}

TEST_F(RollingBufferTest, AKeyFrameOneTickAfterTheBeginningIsTooYoung)
{
    video(1, true);
    buffer->appendVideoSample(test::videoSample(nanoseconds(2) + 1, true));
    video(7, false);
    EXPECT_EQ(extract(5)->startPTS, (MediaTime{1, 1}));
    EXPECT_EQ(extract(4.9)->startPTS, (MediaTime::nanoseconds(nanoseconds(2) + 1)));
}

TEST_F(RollingBufferTest, WithoutADurationTheTargetIsExtracted)
{
    buffer = RollingBuffer::create(2, 10);
    steadyVideo(5 * 30 + 1, 30);
    EXPECT_EQ(extract()->startPTS, (MediaTime{3, 1}));
    EXPECT_EQ(snapshot().targetDuration, 2.0);
}

TEST_F(RollingBufferTest, AnOnlyKeyFrameThatIsYoungerThanTheBeginningMakesAShorterClip)
{
    video(100, false);
    video(104, false);
    video(108, true);
    video(112, false);
    const auto clip = extract(10);
    ASSERT_TRUE(clip);
    EXPECT_THAT(times(clip->videoSamples), ElementsAre(108, 112));
    EXPECT_EQ(clip->actualDuration, 4.0);
    EXPECT_FALSE(clip->isFullDuration);
}

TEST_F(RollingBufferTest, AClipThatMissesHalfASecondIsFullAndOneThatMissesATickMoreIsNot)
{
    video(85, false);
    video(85.5, true);
    video(100, false);
    EXPECT_EQ(extract(15)->actualDuration, 14.5);
    EXPECT_TRUE(extract(15)->isFullDuration);

    buffer = RollingBuffer::create();
    video(85, false);
    buffer->appendVideoSample(test::videoSample(nanoseconds(85.5) + 1, true));
    video(100, false);
    EXPECT_FALSE(extract(15)->isFullDuration);
}

TEST_F(RollingBufferTest, WithoutAnyKeyFrameTheClipBeginsWithTheOldestPicture)
{
    video(100, false);
    video(101, false);
    video(102, false);
    const auto clip = extract(1);
    ASSERT_TRUE(clip);
    EXPECT_THAT(times(clip->videoSamples), ElementsAre(100, 101, 102));
    EXPECT_EQ(clip->actualDuration, 2.0);
    EXPECT_TRUE(clip->isFullDuration);
}

TEST_F(RollingBufferTest, ARequestBeyondTheBeginningOfTimeStartsAtTheLastKeyFrameAtTimeZeroElseAtTheFirst)
{
    video(0, true);
    video(1, true);
    video(2, false);
    for (const double requested : {3.0, 1e6, 1e300, std::numeric_limits<double>::infinity()}) {
        EXPECT_THAT(times(extract(requested)->videoSamples), ElementsAre(0, 1, 2)) << requested;
        EXPECT_FALSE(extract(requested)->isFullDuration) << requested;
    }

    buffer = RollingBuffer::create();
    video(0, false);
    video(1, true);
    video(2, true);
    EXPECT_THAT(times(extract(3)->videoSamples), ElementsAre(1, 2));
}

TEST_F(RollingBufferTest, ARequestOfNothingStartsAtTheNewestKeyFrame)
{
    video(1, true);
    video(2, true);
    video(3, false);
    EXPECT_THAT(times(extract(0)->videoSamples), ElementsAre(2, 3));
    EXPECT_TRUE(extract(0)->isFullDuration);
}

TEST_F(RollingBufferTest, SoundIsTakenWhereItOverlapsThePictures)
{
    video(10, true);
    video(11, false);
    const auto block = MediaTime{1024, 48000};
    const auto justBefore = nanoseconds(10) - MediaTime{block}.converted(MediaTime::nanosecondScale).value - 1;
    for (const std::int64_t time : {justBefore, justBefore + 1, nanoseconds(10), nanoseconds(11), nanoseconds(11) + 1})
        buffer->appendAudioSample(test::audioSample(time));
    const auto clip = extract();
    std::vector<std::int64_t> taken;
    for (const auto& sample : clip->audioSamples)
        taken.push_back(sample->presentationTimeStamp.value);
    EXPECT_THAT(taken, ElementsAre(justBefore + 1, nanoseconds(10), nanoseconds(11)));
}

TEST_F(RollingBufferTest, SoundThatEndsExactlyWithTheFirstPictureIsTaken)
{
    video(10, true);
    video(11, false);
    auto sample = std::make_shared<SampleBuffer>(*test::audioSample(nanoseconds(9.5)));
    sample->duration = MediaTime{1, 2};
    buffer->appendAudioSample(sample);
    EXPECT_THAT(times(extract()->audioSamples), ElementsAre(9.5));
}

TEST_F(RollingBufferTest, SoundOfUnknownDurationEndsWhereItBegins)
{
    video(10, true);
    video(11, false);
    for (const auto time : {nanoseconds(10) - 1, nanoseconds(10)}) {
        auto sample = std::make_shared<SampleBuffer>(*test::audioSample(time));
        sample->duration = MediaTime::invalid();
        buffer->appendAudioSample(sample);
    }
    EXPECT_THAT(times(extract()->audioSamples), ElementsAre(10));
}

TEST_F(RollingBufferTest, AnExtractionSharesTheSamplesAndChangesNothing)
{
    const auto picture = test::videoSample(nanoseconds(1), true);
    const auto sound = test::audioSample(nanoseconds(1));
    buffer->appendVideoSample(picture);
    buffer->appendAudioSample(sound);
    const auto before = snapshot();
    const auto first = extract();
    const auto second = extract();
    EXPECT_THAT(first->videoSamples, ElementsAre(picture));
    EXPECT_THAT(first->audioSamples, ElementsAre(sound));
    EXPECT_EQ(second->videoSamples, first->videoSamples);
    EXPECT_EQ(snapshot(), before);
}

TEST_F(RollingBufferTest, WhatTheBufferDropsLaterStaysInAnExtraction)
{
    auto picture = test::videoSample(nanoseconds(1), true);
    const std::weak_ptr<const SampleBuffer> watch = picture;
    buffer->appendVideoSample(std::move(picture));
    auto clip = extract();
    buffer->clear();
    buffer->drain();
    EXPECT_THAT(clip->videoSamples, ElementsAre(watch.lock()));
    clip.reset();
    EXPECT_TRUE(watch.expired());
}

TEST_F(RollingBufferTest, ClearEmptiesTheBufferAndItFillsAnew)
{
    steadyVideo(100, 30);
    audio(1);
    buffer->clear();
    EXPECT_EQ(snapshot(), (BufferSnapshot{0, 0, 0.0, 15.0}));
    EXPECT_FALSE(extract());
    video(2, true);
    video(3, false);
    EXPECT_THAT(times(extract()->videoSamples), ElementsAre(2, 3));
}

TEST_F(RollingBufferTest, AClearedBufferKeepsItsRoomAndAllocatesNothingUntilItHoldsAsMuchAgain)
{
    const auto fill = [this] {
        steadyVideo(600, 60);
        for (int i = 0; i < 600; ++i)
            audio(i / 60.0);
    };
    const auto empty = allocationsOfTheQueue();
    fill();
    const auto filled = allocationsOfTheQueue();
    EXPECT_GT(filled, empty) << "the queue makes the room";
    buffer->clear();
    fill();
    EXPECT_EQ(allocationsOfTheQueue(), filled);
    EXPECT_EQ(snapshot().videoSampleCount, 600U);
    EXPECT_EQ(snapshot().audioSampleCount, 600U);
}

TEST_F(RollingBufferTest, OfTheOldPicturesTheNewestThatIsOlderThanTheRetentionIsKept)
{
    for (int second = 0; second <= 29; ++second)
        video(second, true);
    EXPECT_EQ(snapshot().videoSampleCount, 22U) << "from second 8 on";
    video(30, true);
    EXPECT_EQ(snapshot().videoSampleCount, 22U) << "from second 9 on: 10 lies on the retention's limit, not before it";
    EXPECT_EQ(bufferedDuration(), 21.0);
}

TEST_F(RollingBufferTest, NothingIsDroppedByTimeBeforeMoreThanTheRetentionHasPassedSinceTimeZero)
{
    for (const double time : {-3.0, -2.0, -1.0, 0.0, 1.0, 20.0})
        video(time, true);
    EXPECT_EQ(snapshot().videoSampleCount, 6U);
    buffer->appendVideoSample(test::videoSample(nanoseconds(20) + 1, true));
    EXPECT_EQ(snapshot().videoSampleCount, 4U) << "from second 0 on, which is one tick older than the retention";
}

TEST_F(RollingBufferTest, TheKeyFrameThatAClipOfTheTargetBeginsWithIsNeverDroppedByTime)
{
    video(100, true);
    for (int second = 101; second <= 160; ++second)
        video(second, false);
    EXPECT_EQ(bufferedDuration(), 60.0) << "there is no other to begin with";
    video(161, true);
    for (int second = 162; second <= 175; ++second)
        video(second, false);
    EXPECT_EQ(bufferedDuration(), 75.0) << "the second key frame is not old enough";
    video(176, false);
    EXPECT_EQ(bufferedDuration(), 21.0) << "from second 155 on, the newest before 156";
    EXPECT_THAT(extract()->startPTS, (MediaTime{161, 1}));
}

TEST_F(RollingBufferTest, WithoutAKeyFrameNothingIsDroppedByTime)
{
    for (int second = 100; second <= 200; ++second)
        video(second, false);
    EXPECT_EQ(snapshot().videoSampleCount, 101U);
}

TEST_F(RollingBufferTest, AfterAStillStretchAFullClipCanStillBeCutOut)
{
    video(100, true);
    video(100.5, false);
    video(300, true);
    const auto clip = extract();
    EXPECT_EQ(clip->startPTS, (MediaTime{100, 1}));
    EXPECT_TRUE(clip->isFullDuration);
}

TEST_F(RollingBufferTest, ThePictureAfterTheLimitOf1800DropsTheOldestEvenIfItIsAKeyFrame)
{
    video(100, true);
    for (int i = 1; i < 1800; ++i)
        video(100 + i * 0.001, false);
    EXPECT_EQ(snapshot().videoSampleCount, 1800U);
    EXPECT_EQ(extract()->startPTS, (MediaTime{100, 1}));
    video(102, false);
    EXPECT_EQ(snapshot().videoSampleCount, 1800U);
    EXPECT_EQ(extract()->startPTS, (MediaTime{100'001, 1000})) << "the oldest, and no key frame is left";
}

TEST_F(RollingBufferTest, TheLimitOfPicturesHoldsAlsoBeforeAnythingIsOldEnoughToBeDropped)
{
    for (int i = 0; i <= 1801; ++i)
        video(i * 0.01, true);
    EXPECT_EQ(snapshot().videoSampleCount, 1800U);
    EXPECT_EQ(extract(100)->startPTS, (MediaTime{2, 100}));
}

TEST_F(RollingBufferTest, TheBlockOfSoundAfterTheLimitOf2000IsDroppedWithTheNextPicture)
{
    video(100, true);
    for (int i = 0; i <= 2000; ++i)
        audio(100 + i * 0.001);
    EXPECT_EQ(snapshot().audioSampleCount, 2001U) << "sound alone does not count itself";
    video(103, false);
    EXPECT_EQ(snapshot().audioSampleCount, 2000U);
    EXPECT_EQ(times(extract()->audioSamples).front(), 100.001) << "the oldest is gone";
}

TEST_F(RollingBufferTest, TheLimitOfSoundHoldsAlsoBeforeAnythingIsOldEnoughToBeDropped)
{
    for (int i = 0; i <= 2000; ++i)
        audio(i * 0.001);
    video(3, true);
    EXPECT_EQ(snapshot().audioSampleCount, 2000U);
}

TEST_F(RollingBufferTest, SoundTwoSecondsOlderThanTheOldestPictureGoesWithTheNextBlock)
{
    for (const double time : {1.0, 7.999999999, 8.0, 9.0})
        audio(time);
    video(10, true);
    EXPECT_EQ(snapshot().audioSampleCount, 4U) << "less than the retention has passed: pictures leave the sound alone";
    audio(10);
    EXPECT_EQ(snapshot().audioSampleCount, 3U) << "8, 9 and 10: 8 lies on the limit, not before it";
}

TEST_F(RollingBufferTest, APictureThatPrunesByTimePrunesTheSoundToo)
{
    audio(1);
    audio(97);
    audio(99);
    video(100, true);
    EXPECT_EQ(snapshot().audioSampleCount, 1U);
}

TEST_F(RollingBufferTest, SoundIsKeptAsLongAsNoBlockIsYoungEnough)
{
    audio(1);
    audio(2);
    video(10, true);
    audio(3);
    EXPECT_EQ(snapshot().audioSampleCount, 3U);
    audio(8);
    EXPECT_EQ(snapshot().audioSampleCount, 1U);
}

TEST_F(RollingBufferTest, SoundWithoutAnyPictureIsNeverDropped)
{
    for (int i = 0; i < 2500; ++i)
        audio(i);
    EXPECT_EQ(snapshot().audioSampleCount, 2500U);
}

TEST_F(RollingBufferTest, ASampleWithoutAttachmentsIsAKeyFrame)
{
    video(100, false);
    auto bare = std::make_shared<SampleBuffer>(*test::videoSample(nanoseconds(101), false));
    bare->attachments = nullptr;
    buffer->appendVideoSample(bare);
    video(102, false);
    EXPECT_THAT(times(extract()->videoSamples), ElementsAre(101, 102));
}

TEST_F(RollingBufferTest, TimesThatRunBackwardsMakeNoNegativeDuration)
{
    video(10, true);
    video(9, false);
    EXPECT_EQ(bufferedDuration(), 0);
    EXPECT_EQ(snapshot().bufferedDuration, 0);
    EXPECT_EQ(extract()->actualDuration, 0);
}

TEST_F(RollingBufferTest, OnceTheTargetAndAGroupOfPicturesAreThereEveryClipOfItIsFullAndBeginsWithAKeyFrame)
{
    constexpr double boot = 86'412.345678901;
    int checked = 0;
    for (int i = 0; i < 40 * 30; ++i) {
        video(boot + i / 30.0, i % 30 == 0);
        if (i < 16 * 30 || i % 7 != 0)
            continue;
        const auto clip = extract();
        ++checked;
        ASSERT_TRUE(clip->isFullDuration) << i;
        ASSERT_GE(clip->actualDuration, 15.0 - 1e-6) << i;
        ASSERT_LT(clip->actualDuration, 16.0 + 1e-6) << i;
        ASSERT_TRUE(clip->videoSamples.front()->isSync()) << i;
        ASSERT_LT(bufferedDuration(), 20.1) << i;
    }
    EXPECT_EQ(checked, 103);
}

TEST_F(RollingBufferTest, EverythingHappensInTheOrderOfSubmission)
{
    std::thread sound([this] {
        for (int i = 0; i < 500; ++i)
            audio(100 + i * 0.01);
    });
    std::vector<std::size_t> sizes;
    for (int i = 0; i < 500; ++i) {
        video(100 + i * 0.01, i % 30 == 0);
        if (i % 50 == 49)
            buffer->extractRecentClip(100, [&sizes](const auto& clip) { sizes.push_back(clip->videoSamples.size()); });
    }
    sound.join();
    buffer->drain();
    EXPECT_THAT(sizes, ElementsAre(50, 100, 150, 200, 250, 300, 350, 400, 450, 500));
    const auto clip = extract(100);
    EXPECT_EQ(snapshot().audioSampleCount, 500U);
    const auto heard = times(clip->audioSamples);
    EXPECT_TRUE(std::is_sorted(heard.begin(), heard.end()));
}

TEST_F(RollingBufferTest, AQuestionIsAnsweredAlsoWhenTheBufferIsReleasedMeanwhile)
{
    std::promise<std::optional<RollingBufferExtraction>> answer;
    video(1, true);
    buffer->extractRecentClip(std::nullopt, [&answer](auto clip) { answer.set_value(std::move(clip)); });
    buffer.reset();
    const auto clip = answer.get_future().get();
    ASSERT_TRUE(clip);
    EXPECT_THAT(clip->videoSamples, SizeIs(1));
}

}  // namespace
}  // namespace velmora
