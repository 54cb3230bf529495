#include "media/mp4/AudioSpecificConfig.h"

#include <cstdint>

namespace velmora::mp4 {

namespace {

/// Past the end it reads zeros.
class BitReader {
public:
    explicit BitReader(std::span<const std::byte> bytes) : bytes_(bytes) { }

    std::uint32_t read(int count)
    {
        std::uint32_t value = 0;
        for (int i = 0; i < count; ++i, ++position_) {
            const auto byte = position_ / 8 < bytes_.size() ? static_cast<unsigned>(bytes_[position_ / 8]) : 0U;
            value = value << 1 | (byte >> (7 - position_ % 8) & 1U);
        }
        return value;
    }

private:
    std::span<const std::byte> bytes_;
    std::size_t position_ = 0;
};

// ISO 14496-3 table 1.17 and 1.6.5.
constexpr std::uint32_t lowComplexity = 2;
constexpr std::uint32_t spectralBandReplication = 5;
constexpr std::uint32_t explicitFrequency = 15;
constexpr std::uint32_t syncExtension = 0x2B7;

}  // namespace

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
    // A configuration that describes its channels one by one is not followed further.
    if (channels == 0)
        return true;
    return bits.read(11) != syncExtension || bits.read(5) != spectralBandReplication || bits.read(1) == 0;
}

}  // namespace velmora::mp4
