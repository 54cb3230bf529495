#include "media/mp4/SequenceParameterSet.h"

#include "media/mp4/BitReader.h"
#include "media/mp4/BoxReader.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>

namespace velmora::mp4 {

namespace {

// ISO 14496-10 7.3.2.1.1: profiles that say more about their samples.
constexpr std::array<std::uint32_t, 13> richProfiles{100, 110, 122, 244, 44, 83, 86, 118, 128, 138, 139, 134, 135};

void skipScalingList(BitReader& bits, int size)
{
    std::int64_t last = 8;
    std::int64_t next = 8;
    for (int i = 0; i < size && !bits.isAtEnd(); ++i) {
        if (next != 0) {
            const auto code = std::int64_t{bits.readExponential()};
            const auto delta = code % 2 == 0 ? -(code / 2) : (code + 1) / 2;
            next = (last + delta + 256) % 256;
        }
        last = next == 0 ? last : next;
    }
}

/// Whether the colours are coded as pictures of their own.
bool skipSampleFormat(BitReader& bits)
{
    const auto chroma = bits.readExponential();
    const bool isSeparate = chroma == 3 && bits.read(1) != 0;
    bits.readExponential();  // depth of luma
    bits.readExponential();  // depth of chroma
    bits.read(1);
    if (bits.read(1) == 0)
        return isSeparate;
    const int lists = chroma == 3 ? 12 : 8;
    for (int i = 0; i < lists; ++i) {
        if (bits.read(1) != 0)
            skipScalingList(bits, i < 6 ? 16 : 64);
    }
    return isSeparate;
}

/// How many bits the number of a frame has.
int skipOrder(BitReader& bits)
{
    const auto frameNumberBits = static_cast<int>(std::min<std::uint32_t>(bits.readExponential(), 12)) + 4;
    const auto type = bits.readExponential();
    if (type == 0) {
        bits.readExponential();
    } else if (type == 1) {
        bits.read(1);
        bits.readExponential();
        bits.readExponential();
        const auto count = std::min<std::uint32_t>(bits.readExponential(), 255);
        for (std::uint32_t i = 0; i < count; ++i)
            bits.readExponential();
    }
    bits.readExponential();  // reference frames
    bits.read(1);
    return frameNumberBits;
}

/// Whether pictures are whole frames, never single fields.
bool skipSize(BitReader& bits)
{
    bits.readExponential();
    bits.readExponential();
    const bool areFrames = bits.read(1) != 0;
    if (!areFrames)
        bits.read(1);
    bits.read(1);
    if (bits.read(1) != 0) {  // cropped
        for (int i = 0; i < 4; ++i)
            bits.readExponential();
    }
    return areFrames;
}

// Annex E.1.1.
void skipLook(BitReader& bits)
{
    constexpr std::uint32_t ownShape = 255;
    if (bits.read(1) != 0 && bits.read(8) == ownShape)
        bits.read(32);
    if (bits.read(1) != 0)
        bits.read(1);
    if (bits.read(1) != 0) {
        bits.read(4);
        if (bits.read(1) != 0)
            bits.read(24);
    }
    if (bits.read(1) != 0) {
        bits.readExponential();
        bits.readExponential();
    }
}

/// What a slice's header cannot be read without.
struct SliceFields {
    bool hasColourPlane = false;
    int frameNumberBits = 0;
    bool areFrames = true;
};

/// Up to what the stream says of how it is to be shown.
SliceFields readUpToLook(BitReader& bits)
{
    SliceFields fields;
    bits.read(8);
    const auto profile = bits.read(8);
    bits.read(16);
    bits.readExponential();
    if (std::find(richProfiles.begin(), richProfiles.end(), profile) != richProfiles.end())
        fields.hasColourPlane = skipSampleFormat(bits);
    fields.frameNumberBits = skipOrder(bits);
    fields.areFrames = skipSize(bits);
    return fields;
}

std::span<const std::byte> firstSequenceParameterSet(std::span<const std::byte> configuration)
{
    ByteReader reader{configuration};
    reader.skip(5);
    const auto count = reader.u8() & 0x1FU;
    const auto unit = reader.take(reader.u16());
    return reader.failed() || count == 0 ? std::span<const std::byte>{} : unit;
}

std::optional<MediaTime> pictureDuration(std::span<const std::byte> unit)
{
    const auto bytes = withoutEmulationPrevention(unit);
    BitReader bits{bytes};
    readUpToLook(bits);
    if (bits.read(1) == 0)
        return std::nullopt;
    skipLook(bits);
    if (bits.read(1) == 0)
        return std::nullopt;
    // Two ticks a picture: one for each field.
    const auto ticks = std::uint64_t{bits.read(32)} * 2;
    const auto scale = bits.read(32);
    if (bits.isAtEnd() || ticks == 0 || scale == 0 || scale > static_cast<std::uint32_t>(std::numeric_limits<std::int32_t>::max()))
        return std::nullopt;
    return MediaTime{static_cast<std::int64_t>(ticks), static_cast<std::int32_t>(scale)};
}

}  // namespace

std::vector<std::byte> withoutEmulationPrevention(std::span<const std::byte> unit)
{
    std::vector<std::byte> bytes;
    bytes.reserve(unit.size());
    int zeros = 0;
    for (const auto byte : unit) {
        if (zeros == 2 && byte == std::byte{3}) {
            zeros = 0;
            continue;
        }
        zeros = byte == std::byte{0} ? std::min(zeros + 1, 2) : 0;
        bytes.push_back(byte);
    }
    return bytes;
}

std::optional<MediaTime> declaredPictureDuration(std::span<const std::byte> configuration)
{
    const auto unit = firstSequenceParameterSet(configuration);
    return unit.empty() ? std::nullopt : pictureDuration(unit);
}

// ISO 14496-10 7.3.3.
std::optional<std::uint32_t> keyFrameNumber(std::span<const std::byte> configuration, std::span<const std::byte> accessUnit)
{
    constexpr std::uint32_t unitTypes = 0x1F;
    constexpr std::uint32_t keyFrameSlice = 5;
    constexpr std::size_t longestHeader = 64;
    const auto parameters = withoutEmulationPrevention(firstSequenceParameterSet(configuration));
    ByteReader units{accessUnit};
    while (!parameters.empty() && !units.failed() && units.remaining() > 0) {
        const auto unit = units.take(units.u32());
        if (unit.empty() || (static_cast<std::uint32_t>(unit.front()) & unitTypes) != keyFrameSlice)
            continue;
        BitReader parameterBits{parameters};
        const auto fields = readUpToLook(parameterBits);
        const auto header = withoutEmulationPrevention(unit.first(std::min(unit.size(), longestHeader)));
        BitReader bits{header};
        bits.read(8);
        for (int i = 0; i < 3; ++i)
            bits.readExponential();  // first macroblock, type of the slice, picture parameter set
        if (fields.hasColourPlane)
            bits.read(2);
        bits.read(fields.frameNumberBits);
        if (!fields.areFrames && bits.read(1) != 0)
            bits.read(1);
        const auto number = bits.readExponential();
        return bits.isAtEnd() ? std::nullopt : std::optional{number};
    }
    return std::nullopt;
}

}  // namespace velmora::mp4
