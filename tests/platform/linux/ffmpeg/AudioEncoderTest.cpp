#include "platform/linux/ffmpeg/LibavAudioEncoder.h"
#include "platform/linux/ffmpeg/LibavDifferences.h"
#include "tests/platform/linux/ffmpeg/Decoding.h"
#include "tests/support/media/AacEncoder.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <numbers>
#include <set>

namespace velmora::linux_backend {
namespace {

using Packets = std::vector<engine::AudioEncoder::Packet>;

std::unique_ptr<engine::AudioEncoder> makeEncoder(platform::AudioOutputSettings settings = {})
{
    auto encoder = LibavAudioEncoder::create(settings);
    EXPECT_TRUE(encoder) << encoder.error().localizedDescription;
    return std::move(*encoder);
}

/// What the packets decode to, channel by channel, priming included.
std::vector<std::vector<float>> decode(const engine::AudioEncoder& encoder, const Packets& packets)
{
    const AudioFormat& format = *encoder.format()->audio();
    testing::Decoder decoder{AV_CODEC_ID_AAC, format.decoderConfiguration, format.sampleRate, format.channelCount};
    std::int64_t time = 0;
    for (const auto& packet : packets) {
        decoder.send(packet.data.bytes, time);
        time += packet.frames;
    }
    EXPECT_EQ(decoder.context().sample_rate, format.sampleRate);
    EXPECT_EQ(decoder.context().profile, profileAacLow);
    std::vector<std::vector<float>> channels(static_cast<std::size_t>(format.channelCount));
    for (const auto& frame : decoder.finish()) {
        EXPECT_EQ(frame->ch_layout.nb_channels, format.channelCount);
        EXPECT_EQ(frame->format, AV_SAMPLE_FMT_FLTP);
        for (std::size_t channel = 0; channel < channels.size(); ++channel) {
            const auto* samples = reinterpret_cast<const float*>(frame->extended_data[channel]);
            channels[channel].insert(channels[channel].end(), samples, samples + frame->nb_samples);
        }
    }
    return channels;
}

/// The amplitude of `frequency` in `samples`, which are a whole number of its periods.
double amplitudeAt(std::span<const float> samples, double frequency)
{
    double cosine = 0;
    double sine = 0;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const double phase = 2 * std::numbers::pi * frequency * static_cast<double>(i) / 48000;
        cosine += static_cast<double>(samples[i]) * std::cos(phase);
        sine += static_cast<double>(samples[i]) * std::sin(phase);
    }
    return 2 * std::hypot(cosine, sine) / static_cast<double>(samples.size());
}

std::vector<float> tones(std::size_t frames, double left, double right)
{
    std::vector<float> samples;
    samples.reserve(2 * frames);
    for (std::size_t i = 0; i < frames; ++i) {
        const double time = static_cast<double>(i) / 48000;
        samples.push_back(static_cast<float>(0.5 * std::sin(2 * std::numbers::pi * left * time)));
        samples.push_back(static_cast<float>(0.25 * std::sin(2 * std::numbers::pi * right * time)));
    }
    return samples;
}

TEST(AudioEncoder, DescribesItselfAsStereoAacLcAt48Kilohertz)
{
    const auto encoder = makeEncoder();
    const AudioFormat* format = encoder->format()->audio();
    ASSERT_TRUE(format);
    EXPECT_EQ(format->codec, FourCharacterCode{"mp4a"});
    EXPECT_EQ(format->sampleRate, 48000);
    EXPECT_EQ(format->channelCount, 2);
    // ISO 14496-3 1.6.2.1: object type 2 (LC), frequency index 3 (48 kHz), channel configuration 2.
    ASSERT_GE(format->decoderConfiguration.size(), 2U);
    EXPECT_EQ(format->decoderConfiguration[0], std::byte{0x11});
    EXPECT_EQ(format->decoderConfiguration[1], std::byte{0x90});
}

TEST(AudioEncoder, ATonePutIntoEachChannelComesOutOfIt)
{
    const auto encoder = makeEncoder();
    Packets packets;
    ASSERT_TRUE(encoder->encode(tones(48000, 1000, 3000), packets));
    ASSERT_TRUE(encoder->flush(packets));
    const auto decoded = decode(*encoder, packets);
    const auto middle = [&](std::size_t channel) { return std::span{decoded[channel]}.subspan(10000, 24000); };
    EXPECT_NEAR(amplitudeAt(middle(0), 1000), 0.5, 0.02);
    EXPECT_NEAR(amplitudeAt(middle(1), 3000), 0.25, 0.02);
    EXPECT_LT(amplitudeAt(middle(0), 3000), 0.01);
    EXPECT_LT(amplitudeAt(middle(1), 1000), 0.01);
}

TEST(AudioEncoder, AnImpulseComesOutAsMuchLaterAsThePrimingSays)
{
    for (const std::size_t position : {5000U, 0U, 1023U, 20000U}) {
        const auto encoder = makeEncoder();
        std::vector<float> samples(2 * 24000, 0.0F);
        samples[2 * position] = samples[2 * position + 1] = 0.9F;
        Packets packets;
        ASSERT_TRUE(encoder->encode(samples, packets));
        ASSERT_TRUE(encoder->flush(packets));
        const auto decoded = decode(*encoder, packets);
        const auto isQuieter = [](float a, float b) { return std::abs(a) < std::abs(b); };
        const auto peak = std::max_element(decoded[0].begin(), decoded[0].end(), isQuieter) - decoded[0].begin();
        EXPECT_EQ(peak, static_cast<std::ptrdiff_t>(position) + encoder->primingFrames());
    }
}

TEST(AudioEncoder, PacketsCoverPrimingAndSoundPaddedToAWholePacket)
{
    for (const std::size_t frames : {1U, 1023U, 1024U, 1025U, 4800U, 48000U}) {
        const auto encoder = makeEncoder();
        EXPECT_EQ(encoder->primingFrames(), 1024);
        Packets packets;
        ASSERT_TRUE(encoder->encode(tones(frames, 500, 500), packets));
        ASSERT_TRUE(encoder->flush(packets));
        EXPECT_EQ(packets.size(), (frames + 1023) / 1024 + 1) << frames;
        for (const auto& packet : packets)
            EXPECT_EQ(packet.frames, 1024);
        EXPECT_EQ(decode(*encoder, packets)[0].size(), packets.size() * 1024);
    }
}

TEST(AudioEncoder, HowTheSoundIsCutIntoCallsMakesNoDifference)
{
    const auto samples = tones(20000, 700, 900);
    std::vector<std::vector<std::byte>> streams[2];
    for (int run = 0; run < 2; ++run) {
        const auto encoder = makeEncoder();
        Packets packets;
        std::size_t size = 1;
        for (std::span<const float> rest{samples}; !rest.empty();) {
            const std::size_t count = run == 0 ? rest.size() : std::min(rest.size(), 2 * (size = size * 7 % 3001));
            ASSERT_TRUE(encoder->encode(rest.first(count), packets));
            rest = rest.subspan(count);
        }
        ASSERT_TRUE(encoder->encode({}, packets));
        ASSERT_TRUE(encoder->flush(packets));
        for (const auto& packet : packets)
            streams[run].emplace_back(packet.data.bytes.begin(), packet.data.bytes.end());
    }
    EXPECT_EQ(streams[0], streams[1]);
}

TEST(AudioEncoder, WithoutAnySoundThereIsNoPacket)
{
    const auto encoder = makeEncoder();
    Packets packets;
    ASSERT_TRUE(encoder->flush(packets));
    ASSERT_TRUE(encoder->flush(packets));
    EXPECT_TRUE(packets.empty());
}

TEST(AudioEncoder, AHissTakesTheBitRateThatWasAskedFor)
{
    const auto encoder = makeEncoder();
    std::vector<float> samples(2 * 48000 * 4);
    std::uint32_t state = 1;
    for (auto& sample : samples) {
        state = state * 1664525U + 1013904223U;
        sample = static_cast<float>(state >> 8) / 16777216.0F - 0.5F;
    }
    Packets packets;
    ASSERT_TRUE(encoder->encode(samples, packets));
    ASSERT_TRUE(encoder->flush(packets));
    double bits = 0;
    for (const auto& packet : packets)
        bits += 8.0 * static_cast<double>(packet.data.bytes.size());
    EXPECT_NEAR(bits / 4, 192000, 20000);
}

TEST(AudioEncoder, ValuesThatAreNoNumbersAreSilenceAndDoNotEndTheSound)
{
    const auto encoder = makeEncoder();
    auto samples = tones(48000, 1000, 1000);
    samples[1000] = std::numeric_limits<float>::quiet_NaN();
    samples[1002] = std::numeric_limits<float>::infinity();
    samples[1004] = -std::numeric_limits<float>::max();
    Packets packets;
    ASSERT_TRUE(encoder->encode(samples, packets));
    ASSERT_TRUE(encoder->flush(packets));
    const auto decoded = decode(*encoder, packets);
    EXPECT_NEAR(amplitudeAt(std::span{decoded[0]}.subspan(10000, 24000), 1000), 0.5, 0.02);
}

/// Sounds and the digital silence between them, in blocks of 1024 frames.
class BrokenSound {
public:
    void addSilence(std::size_t blocks) { samples_.resize(samples_.size() + 2048 * blocks, 0.0F); }

