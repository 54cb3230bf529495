// What every AudioEncoder has to do, told of libavcodec's and of the adapter of a Mac on its stand-in.
#include "media/mp4/AudioSpecificConfig.h"
#include "platform/linux/ffmpeg/LibavAudioEncoder.h"
#include "platform/mac/MacAudioEncoder.h"
#include "tests/platform/mac/standins/AudioToolboxStandIn.h"

#include <cmath>
#include <gmock/gmock.h>
#include <limits>
#include <string>

namespace velmora::test {
namespace {

using engine::AudioEncoder;
using testing::IsEmpty;
using testing::Not;

struct BackEnd {
    std::string name;
    engine::AudioEncoderFactory make;
};

class AudioEncoderContract : public testing::TestWithParam<BackEnd> {
protected:
    static std::unique_ptr<AudioEncoder> makeEncoder()
    {
        auto encoder = GetParam().make({});
        EXPECT_TRUE(encoder);
        return encoder ? std::move(*encoder) : nullptr;
    }

    static std::vector<float> tone(int frames)
    {
        std::vector<float> samples;
        for (int frame = 0; frame < frames; ++frame) {
            const auto value = 0.5F * std::sin(static_cast<float>(frame) / 17.F);
            samples.insert(samples.end(), {value, -value});
        }
        return samples;
    }
};

TEST_P(AudioEncoderContract, TheFormatIsAacWithItsRateAndChannels)
{
    const auto encoder = makeEncoder();
    const auto* const format = encoder->format()->audio();
    ASSERT_NE(format, nullptr);
    EXPECT_EQ(format->codec, FourCharacterCode{"mp4a"});
    EXPECT_EQ(format->sampleRate, 48000);
    EXPECT_EQ(format->channelCount, 2);
    EXPECT_EQ(mp4::sampleRateOf(format->decoderConfiguration), 48000);
}

TEST_P(AudioEncoderContract, AllThatIsPutInComesOutBehindThePriming)
{
    const auto encoder = makeEncoder();
    std::vector<AudioEncoder::Packet> packets;
    ASSERT_TRUE(encoder->encode(tone(10'000), packets));
    EXPECT_THAT(packets, Not(IsEmpty()));
    ASSERT_TRUE(encoder->flush(packets));
    std::int64_t frames = 0;
    for (const auto& packet : packets) {
        EXPECT_EQ(packet.frames, 1024);
        EXPECT_FALSE(packet.data.bytes.empty());
        frames += packet.frames;
    }
    EXPECT_GT(encoder->primingFrames(), 0);
    EXPECT_GE(frames, 10'000 + encoder->primingFrames());
    // Padding, and what an encoder needs behind the end to finish.
    EXPECT_LE(frames, 10'000 + encoder->primingFrames() + 3 * 1024);
}

TEST_P(AudioEncoderContract, HowTheSoundIsCutUpChangesNothing)
{
    const auto sound = tone(8'000);
    std::vector<std::vector<std::byte>> whole;
    for (const std::size_t piece : {sound.size(), std::size_t{2}, std::size_t{960}, std::size_t{2048}, std::size_t{2050}}) {
        const auto encoder = makeEncoder();
        std::vector<AudioEncoder::Packet> packets;
        for (std::size_t at = 0; at < sound.size(); at += piece)
            ASSERT_TRUE(encoder->encode(std::span{sound}.subspan(at, std::min(piece, sound.size() - at)), packets));
        ASSERT_TRUE(encoder->flush(packets));
        std::vector<std::vector<std::byte>> bytes;
        for (const auto& packet : packets)
            bytes.emplace_back(packet.data.bytes.begin(), packet.data.bytes.end());
        if (whole.empty())
            whole = bytes;
        EXPECT_EQ(bytes, whole) << piece;
    }
}

TEST_P(AudioEncoderContract, WithoutAnySoundThereIsNoPacket)
{
    const auto encoder = makeEncoder();
    std::vector<AudioEncoder::Packet> packets;
    EXPECT_TRUE(encoder->encode({}, packets));
    EXPECT_TRUE(encoder->flush(packets));
    EXPECT_THAT(packets, IsEmpty());
}

TEST_P(AudioEncoderContract, FlushingAgainAddsNothing)
{
    const auto encoder = makeEncoder();
    std::vector<AudioEncoder::Packet> packets;
    ASSERT_TRUE(encoder->encode(tone(3'000), packets));
    ASSERT_TRUE(encoder->flush(packets));
    const auto count = packets.size();
    EXPECT_TRUE(encoder->flush(packets));
    EXPECT_EQ(packets.size(), count);
}

TEST_P(AudioEncoderContract, ValuesThatAreNoSoundDoNotEndIt)
{
    const auto encoder = makeEncoder();
    auto sound = tone(4'096);
    sound[100] = std::numeric_limits<float>::quiet_NaN();
    sound[200] = std::numeric_limits<float>::infinity();
    sound[300] = 1e30F;
    std::vector<AudioEncoder::Packet> packets;
    EXPECT_TRUE(encoder->encode(sound, packets));
    EXPECT_TRUE(encoder->encode(tone(4'096), packets));
    EXPECT_TRUE(encoder->flush(packets));
    EXPECT_GE(packets.size(), 8U);
}

TEST_P(AudioEncoderContract, WhatCannotBeEncodedIsRefused)
{
    EXPECT_FALSE(GetParam().make({FourCharacterCode{"opus"}, 2, 48000, 192000}));
    EXPECT_FALSE(GetParam().make({FourCharacterCode{"aac "}, 0, 48000, 192000}));
    EXPECT_FALSE(GetParam().make({FourCharacterCode{"aac "}, 99, 48000, 192000}));
    EXPECT_FALSE(GetParam().make({FourCharacterCode{"aac "}, 2, 0, 192000}));
    EXPECT_FALSE(GetParam().make({FourCharacterCode{"aac "}, 2, 48000, 0}));
}

INSTANTIATE_TEST_SUITE_P(BackEnds, AudioEncoderContract,
    testing::Values(BackEnd{"Libav", linux_backend::LibavAudioEncoder::create}, BackEnd{"MacOnStandIns", mac_backend::makeAudioEncoder}),
    [](const auto& parameter) { return parameter.param.name; });

}  // namespace
}  // namespace velmora::test
