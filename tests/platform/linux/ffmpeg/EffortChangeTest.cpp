// What comes out while a session goes from one effort to another.
#include "engine/codecs/KeyFrameRequests.h"
#include "platform/linux/ffmpeg/BitBudget.h"
#include "platform/linux/ffmpeg/EffortPolicy.h"
#include "platform/linux/ffmpeg/SecondEncoder.h"
#include "tests/platform/linux/ffmpeg/EncodedPictures.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <set>
#include <thread>
#include <utility>
#include <vector>

namespace velmora::linux_backend {
namespace {

using namespace std::chrono_literals;
using test::second;
using ::testing::Each;
using testing::isKeyFrame;
using testing::softwareEncoder;

using enum EncodingEffort;

constexpr std::array allEfforts{least, low, normal};

class EffortChangeTest : public testing::EncodedPicturesTest {
protected:
    /// Behind the encoder's warming up.
    void settle() { moveTimes(20); }

    /// More pictures at once than the queue takes.
    void lose() { burst(5); }

    void loseAndFollow()
    {
        lose();
        opening_->runAll();
        move();
    }

    [[nodiscard]] EncodingEffort used() const { return log_.used.back(); }

    /// The same of a picture that stands still.
    void loseStillOnes()
    {
        for (int i = 0; i < 4; ++i)
            push({1, ++sequence_, {}}, second / 60);
        for (int i = 0; i < 3; ++i)
            encodeNext(canvas_);
    }

    /// Two numbers that take turns, whatever comes between key frames.
    void expectNumbersOfKeyFramesToAlternate()
    {
        std::optional<int> before;
        for (const auto& sample : samples_) {
            const auto number = testing::numberOfKeyFrame(*sample);
            if (number && before) {
                EXPECT_NE(*number, *before) << "at " << sample->presentationTimeStamp.value;
            }
            before = number ? number : before;
        }
    }

