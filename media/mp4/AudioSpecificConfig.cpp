#include "media/mp4/AudioSpecificConfig.h"

#include "media/mp4/BitReader.h"

#include <array>

namespace velmora::mp4 {

namespace {

// ISO 14496-3 tables 1.17 and 1.18, and 1.6.5.
constexpr std::uint32_t lowComplexity = 2;
constexpr std::uint32_t spectralBandReplication = 5;
constexpr std::uint32_t explicitFrequency = 15;
constexpr std::uint32_t syncExtension = 0x2B7;

constexpr std::array<std::int32_t, 13> frequencies{96000, 88200, 64000, 48000, 44100, 32000, 24000, 22050, 16000, 12000, 11025, 8000, 7350};

}  // namespace

std::int32_t sampleRateOf(std::span<const std::byte> configuration)
{
    BitReader bits{configuration};
    bits.read(5);
    const auto index = bits.read(4);
    if (index == explicitFrequency)
        return static_cast<std::int32_t>(bits.read(24));
    return index < frequencies.size() ? frequencies.at(index) : 0;
}

std::int32_t packetFramesOf(std::span<const std::byte> configuration)
{
    BitReader bits{configuration};
    bits.read(5);
    if (bits.read(4) == explicitFrequency)
        bits.read(24);
    bits.read(4);
    return bits.read(1) != 0 ? 960 : 1024;
}

bool isPlainAacLc(std::span<const std::byte> configuration)
{
    BitReader bits{configuration};
    if (configuration.size() < 2 || bits.read(5) != lowComplexity)
        return false;
    if (bits.read(4) == explicitFrequency)
        bits.read(24);
    const auto channels = bits.read(4);
    bits.read(1);  // frame length
    if (bits.read(1) != 0)
        bits.read(14);  // delay of a core coder
    bits.read(1);
    // A configuration that describes its channels one by one is not parsed further.
    if (channels == 0)
        return true;
    return bits.read(11) != syncExtension || bits.read(5) != spectralBandReplication || bits.read(1) == 0;
}

bool describesSameStream(std::span<const std::byte> a, std::span<const std::byte> b)
{
    // Kind, index of the rate, channels; then the length of a packet.
    BitReader first{a};
    BitReader second{b};
    for (const int bits : {5, 4, 4, 1}) {
        const auto field = first.read(bits);
        if (field != second.read(bits) || (bits == 4 && field == explicitFrequency))
            return false;
    }
    return sampleRateOf(a) > 0;
}

}  // namespace velmora::mp4
