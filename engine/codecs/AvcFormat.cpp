#include "engine/codecs/AvcFormat.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

namespace velmora::engine {

namespace {

using Bytes = std::span<const std::byte>;

// ITU-T H.264 table 7-1.
enum NalType { sequenceParameterSet = 7, pictureParameterSet = 8, accessUnitDelimiter = 9 };

NalType nalType(Bytes unit)
{
    return static_cast<NalType>(std::to_integer<int>(unit.front()) & 0x1F);
}

constexpr std::byte startCode[] = {std::byte{0}, std::byte{0}, std::byte{1}};

std::vector<Bytes> splitAtStartCodes(Bytes stream)
{
    std::vector<Bytes> units;
    auto code = std::search(stream.begin(), stream.end(), std::begin(startCode), std::end(startCode));
    while (code != stream.end()) {
        const auto begin = code + std::ssize(startCode);
        code = std::search(begin, stream.end(), std::begin(startCode), std::end(startCode));
        // A NAL unit never ends with a zero byte (7.4.1): zeros there belong to the next start code.
        auto end = code;
        while (end != begin && *(end - 1) == std::byte{0})
            --end;
        if (end != begin)
            units.emplace_back(begin, end);
    }
    return units;
}

std::optional<std::vector<Bytes>> splitAtLengths(Bytes stream)
{
    std::vector<Bytes> units;
    while (!stream.empty()) {
        if (stream.size() < 4)
            return std::nullopt;
        std::size_t length = 0;
        for (const std::byte b : stream.first(4))
            length = length << 8 | std::to_integer<std::size_t>(b);
        stream = stream.subspan(4);
        if (length == 0 || length > stream.size())
            return std::nullopt;
        units.push_back(stream.first(length));
        stream = stream.subspan(length);
    }
    return units;
}

void append(std::vector<std::byte>& out, std::size_t value, int byteCount)
{
    for (int shift = 8 * (byteCount - 1); shift >= 0; shift -= 8)
        out.push_back(static_cast<std::byte>(value >> shift & 0xFF));
}

bool isHighProfile(std::byte profile)
{
    const int number = std::to_integer<int>(profile);
    return number == 100 || number == 110 || number == 122 || number == 144;
}

}  // namespace

std::optional<std::vector<Bytes>> nalUnits(Bytes stream, NalFraming framing)
{
    if (framing == NalFraming::startCodes)
        return splitAtStartCodes(stream);
    return splitAtLengths(stream);
}

NalFraming framingOf(Bytes stream)
{
    const auto startsAt = [&](std::size_t offset) {
        return stream.size() >= offset + std::size(startCode)
            && std::equal(std::begin(startCode), std::end(startCode), stream.begin() + static_cast<std::ptrdiff_t>(offset));
    };
    const bool longStartCode = !stream.empty() && stream.front() == std::byte{0} && startsAt(1);
    return startsAt(0) || longStartCode ? NalFraming::startCodes : NalFraming::lengthPrefixed;
}

std::optional<std::vector<std::byte>> avcDecoderConfiguration(Bytes headers)
{
    if (headers.empty())
        return std::nullopt;
    if (headers.front() == std::byte{1})
        return std::vector<std::byte>(headers.begin(), headers.end());

    const auto units = nalUnits(headers, framingOf(headers));
    if (!units)
        return std::nullopt;
    std::vector<Bytes> sequenceSets;
    std::vector<Bytes> pictureSets;
    for (const Bytes unit : *units) {
        if (nalType(unit) == sequenceParameterSet)
            sequenceSets.push_back(unit);
        else if (nalType(unit) == pictureParameterSet)
            pictureSets.push_back(unit);
    }
    if (sequenceSets.empty() || sequenceSets.size() > 31 || sequenceSets.front().size() < 4 || pictureSets.empty()
        || pictureSets.size() > 255)
        return std::nullopt;

    std::vector<std::byte> record{std::byte{1}};
    const Bytes profileAndLevel = sequenceSets.front().subspan(1, 3);
    record.insert(record.end(), profileAndLevel.begin(), profileAndLevel.end());
    append(record, 0xFC | 3, 1);  // four-byte lengths
    const auto appendSets = [&](std::size_t count, const std::vector<Bytes>& sets) {
        append(record, count, 1);
        for (const Bytes set : sets) {
            append(record, set.size(), 2);
            record.insert(record.end(), set.begin(), set.end());
        }
    };
    appendSets(0xE0 | sequenceSets.size(), sequenceSets);
    appendSets(pictureSets.size(), pictureSets);
    if (isHighProfile(profileAndLevel.front())) {
        append(record, 0xFC | 1, 1);  // 4:2:0
        append(record, 0xF8, 1);  // 8 bits of luma
        append(record, 0xF8, 1);  // 8 bits of chroma
        append(record, 0, 1);  // no extensions of sequence parameter sets
    }
    return record;
}

int avcProfile(Bytes decoderConfiguration)
{
    return decoderConfiguration.size() < 2 ? 0 : std::to_integer<int>(decoderConfiguration[1]);
}

std::vector<std::byte> withLengthPrefixes(Bytes accessUnit)
{
    std::vector<std::byte> out;
    out.reserve(accessUnit.size() + 16);
    for (const Bytes unit : splitAtStartCodes(accessUnit)) {
        const NalType type = nalType(unit);
        if (type == sequenceParameterSet || type == pictureParameterSet || type == accessUnitDelimiter)
            continue;
        append(out, unit.size(), 4);
        out.insert(out.end(), unit.begin(), unit.end());
    }
    return out;
}

}  // namespace velmora::engine