    void addTone(std::size_t blocks)
    {
        const auto tone = tones(1024 * blocks, 1000, 3000);
        samples_.insert(samples_.end(), tone.begin(), tone.end());
    }

    /// As faint as the last bit of 16.
    void addNoise(std::size_t blocks, float amplitude = 1.0F / 32768)
    {
        for (std::size_t i = 0; i < 2048 * blocks; ++i) {
            state_ = state_ * 1664525U + 1013904223U;
            samples_.push_back(amplitude * (static_cast<float>(state_ >> 8) / 8388608.0F - 1));
        }
    }

    /// Frames, so that what follows begins anywhere within a block.
    void addClick(std::size_t frames)
    {
        samples_.resize(samples_.size() + 2 * frames, 0.0F);
        *(samples_.end() - 2) = *(samples_.end() - 1) = 0.9F;
    }

    [[nodiscard]] std::span<const float> samples() const { return samples_; }

    [[nodiscard]] Packets encode(engine::AudioEncoder& encoder) const
    {
        Packets packets;
        EXPECT_TRUE(encoder.encode(samples_, packets));
        EXPECT_TRUE(encoder.flush(packets));
        return packets;
    }

private:
    std::vector<float> samples_;
    std::uint32_t state_ = 1;
};

/// How many of the packets were encoded and not put out again.
std::size_t encodedCount(const Packets& packets)
{
    std::set<const std::byte*> made;
    for (const auto& packet : packets)
        made.insert(packet.data.bytes.data());
    return made.size();
}

TEST(AudioEncoder, SilenceIsEncodedAFewTimesOnly)
{
    BrokenSound sound;
    sound.addSilence(500);
    const auto encoder = makeEncoder();
    const auto packets = sound.encode(*encoder);
    EXPECT_EQ(packets.size(), 501U);
    EXPECT_LE(encodedCount(packets), 20U);
    for (const auto& channel : decode(*encoder, packets)) {
        EXPECT_EQ(channel.size(), 501U * 1024);
        EXPECT_TRUE(std::all_of(channel.begin(), channel.end(), [](float sample) { return sample == 0; }));
    }
}

TEST(AudioEncoder, SilenceThatWasNotEncodedIsHeardInNothingThatComesBeforeItOrAfter)
{
    BrokenSound sound;
    sound.addTone(10);
    // The shortest that is not encoded whole, one at its edge and one that is longer than all that the encoder remembers.
    for (const std::size_t silence : {3U, 17U, 18U, 19U, 40U, 300U}) {
        sound.addClick(silence * 77);
        sound.addSilence(silence);
        sound.addTone(3);
        sound.addSilence(silence);
        sound.addNoise(5, 0.3F);
        sound.addSilence(silence);
        sound.addClick(333);
        sound.addSilence(silence);
        sound.addNoise(5);
    }
    sound.addSilence(30);
    const auto encoder = makeEncoder();
    const auto packets = sound.encode(*encoder);
    EXPECT_LT(encodedCount(packets), packets.size() / 2);

    const auto reference = test::makeAacEncoder();
    const auto expected = decode(*reference, sound.encode(*reference));
    const auto decoded = decode(*encoder, packets);
    for (std::size_t channel = 0; channel < 2; ++channel) {
        ASSERT_EQ(decoded[channel].size(), expected[channel].size());
        double greatest = 0;
        for (std::size_t i = 0; i < decoded[channel].size(); ++i)
            greatest = std::max(greatest, std::abs(static_cast<double>(decoded[channel][i]) - static_cast<double>(expected[channel][i])));
        EXPECT_LE(greatest, std::pow(10, -90.0 / 20)) << "channel " << channel;
    }
}

TEST(AudioEncoder, TheFaintestNoiseIsNoSilence)
{
    BrokenSound sound;
    sound.addNoise(200);
    const auto encoder = makeEncoder();
    const auto packets = sound.encode(*encoder);
    EXPECT_EQ(encodedCount(packets), packets.size());
}

TEST(AudioEncoder, OneSampleThatIsNotZeroIsHeardThroughLongSilence)
{
    BrokenSound sound;
    sound.addSilence(100);
    sound.addClick(700);
    sound.addSilence(100);
    const auto encoder = makeEncoder();
    const auto packets = sound.encode(*encoder);
    const auto decoded = decode(*encoder, packets);
    const auto isQuieter = [](float a, float b) { return std::abs(a) < std::abs(b); };
    const auto peak = std::max_element(decoded[1].begin(), decoded[1].end(), isQuieter) - decoded[1].begin();
    EXPECT_EQ(peak, 100 * 1024 + 699 + encoder->primingFrames());
}

TEST(AudioEncoder, OneChannelIsEncodedToo)
{
    platform::AudioOutputSettings settings;
    settings.channelCount = 1;
    settings.bitRate = 96000;
    const auto encoder = makeEncoder(settings);
    Packets packets;
    ASSERT_TRUE(encoder->encode(std::vector<float>(4096, 0.25F), packets));
    ASSERT_TRUE(encoder->flush(packets));
    EXPECT_EQ(decode(*encoder, packets).size(), 1U);
}

TEST(AudioEncoder, ImpossibleSettingsAreRefusedWithAReason)
{
    const auto refuses = [](auto change) {
        platform::AudioOutputSettings settings;
        change(settings);
        const auto encoder = LibavAudioEncoder::create(settings);
        return !encoder && !encoder.error().localizedDescription.empty();
    };
    EXPECT_TRUE(refuses([](auto& settings) { settings.format = FourCharacterCode{"opus"}; }));
    EXPECT_TRUE(refuses([](auto& settings) { settings.channelCount = 0; }));
    EXPECT_TRUE(refuses([](auto& settings) { settings.sampleRate = 12345; }));
    EXPECT_TRUE(refuses([](auto& settings) { settings.bitRate = -1; }));
}

}  // namespace
}  // namespace velmora::linux_backend
