// What the contract of audio encoders leaves to the system's converter.
#include "platform/mac/MacAudioEncoder.h"

#include "tests/platform/mac/standins/AudioToolboxStandIn.h"

#include <cstring>
#include <gmock/gmock.h>
#include <limits>
#include <numeric>

namespace velmora::mac_backend {
namespace {

using testing::IsEmpty;

class MacAudioEncoderTest : public testing::Test {
protected:
    ~MacAudioEncoderTest() override
    {
        EXPECT_EQ(standin::converterCount(), 0U);
        standin::audioToolbox() = {};
    }

    /// What the stand-in's packets have in them.
    static std::vector<float> framesOf(const std::vector<engine::AudioEncoder::Packet>& packets)
    {
        std::vector<float> all;
        for (const auto& packet : packets) {
            std::vector<float> samples(packet.data.bytes.size() / sizeof(float));
            std::memcpy(samples.data(), packet.data.bytes.data(), packet.data.bytes.size());
            all.insert(all.end(), samples.begin(), samples.end());
        }
        return all;
    }
};

TEST_F(MacAudioEncoderTest, EveryFrameComesOutOnceInItsPlaceHoweverMuchTheConverterAsksFor)
{
    for (const UInt32 wanted : {1U, 7U, 512U, 1024U, 4096U}) {
        standin::audioToolbox().framesWanted = wanted;
        const auto encoder = makeAudioEncoder({});
        ASSERT_TRUE(encoder);
        std::vector<float> sound(2 * 3'000);
        std::iota(sound.begin(), sound.end(), 1.F);
        for (auto& each : sound)
            each /= 8192.F;
        std::vector<engine::AudioEncoder::Packet> packets;
        for (std::size_t at = 0; at < sound.size(); at += 1'000)
            ASSERT_TRUE((*encoder)->encode(std::span{sound}.subspan(at, 1'000), packets));
        ASSERT_TRUE((*encoder)->flush(packets));
        const auto all = framesOf(packets);
        const auto priming = static_cast<std::size_t>((*encoder)->primingFrames()) * 2;
        ASSERT_GE(all.size(), priming + sound.size());
        EXPECT_TRUE(std::equal(sound.begin(), sound.end(), all.begin() + static_cast<std::ptrdiff_t>(priming))) << wanted;
    }
}

TEST_F(MacAudioEncoderTest, TheConverterIsGivenNothingButSound)
{
    const auto encoder = makeAudioEncoder({});
    ASSERT_TRUE(encoder);
    std::vector<engine::AudioEncoder::Packet> packets;
    ASSERT_TRUE((*encoder)->encode(
        std::vector{std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(), 1e30F, 0.5F}, packets));
    ASSERT_TRUE((*encoder)->flush(packets));
    const auto all = framesOf(packets);
    const auto first = all.begin() + 2 * (*encoder)->primingFrames();
    EXPECT_THAT(std::vector(first, first + 4), testing::ElementsAre(0.F, 0.F, 16.F, 0.5F));
}

TEST_F(MacAudioEncoderTest, ThePrimingIsTheConverters)
{
    standin::audioToolbox().leadingFrames = 1024;
    EXPECT_EQ((*makeAudioEncoder({}))->primingFrames(), 1024);
}

// ISO 14496-3 1.6.2.1: object type 2, five bits; the number of the rate, four; that of the channels, four; 1024 frames and nothing else.
TEST_F(MacAudioEncoderTest, TheConfigurationIsThatOfPlainAac)
{
    const auto configuration = [](std::int64_t rate, std::int64_t channels) {
        return (*makeAudioEncoder({FourCharacterCode{"aac "}, channels, rate, 96000}))->format()->audio()->decoderConfiguration;
    };
    EXPECT_EQ(configuration(48000, 2), (std::vector{std::byte{0x11}, std::byte{0x90}}));
    EXPECT_EQ(configuration(44100, 1), (std::vector{std::byte{0x12}, std::byte{0x08}}));
    EXPECT_EQ(configuration(7350, 6), (std::vector{std::byte{0x16}, std::byte{0x30}}));
}

TEST_F(MacAudioEncoderTest, TheBitRateIsPassedOn)
{
    ASSERT_TRUE(makeAudioEncoder({}));
    EXPECT_EQ(standin::audioToolbox().bitRate, 192'000U);
}

TEST_F(MacAudioEncoderTest, WhatTheConverterRefusesIsItsStatusAndNothingIsLeft)
{
    for (const auto status : {&standin::AudioToolbox::createStatus, &standin::AudioToolbox::bitRateStatus,
             &standin::AudioToolbox::primingStatus, &standin::AudioToolbox::packetSizeStatus}) {
        standin::audioToolbox().*status = -66;
        const auto encoder = makeAudioEncoder({});
        ASSERT_FALSE(encoder);
        EXPECT_EQ(encoder.error().code, -66);
        EXPECT_EQ(standin::converterCount(), 0U);
        standin::audioToolbox() = {};
    }
}

TEST_F(MacAudioEncoderTest, AConversionThatFailsIsItsStatus)
{
    const auto encoder = makeAudioEncoder({});
    ASSERT_TRUE(encoder);
    standin::audioToolbox().convertStatus = -67;
    std::vector<engine::AudioEncoder::Packet> packets;
    const auto result = (*encoder)->encode(std::vector<float>(4096), packets);
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().code, -67);
    EXPECT_THAT(packets, IsEmpty());
}

}  // namespace
}  // namespace velmora::mac_backend