    void expectASoundStream()
    {
        expectEachShowsItsPicture();
        expectNeighboursHaveOtherNumbers();
        expectNumbersOfKeyFramesToAlternate();
        for (const auto& sample : samples_)
            EXPECT_EQ(sample->format, samples_.front()->format);
    }
};

TEST(EffortParameterSets, AreTheSameBytesWithEveryEffortAndAsTheOneThatTakesOver)
{
    for (const auto& [width, height] : {std::pair{2, 2}, {16, 16}, {64, 64}, {176, 144}, {320, 240}, {640, 360}, {1280, 720}, {1366, 768},
             {1920, 1080}, {2560, 1440}, {3840, 2160}}) {
        auto settings = testing::settingsFor(width, height);
        std::vector<std::vector<std::byte>> sets;
        for (const auto effort : allEfforts) {
            for (const bool takesOver : {false, true}) {
                settings.effort = effort;
                settings.takesOver = takesOver;
                const auto encoder = openVideoEncoder(softwareEncoder(), settings);
                ASSERT_TRUE(encoder);
                sets.push_back((*encoder)->format()->video()->decoderConfiguration);
            }
        }
        EXPECT_THAT(sets, Each(sets.front())) << width << " x " << height;
    }
}

TEST(EffortParameterSets, AreThoseThatTheEncodersMeanWithoutTheOneThatDescribesThem)
{
    auto candidate = softwareEncoder();
    candidate.headerOption.reset();
    std::vector<std::vector<std::byte>> sets;
    for (const auto effort : allEfforts) {
        auto settings = testing::settingsFor(640, 360);
        settings.effort = effort;
        sets.push_back((*openVideoEncoder(candidate, settings))->format()->video()->decoderConfiguration);
    }
    EXPECT_THAT(sets, Each(sets.front()));
}

TEST_F(EffortChangeTest, ALostPictureBringsAnEncoderOfLessEffortAtTheNextPicture)
{
    settle();
    lose();
    EXPECT_EQ(log_.opened, std::vector{normal}) << "another is not opened where pictures wait";
    EXPECT_EQ(opening_->pendingCount(), 1U);
    opening_->runAll();
    EXPECT_EQ(log_.opened, (std::vector{normal, low}));
    EXPECT_EQ(used(), normal);
    move();
    EXPECT_EQ(used(), low);
    EXPECT_TRUE(isKeyFrame(*samples_.back()));
    moveTimes(20);
    EXPECT_EQ(used(), low);
    EXPECT_EQ(samples_.size(), 20U + 3 + 1 + 20) << "nothing is lost beside what the queue dropped";
    expectASoundStream();
    opening_->runAll();
    EXPECT_EQ(log_.open, 1) << "the other one is closed";
}

TEST_F(EffortChangeTest, AnEncoderThatIsOpenedLateTakesOverWhenItIsThere)
{
    settle();
    lose();
    moveTimes(50);
    lose();
    EXPECT_EQ(used(), normal);
    EXPECT_EQ(opening_->pendingCount(), 1U) << "one at a time";
    opening_->runAll();
    move();
    EXPECT_EQ(used(), low);
    expectASoundStream();
}

TEST_F(EffortChangeTest, EachFurtherLossTakesAStepDownToTheLeastEffort)
{
    settle();
    for (const auto expected : {low, least, least}) {
        loseAndFollow();
        EXPECT_EQ(used(), expected);
        settle();
    }
    EXPECT_EQ(log_.opened, (std::vector{normal, low, least}));
    expectASoundStream();
}

/// How many key frames or pictures come before a change decides which of its two numbers the last key frame has.
class EffortChangeAtAnyMoment : public EffortChangeTest, public ::testing::WithParamInterface<int> { };

TEST_P(EffortChangeAtAnyMoment, OfMotionAndStillnessKeyFramesThatFollowEachOtherHaveOtherNumbers)
{
    settle();
    for (const auto expected : {low, least}) {
        moveTimes(GetParam() % 3);
        restTimes(GetParam());
        loseAndFollow();
        EXPECT_EQ(used(), expected);
        restTimes(GetParam() / 2);
        settle();
    }
    expectASoundStream();
}

TEST_P(EffortChangeAtAnyMoment, AKeyFrameThatIsAskedForIsTheOneOfTheChange)
{
    settle();
    lose();
    for (int i = 0; i < GetParam(); ++i) {
        const auto request = requests_.ask();
        move();
        EXPECT_TRUE(isKeyFrame(*samples_.back()));
    }
    EXPECT_EQ(used(), normal);
    opening_->runAll();
    const auto request = requests_.ask();
    move();
    EXPECT_EQ(used(), low);
    EXPECT_TRUE(isKeyFrame(*samples_.back()));
    EXPECT_FALSE(requests_.last());
    const auto next = requests_.ask();
    move();
    EXPECT_TRUE(isKeyFrame(*samples_.back()));
    moveTimes(3);
    expectASoundStream();
}

INSTANTIATE_TEST_SUITE_P(Moments, EffortChangeAtAnyMoment, ::testing::Range(0, 8));

TEST_F(EffortChangeTest, AStillPictureIsRepeatedAfterAChangeFromKeyFramesOfTheNewEncoder)
{
    settle();
    restTimes(6);
    lose();
    opening_->runAll();
    // The first picture of the new encoder is one that stands still.
    restTimes(10);
    EXPECT_EQ(used(), low);
    const int encoded = log_.encoded;
    restTimes(10);
    EXPECT_EQ(log_.encoded, encoded) << "and it goes on being repeated";
    moveTimes(3);
    expectASoundStream();
    expectFramesReferToWhatCameBefore();
}

TEST_F(EffortChangeTest, WhatTheFormerEncoderMadeOfAStillPictureIsNotRepeatedAfterTheChange)
{
    for (const int rests : {6, 7}) {
        settle();
        // Of one colour, so that key frames of either effort are alike.
        canvas_.fill({90, 120, 150});
        push({1, ++sequence_, {{0, 0, testing::pictureWidth, testing::pictureHeight}}}, second / 60);
        encodeNext(canvas_);
        restTimes(rests);
        loseStillOnes();
        opening_->runAll();
        const auto before = samples_.size();
        rest(second / 60);
        restTimes(8);
        std::set<const std::byte*> former;
        for (std::size_t index = 0; index < before; ++index)
            former.insert(samples_[index]->data.bytes.data());
        for (std::size_t index = before; index < samples_.size(); ++index)
            EXPECT_FALSE(former.contains(samples_[index]->data.bytes.data())) << index;
        opening_->runAll();
    }
    EXPECT_EQ(log_.opened, (std::vector{normal, low, least}));
    moveTimes(3);
    expectASoundStream();
}

TEST_F(EffortChangeTest, WhileAKnownPictureStandsStillNothingIsChangedAndNoSecondEncoderStays)
{
    settle();
    restTimes(6);
    const int encoded = log_.encoded;
    loseStillOnes();
    opening_->runAll();
    EXPECT_EQ(log_.open, 2);
    restTimes(4);
    opening_->runAll();
    EXPECT_EQ(log_.encoded, encoded + 2) << "the two between the half seconds";
    EXPECT_EQ(log_.open, 1) << "it has waited for a second";
    moveTimes(3);
    expectASoundStream();
}

TEST_F(EffortChangeTest, TenSecondsWithTimeToSpareRaiseTheEffortAtAKeyFrameThatIsDueAnyway)
{
    settings_.effort = low;
    settle();
    while (opening_->pendingCount() == 0)
        move();
    EXPECT_GE(log_.clock - MonotonicTime{1h}, EffortPolicy::firstWait);
    opening_->runAll();
    const auto before = samples_.size();
    while (used() == low && samples_.size() < before + 31)
        move();
    EXPECT_EQ(used(), normal);
    EXPECT_TRUE(isKeyFrame(*samples_.back()));
    std::vector<std::size_t> keyFrames;
    for (std::size_t index = before - 60; index < samples_.size(); ++index) {
        if (isKeyFrame(*samples_[index]))
            keyFrames.push_back(index);
    }
    for (std::size_t index = 1; index < keyFrames.size(); ++index)
        EXPECT_GE(keyFrames[index] - keyFrames[index - 1], 27U) << "no key frame for the change's own sake";
    moveTimes(3);
    expectASoundStream();
}

TEST_F(EffortChangeTest, WithoutTimeToSpareTheEffortStaysLow)
{
    settings_.effort = low;
    log_.cost = 6ms;
    moveTimes(700);
    EXPECT_EQ(opening_->pendingCount(), 0U);
    EXPECT_EQ(log_.opened, std::vector{low});
}

TEST_F(EffortChangeTest, AnEncoderThatCannotBeOpenedLeavesTheOneThatRunsAndIsTriedAgainAfterAWhile)
{
    settle();
    log_.openError = AVERROR(ENOMEM);
    lose();
    opening_->runAll();
    move();
    lose();
    EXPECT_EQ(opening_->pendingCount(), 0U) << "not with every picture";
    EXPECT_EQ(used(), normal);
    log_.openError = 0;
    moveTimes(310);
    loseAndFollow();
    EXPECT_EQ(used(), low);
    expectASoundStream();
}

TEST_F(EffortChangeTest, AnEncoderThatCannotTakeOverLeavesTheOneThatRuns)
{
    settle();
    log_.failingTakeOver = 0;
    loseAndFollow();
    EXPECT_EQ(used(), normal);
    opening_->runAll();
    EXPECT_EQ(log_.open, 1);
    settle();
    EXPECT_EQ(samples_.size(), 20U + 3 + 1 + 20);
    expectASoundStream();
}

TEST_F(EffortChangeTest, APictureThatFailsInTheNewEncoderIsMadeUpForByAKeyFrame)
{
    settle();
    lose();
    opening_->runAll();
    log_.failingCall = log_.encoded;
    move();
    log_.failingCall = -1;
    move();
    EXPECT_EQ(used(), low);
    EXPECT_TRUE(isKeyFrame(*samples_.back()));
    moveTimes(3);
    expectASoundStream();
}

TEST_F(EffortChangeTest, AnEncoderThatBreaksWhileAnotherIsBeingOpenedIsReplacedWithTheEffortThatItHad)
{
    settle();
    lose();
    pipeline_.drain();
    for (int i = 0; i < 10; ++i) {
        log_.failingCall = log_.encoded;
        move();
    }
    log_.failingCall = -1;
    move();
    EXPECT_EQ(log_.opened, (std::vector{normal, normal}));
    opening_->runAll();
    move();
    opening_->runAll();
    moveTimes(2);
    EXPECT_EQ(used(), low) << "what was lost before still counts";
    expectEachShowsItsPicture();
    expectNeighboursHaveOtherNumbers();
}

TEST_F(EffortChangeTest, AnEncoderWhoseKeyFramesAreNumberedOtherwiseStaysAsItIs)
{
    log_.alternates = false;
    settle();
    lose();
    move();
    EXPECT_EQ(opening_->pendingCount(), 0U);
}

TEST_F(EffortChangeTest, APipelineThatEndsWhileAnEncoderIsBeingOpenedOpensNone)
{
    {
        EncodingPipeline pipeline{testing::pictureWidth, testing::pictureHeight,
            [this](const VideoEncoderSettings& settings) -> SecondEncoder::Opened {
                return std::make_unique<testing::CountingEncoder>(settings, log_);
            },
            requests_, {.now = [this] { return log_.clock; }, .opening = opening_}};
        for (int i = 0; i < 30; ++i) {
            time_ += second / 60;
            log_.clock += 16ms;
            test::paintMovingScene(canvas_, i);
            engine::PendingPicture picture;
            picture.picture = canvas_.picture();
            picture.presentationTimeStamp = MediaTime::nanoseconds(time_);
            picture.changed = engine::DirtyArea::whole();
            picture.droppedInAll = i == 29 ? 1 : 0;
            pipeline.encode(std::move(picture), settings_);
        }
        EXPECT_EQ(opening_->pendingCount(), 1U);
    }
    opening_->runAll();
    EXPECT_EQ(log_.opened, std::vector{normal});
    EXPECT_EQ(log_.open, 0);
}

TEST(SecondEncoder, OneThatIsNoLongerWantedWhenItIsThereIsDestroyed)
{
    testing::CountingEncoder::Log log;
    const auto executor = std::make_shared<fake::ManualExecutor>();
    std::optional<SecondEncoder> other;
    other.emplace(
        [&](const VideoEncoderSettings& settings) -> SecondEncoder::Opened {
            if (settings.effort == low)
                other->begin(testing::settingsFor(64, 64));
            return std::make_unique<testing::CountingEncoder>(settings, log);
        },
        executor);
    auto settings = testing::settingsFor(64, 64);
    settings.effort = low;
    other->begin(settings);
    EXPECT_EQ(other->effort(), low);
    EXPECT_EQ(other->look(MonotonicTime{1s}), SecondEncoder::State::beingOpened);
    ASSERT_TRUE(executor->runOne());
    EXPECT_EQ(log.open, 0) << "another one was asked for meanwhile";
    EXPECT_EQ(other->effort(), normal);
    executor->runAll();
    EXPECT_EQ(other->look(MonotonicTime{1s}), SecondEncoder::State::isThere);
    EXPECT_EQ(other->look(MonotonicTime{2s}), SecondEncoder::State::isThere);
    EXPECT_EQ(other->look(MonotonicTime{2s + 1ns}), SecondEncoder::State::failed);
    EXPECT_EQ(other->look(MonotonicTime{3s}), SecondEncoder::State::none);
    executor->runAll();
    EXPECT_EQ(log.open, 0);
    EXPECT_EQ(log.opened, (std::vector{low, normal}));
}

TEST(SecondEncoder, WithoutAnExecutorItIsOpenedOnAThreadOfItsOwn)
{
    std::optional<std::thread::id> thread;
    std::unique_ptr<VideoEncoder> taken;
    {
        SecondEncoder other{[&](const VideoEncoderSettings& settings) {
            thread = std::this_thread::get_id();
            return openVideoEncoder(softwareEncoder(), settings);
        }};
        other.begin(testing::settingsFor(64, 64));
        while (other.look(MonotonicTime{1s}) != SecondEncoder::State::isThere)
            std::this_thread::yield();
        taken = other.take();
        EXPECT_FALSE(other.effort());
    }
    EXPECT_TRUE(taken);
    EXPECT_NE(thread, std::this_thread::get_id());
}

TEST(BitBudget, FillsWithTimeAndEmptiesWithPictures)
{
    BitBudget budget{8'000'000, 8'000'000, false};
    EXPECT_EQ(budget.unspent(0), 5'400'000 + 133'328);
    budget.encoded(0, budget.earnedBy(0), 5'000'000);
    EXPECT_EQ(budget.unspent(100'000), 533'328 + 800'000);
    EXPECT_EQ(budget.unspent(60'000'000), 533'328 + 4'000'000) << "half a second's worth at most";
    budget.encoded(100'000, budget.earnedBy(100'000), 9'000'000);
    EXPECT_EQ(budget.unspent(100'000), 800'000 + 8'000) << "what was overdrawn is forgotten";
    for (std::int64_t time = 1; time < 9; ++time)
        budget.encoded(time * 1'000'000, budget.earnedBy(time * 1'000'000), 0);
    EXPECT_EQ(budget.unspent(9'000'000), 6'000'000) << "no more than the buffer holds";
}

TEST(BitBudget, OneThatTakesOverIsBroughtToWhatWasLeft)
{
    BitBudget budget{8'000'000, 5'000'000, true};
    const auto missing = budget.missingTo(2'000'000);
    budget.encoded(0, missing, 0);
    EXPECT_EQ(budget.unspent(0), 2'000'000 + 5'000);
    EXPECT_EQ(budget.missingTo(1'000'000), 5'000) << "it cannot be emptied";
}

}  // namespace
}  // namespace velmora::linux_backend
