#include "engine/sound/AudioMixer.h"

#include "engine/sound/BlockDelivery.h"
#include "media/LiveTime.h"

#include <chrono>
#include <cstring>
#include <gtest/gtest.h>
#include <vector>

namespace velmora::engine {
namespace {

constexpr std::int32_t rate = 48000;
constexpr std::chrono::milliseconds millisecond{1};
constexpr MonotonicTime origin{std::chrono::seconds{5000}};  // a machine that has been up for a while

/// 10 ms of one value on both channels.
std::vector<float> tenMilliseconds(float value)
{
    return std::vector<float>(480 * 2, value);
}

std::vector<float> readFrames(AudioMixer& mixer, std::size_t frames)
{
    std::vector<float> samples(frames * 2, -1.0F);
    mixer.read(samples);
    return samples;
}

TEST(FrameClock, IsExactAfterAMonth)
{
    constexpr FrameClock clock{origin, rate};
    constexpr std::chrono::seconds month{31 * 24 * 3600};
    constexpr std::chrono::nanoseconds oneFrame{20833};
    EXPECT_EQ(clock.frameAt(origin + month), month.count() * rate);
    EXPECT_EQ(clock.timeOf(month.count() * rate), origin + month);
    EXPECT_EQ(clock.timeOf(month.count() * rate + 1), origin + month + oneFrame);
    EXPECT_EQ(clock.frameAt(origin + month + oneFrame), month.count() * rate + 1);
}

TEST(FrameClock, TimesBeforeTheOriginAreNegativeFrames)
{
    constexpr FrameClock clock{origin, rate};
    EXPECT_EQ(clock.frameAt(origin - std::chrono::nanoseconds{20833}), -1);
    EXPECT_EQ(clock.frameAt(origin - std::chrono::seconds{3}), -3 * rate);
}

TEST(AudioMixer, GivesSilenceAtADistanceFromTheClockWhileNobodySpeaks)
{
    AudioMixer mixer{rate, 2, origin};
    EXPECT_EQ(mixer.readableFrames(origin), 0);
    EXPECT_EQ(mixer.readableFrames(origin + AudioMixer::silenceDelay), 0);
    EXPECT_EQ(mixer.readableFrames(origin + AudioMixer::silenceDelay + 10 * millisecond), 480);
    EXPECT_EQ(readFrames(mixer, 480), std::vector<float>(960, 0.0F));
    EXPECT_EQ(mixer.readableFrames(origin + AudioMixer::silenceDelay + 10 * millisecond), 0);
}

TEST(AudioMixer, PutsABlockWhereItsStampSays)
{
    AudioMixer mixer{rate, 2, origin};
    const int input = mixer.addInput(millisecond);
    mixer.write(input, origin + 20 * millisecond, tenMilliseconds(0.25F), origin + 20 * millisecond);
    // As far as the source has come, and no further: no waiting for the clock.
    ASSERT_EQ(mixer.readableFrames(origin + 20 * millisecond), 1440);
    const auto samples = readFrames(mixer, 1440);
    EXPECT_EQ(samples[959 * 2 + 1], 0.0F);
    EXPECT_EQ(samples[960 * 2], 0.25F);
    EXPECT_EQ(samples[1439 * 2 + 1], 0.25F);
}

TEST(AudioMixer, AddsSourcesAndWaitsForTheSlowerOne)
{
    AudioMixer mixer{rate, 2, origin};
    const int a = mixer.addInput(millisecond);
    const int b = mixer.addInput(millisecond);
    mixer.write(a, origin, tenMilliseconds(0.25F), origin);
    mixer.write(b, origin, tenMilliseconds(0.5F), origin);
    mixer.write(a, origin + 10 * millisecond, tenMilliseconds(0.25F), origin + 10 * millisecond);
    ASSERT_EQ(mixer.readableFrames(origin + 10 * millisecond), 480);
    EXPECT_EQ(readFrames(mixer, 480), std::vector<float>(960, 0.75F));
}

TEST(AudioMixer, ASourceFarAheadOfTheClockIsWaitedForSoThatOthersCanStillAddToIt)
{
    AudioMixer mixer{rate, 2, origin};
    const int wireless = mixer.addInput(millisecond);
    mixer.write(wireless, origin + 300 * millisecond, tenMilliseconds(0.25F), origin);
    EXPECT_EQ(mixer.readableFrames(origin), 50 * 48);
    const int wired = mixer.addInput(millisecond);
    mixer.write(wired, origin + 60 * millisecond, tenMilliseconds(0.5F), origin + 60 * millisecond);
    EXPECT_EQ(mixer.readableFrames(origin + 60 * millisecond), 70 * 48);
    const auto samples = readFrames(mixer, 70 * 48);
    EXPECT_EQ(samples[69 * 48 * 2], 0.5F);
}

TEST(AudioMixer, ASourceThatFellSilentHoldsNobodyUp)
{
    AudioMixer mixer{rate, 2, origin};
    const int a = mixer.addInput(millisecond);
    const int b = mixer.addInput(millisecond);
    mixer.write(b, origin, tenMilliseconds(0.5F), origin);
    auto now = origin;
    for (int i = 0; i < 30; ++i, now += 10 * millisecond)
        mixer.write(a, now, tenMilliseconds(0.25F), now);
    EXPECT_EQ(mixer.readableFrames(now), 30 * 480);
}

TEST(AudioMixer, ARemovedSourceHoldsNobodyUp)
{
    AudioMixer mixer{rate, 2, origin};
    const int a = mixer.addInput(millisecond);
    const int b = mixer.addInput(millisecond);
    mixer.write(a, origin, tenMilliseconds(0.25F), origin);
    mixer.write(a, origin + 10 * millisecond, tenMilliseconds(0.25F), origin);
    mixer.write(b, origin, tenMilliseconds(0.5F), origin);
    mixer.removeInput(b);
    EXPECT_EQ(mixer.readableFrames(origin), 960);
}

TEST(AudioMixer, WhatComesTooLateIsLeftOut)
{
    AudioMixer mixer{rate, 2, origin};
    const int input = mixer.addInput(millisecond);
    readFrames(mixer, 240);
    mixer.write(input, origin, tenMilliseconds(0.25F), origin);
    ASSERT_EQ(mixer.readableFrames(origin), 240);
    EXPECT_EQ(readFrames(mixer, 240), std::vector<float>(480, 0.25F));
}

TEST(AudioMixer, AStampFarInTheFutureDoesNotReachBeyondTheBuffer)
{
    AudioMixer mixer{rate, 2, origin};
    const int input = mixer.addInput(millisecond);
    mixer.write(input, origin + 3600'000 * millisecond, tenMilliseconds(0.25F), origin);
    const auto readable = mixer.readableFrames(origin);
    EXPECT_EQ(readFrames(mixer, static_cast<std::size_t>(readable)), std::vector<float>(static_cast<std::size_t>(readable) * 2, 0.0F));
}

TEST(AudioMixer, ADriftingSourceKeepsItsToneAndItsPlace)
{
    AudioMixer mixer{rate, 2, origin};
    const int input = mixer.addInput(millisecond);
    // 200 ppm slow: each block of 10 ms is stamped 2 microseconds later than the count says. A ramp shows every frame's place.
    std::vector<float> block(960);
    double value = 0;
    for (int i = 0; i < 3000; ++i) {
        const auto stamp = origin + i * (10 * millisecond + std::chrono::microseconds{2});
        for (std::size_t frame = 0; frame < 480; ++frame, value += 1e-6)
            block[2 * frame] = block[2 * frame + 1] = static_cast<float>(value);
        mixer.write(input, stamp, block, stamp);
        const auto readable = static_cast<std::size_t>(mixer.readableFrames(stamp));
        const auto samples = readFrames(mixer, readable);
        for (std::size_t frame = 1; frame < readable; ++frame)
            ASSERT_NEAR(samples[2 * frame], samples[2 * frame - 2], 1.1e-6 + 1e-7) << i;
    }
}

TEST(BlockDelivery, HandsOnBlocksThatFollowEachOtherExactly)
{
    std::vector<SampleBufferRef> blocks;
    BlockDelivery delivery{{}, [&](SampleBufferRef block) { blocks.push_back(std::move(block)); }, origin};
    for (auto now = origin; now <= origin + 2000 * millisecond; now += 37 * millisecond)
        delivery.deliver(now);
    ASSERT_GE(blocks.size(), 80U);
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        EXPECT_EQ(blocks[i]->sampleCount, 1024);
        EXPECT_EQ(blocks[i]->format, blocks[0]->format);
        const auto exact = liveTime(origin).seconds() + static_cast<double>(i) * 1024 / rate;
        EXPECT_NEAR(blocks[i]->presentationTimeStamp.seconds(), exact, 1e-8);
        EXPECT_EQ(blocks[i]->data.bytes.size(), 1024U * 8);
    }
}

TEST(BlockDelivery, RefusesFormatsThatAreNotStereo)
{
    EXPECT_TRUE(checkFormat({48000, 2}));
    EXPECT_FALSE(checkFormat({48000, 1}));
    EXPECT_FALSE(checkFormat({48000, 6}));
    EXPECT_FALSE(checkFormat({0, 2}));
}

}  // namespace
}  // namespace velmora::engine
