#include "platform/linux/ffmpeg/EffortPolicy.h"

#include <chrono>
#include <gtest/gtest.h>

namespace velmora::linux_backend {
namespace {

using namespace std::chrono_literals;

using enum EncodingEffort;

class EffortPolicyTest : public ::testing::Test {
protected:
    /// An encoder that has settled.
    void begin(EncodingEffort effort)
    {
        policy_ = EffortPolicy{effort};
        moveFor(1s, 1ms);
    }

    /// Pictures at 60 a second, each of which takes `cost`.
    void moveFor(std::chrono::nanoseconds duration, std::chrono::nanoseconds cost, std::chrono::nanoseconds interval = 16'666'667ns)
    {
        for (const auto end = now_ + duration; now_ < end; now_ += interval)
            policy_.encoded(now_, now_ + cost);
    }

    void drop() { policy_.dropped(now_); }

    /// The encoder that is wanted runs and has settled.
    void follow()
    {
        policy_.changed();
        moveFor(EffortPolicy::settling + 50ms, 1ms);
    }

    MonotonicTime now_{1h};
    EffortPolicy policy_{normal};
};

TEST_F(EffortPolicyTest, TheFirstDroppedPictureLowersTheEffortByOneStep)
{
    begin(normal);
    EXPECT_EQ(policy_.wanted(), normal);
    drop();
    EXPECT_EQ(policy_.wanted(), low);
    EXPECT_EQ(policy_.effort(), normal);
    drop();
    drop();
    EXPECT_EQ(policy_.wanted(), low) << "one step, however many are lost before it is taken";
    follow();
    EXPECT_EQ(policy_.effort(), low);
    drop();
    EXPECT_EQ(policy_.wanted(), least);
    follow();
    drop();
    EXPECT_EQ(policy_.wanted(), least) << "there is nothing below";
}

TEST_F(EffortPolicyTest, PicturesThatWereLostWhileTheEncoderWasOpenedSayNothing)
{
    drop();
    EXPECT_EQ(policy_.wanted(), normal);
    policy_.encoded(now_, now_ + 5ms);
    now_ += 200ms;
    drop();
    EXPECT_EQ(policy_.wanted(), normal);
}

TEST_F(EffortPolicyTest, AMachineThatIsTooSlowFromTheStartHasLessWithinHalfASecond)
{
    const auto start = now_;
    while (policy_.wanted() == normal) {
        policy_.encoded(now_, now_ + 40ms);
        now_ += 40ms;
        drop();
    }
    EXPECT_LE(now_ - start, 500ms);
}

TEST_F(EffortPolicyTest, WhatTheChangeItselfLosesIsNotTakenForTheNewEffort)
{
    begin(normal);
    drop();
    policy_.changed();
    drop();
    policy_.encoded(now_, now_ + 5ms);
    now_ += 100ms;
    drop();
    EXPECT_EQ(policy_.wanted(), low);
    now_ += 400ms;
    drop();
    EXPECT_EQ(policy_.wanted(), least);
}

TEST_F(EffortPolicyTest, TenSecondsOfMotionWithTimeToSpareRaiseItByOneStep)
{
    begin(least);
    moveFor(8s, 2ms);
    EXPECT_EQ(policy_.wanted(), least);
    moveFor(2s, 2ms);
    EXPECT_EQ(policy_.wanted(), low);
    follow();
    moveFor(9s, 2ms);
    EXPECT_EQ(policy_.wanted(), low) << "the next step is waited for anew";
    moveFor(2s, 2ms);
    EXPECT_EQ(policy_.wanted(), normal);
    follow();
    moveFor(60s, 1ms);
    EXPECT_EQ(policy_.wanted(), normal) << "there is nothing above";
}

TEST_F(EffortPolicyTest, WithoutTimeToSpareItStaysAsItIs)
{
    begin(low);
    moveFor(60s, 5ms);
    EXPECT_EQ(policy_.wanted(), low) << "five milliseconds would become more than six";
    moveFor(20s, 4ms);
    EXPECT_EQ(policy_.wanted(), normal);
    begin(least);
    moveFor(60s, 8ms);
    EXPECT_EQ(policy_.wanted(), least);
    moveFor(20s, 7ms);
    EXPECT_EQ(policy_.wanted(), low);
}

TEST_F(EffortPolicyTest, AtHalfTheRateAPictureMayTakeTwiceAsLong)
{
    begin(low);
    moveFor(60s, 10ms, 33'333'333ns);
    EXPECT_EQ(policy_.wanted(), low);
    moveFor(20s, 8ms, 33'333'333ns);
    EXPECT_EQ(policy_.wanted(), normal);
}

TEST_F(EffortPolicyTest, ADroppedPictureBeginsTheWaitAnew)
{
    begin(least);
    for (int i = 0; i < 10; ++i) {
        moveFor(9s, 1ms);
        drop();
    }
    EXPECT_EQ(policy_.wanted(), least);
    moveFor(9s, 1ms);
    EXPECT_EQ(policy_.wanted(), least);
    moveFor(2s, 1ms);
    EXPECT_EQ(policy_.wanted(), low);
}

TEST_F(EffortPolicyTest, AWindowThatHardlyMovesShowsNothingOfWhatMotionCosts)
{
    begin(low);
    moveFor(40s, 1ms, 500ms);
    EXPECT_EQ(policy_.wanted(), low) << "eighty pictures are no ten seconds of motion";
    now_ += 24h;
    moveFor(1s, 1ms);
    EXPECT_EQ(policy_.wanted(), low) << "nor is a night";
}

TEST_F(EffortPolicyTest, ADropTakesBackAnIncreaseThatHasNotBeenMade)
{
    begin(low);
    moveFor(11s, 1ms);
    ASSERT_EQ(policy_.wanted(), normal);
    drop();
    EXPECT_EQ(policy_.wanted(), least);
}

TEST_F(EffortPolicyTest, AChangeThatFailsIsNotWantedAgainForFiveSeconds)
{
    begin(normal);
    drop();
    policy_.changeFailed(now_);
    EXPECT_EQ(policy_.wanted(), normal);
    now_ += 4s;
    drop();
    EXPECT_EQ(policy_.wanted(), normal);
    now_ += 1s;
    drop();
    EXPECT_EQ(policy_.wanted(), low);
}

TEST_F(EffortPolicyTest, AMachineBetweenTwoEffortsKeepsToTheLowerOne)
{
    begin(normal);
    int changes = 0;
    int lost = 0;
    double secondsLow = 0;
    const auto end = now_ + 1h;
    while (now_ < end) {
        // With normal effort something is lost within three seconds, with the low one there is time to spare.
        if (policy_.effort() == normal) {
            moveFor(3s, 4ms);
            drop();
            ++lost;
        } else {
            moveFor(1s, 3ms);
            ++secondsLow;
        }
        if (policy_.wanted() != policy_.effort()) {
            ++changes;
            follow();
        }
    }
    EXPECT_LE(changes, 36);
    EXPECT_LE(lost, 18);
    EXPECT_GE(secondsLow, 3500);
}

TEST_F(EffortPolicyTest, AnIncreaseThatHeldMakesTheNextWaitShorterAgain)
{
    begin(low);
    for (int i = 0; i < 2; ++i) {
        moveFor(41s, 1ms);
        ASSERT_EQ(policy_.wanted(), normal);
        follow();
        moveFor(1s, 1ms);
        drop();
        follow();
    }
    // Forty seconds now, two increases having gone wrong.
    moveFor(38s, 1ms);
    ASSERT_EQ(policy_.wanted(), low);
    moveFor(3s, 1ms);
    ASSERT_EQ(policy_.wanted(), normal);
    follow();
    moveFor(170s, 1ms);
    drop();
    follow();
    moveFor(18s, 1ms);
    EXPECT_EQ(policy_.wanted(), low);
    moveFor(3s, 1ms);
    EXPECT_EQ(policy_.wanted(), normal);
}

}  // namespace
}  // namespace velmora::linux_backend
