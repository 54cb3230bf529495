#include "engine/codecs/ReadyAudioEncoder.h"

#include <atomic>
#include <future>
#include <gtest/gtest.h>
#include <thread>

namespace velmora::engine {
namespace {

/// Knows who made it.
class MarkedEncoder final : public AudioEncoder {
public:
    MarkedEncoder(std::thread::id thread, std::int64_t channels) : madeOn(thread), channelCount(channels) { }

    [[nodiscard]] FormatDescriptionRef format() const override { return nullptr; }
    [[nodiscard]] std::int64_t primingFrames() const override { return 0; }
    Result<void> encode(std::span<const float>, std::vector<Packet>&) override { return {}; }
    Result<void> flush(std::vector<Packet>&) override { return {}; }

    const std::thread::id madeOn;
    const std::int64_t channelCount;
};

class ReadyAudioEncoderTest : public testing::Test {
protected:
    /// Each encoder that is made elsewhere waits for its turn.
    Result<std::unique_ptr<AudioEncoder>> make(const platform::AudioOutputSettings& settings)
    {
        if (std::this_thread::get_id() != testThread_) {
            MutexLock lock(mutex_);
            ++begun_;
            changed_.notifyAll();
            while (begun_ > allowed_)
                changed_.wait(mutex_);
        } else {
            ++madeHere;
        }
        if (fails)
            return fail("Velmora.Test", 1, "No codec.");
        return std::unique_ptr<AudioEncoder>{new MarkedEncoder(std::this_thread::get_id(), settings.channelCount)};
    }

    void allow(int count)
    {
        MutexLock lock(mutex_);
        allowed_ = count;
        changed_.notifyAll();
    }

    /// What is taken, which has been made on another thread.
    void expectReady(std::int64_t channels)
    {
        const auto taken = ready.take(settings(channels));
        ASSERT_TRUE(taken);
        EXPECT_NE(static_cast<const MarkedEncoder&>(**taken).madeOn, testThread_);
        EXPECT_EQ(static_cast<const MarkedEncoder&>(**taken).channelCount, channels);
    }

    static platform::AudioOutputSettings settings(std::int64_t channels) { return {.channelCount = channels}; }

    std::atomic<bool> fails = false;
    int madeHere = 0;

private:
    const std::thread::id testThread_ = std::this_thread::get_id();
    Mutex mutex_;
    ConditionVariable changed_;
    int begun_ GUARDED_BY(mutex_) = 0;
    int allowed_ GUARDED_BY(mutex_) = 1000;

protected:
    ReadyAudioEncoder ready{[this](const platform::AudioOutputSettings& settings) { return make(settings); }};
};

TEST_F(ReadyAudioEncoderTest, WhoAsksForWhatWasPreparedMakesNothingNorDoesTheNext)
{
    ready.prepare(settings(2));
    for (int recording = 0; recording < 3; ++recording) {
        ready.drain();
        expectReady(2);
    }
    EXPECT_EQ(madeHere, 0);
}

TEST_F(ReadyAudioEncoderTest, PreparingReturnsWhileTheEncoderIsStillBeingMade)
{
    allow(0);
    ready.prepare(settings(2));
    // Whoever cannot wait for that one makes his own.
    EXPECT_TRUE(ready.take(settings(2)));
    EXPECT_EQ(madeHere, 1);
    allow(1);
    ready.drain();
    expectReady(2);
    allow(2);
}

TEST_F(ReadyAudioEncoderTest, WithoutPreparationAndForOtherSettingsItIsMadeAtOnce)
{
    EXPECT_TRUE(ready.take(settings(2)));
    ready.prepare(settings(1));
    ready.drain();
    const auto other = ready.take(settings(2));
    ASSERT_TRUE(other);
    EXPECT_EQ(static_cast<const MarkedEncoder&>(**other).channelCount, 2);
    EXPECT_EQ(madeHere, 2);
    expectReady(1);
}

TEST_F(ReadyAudioEncoderTest, WhatIsPreparedLastIsReady)
{
    allow(0);
    ready.prepare(settings(1));
    ready.prepare(settings(2));
    allow(1000);
    ready.drain();
    expectReady(2);
    EXPECT_EQ(madeHere, 0);
}

TEST_F(ReadyAudioEncoderTest, AFailureIsToldToWhoAsksAndTheNextPreparationTriesAgain)
{
    fails = true;
    ready.prepare(settings(2));
    ready.drain();
    EXPECT_FALSE(ready.take(settings(2)));
    fails = false;
    ready.prepare(settings(2));
    ready.drain();
    expectReady(2);
}

}  // namespace
}  // namespace velmora::engine
