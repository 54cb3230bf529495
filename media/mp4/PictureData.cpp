#include "media/mp4/PictureData.h"

#include "media/mp4/BoxReader.h"
#include "media/mp4/SequenceParameterSet.h"

#include <algorithm>
#include <array>
#include <vector>

namespace velmora::mp4 {

namespace {

// ISO 14496-10 table 7-1.
constexpr unsigned idrSlice = 5;
constexpr unsigned supplementalInformation = 6;
constexpr unsigned sequenceParameterSet = 7;
constexpr unsigned pictureParameterSet = 8;

constexpr unsigned recoveryPoint = 6;  // D.1.1

constexpr int mostUnits = 1000;
constexpr std::uint64_t longestInformation = 4096;

/// How many bytes the length before each NAL unit has.
std::size_t lengthSize(const Track& track)
{
    const auto& configuration = track.format->video()->decoderConfiguration;
    return configuration.size() > 4 ? (static_cast<std::size_t>(configuration[4]) & 3) + 1 : 4;
}

/// A message's type or size: 255 means that more follows (7.3.2.3.1).
std::uint64_t readLong(ByteReader& reader)
{
    std::uint64_t value = 0;
    for (;;) {
        const auto byte = reader.u8();
        value += byte;
        if (byte != 0xFF || reader.failed())
            return value;
    }
}

/// Whether a unit of supplemental information, without its header, announces a recovery point that is reached at once.
bool recoversAtOnce(std::span<const std::byte> unit)
{
    const auto bytes = withoutEmulationPrevention(unit);
    ByteReader reader{bytes};
    while (reader.remaining() > 1) {
        const auto type = readLong(reader);
        const auto size = readLong(reader);
        const auto payload = reader.take(size);
        if (reader.failed())
            return false;
        // The number of pictures until then comes first; a single set bit means 0.
        if (type == recoveryPoint && !payload.empty())
            return (payload[0] & std::byte{0x80}) != std::byte{0};
    }
    return false;
}

}  // namespace

Result<PictureContent> readPictureContent(File& file, const Track& track, const Sample& sample)
{
    PictureContent content;
    bool hasSequence = false;
    bool hasPicture = false;
    const auto lengthBytes = lengthSize(track);
    std::uint64_t position = 0;
    for (int units = 0; position < sample.size && units < mostUnits; ++units) {
        std::array<std::byte, 5> bytes{};
        const auto head = std::span{bytes}.first(lengthBytes + 1);
        if (sample.size - position < head.size())
            break;
        const auto complete = file.readAt(sample.offset + position, head);
        if (!complete)
            return fail(complete.error());
        std::uint64_t length = 0;
        for (const auto byte : head.first(lengthBytes))
            length = length << 8 | static_cast<std::uint64_t>(byte);
        position += lengthBytes;
        if (!*complete || length == 0 || length > sample.size - position)
            break;
        const auto type = static_cast<unsigned>(head.back()) & 0x1F;
        hasSequence = hasSequence || type == sequenceParameterSet;
        hasPicture = hasPicture || type == pictureParameterSet;
        content.isInstantRefresh = content.isInstantRefresh || type == idrSlice;
        content.startsAfresh = content.startsAfresh || type == idrSlice;
        if (type == supplementalInformation && !content.startsAfresh) {
            std::vector<std::byte> unit(static_cast<std::size_t>(std::min(length - 1, longestInformation)));
            const auto read = file.readAt(sample.offset + position + 1, unit);
            if (!read)
                return fail(read.error());
            content.startsAfresh = *read && recoversAtOnce(unit);
        }
        position += length;
    }
    content.hasParameterSets = hasSequence && hasPicture;
    return content;
}

bool hasParameterSetsInEntry(const Track& track)
{
    // ISO 14496-15 5.3.3.1: their number is in the sixth byte.
    const auto& configuration = track.format->video()->decoderConfiguration;
    return configuration.size() > 5 && (configuration[5] & std::byte{0x1F}) != std::byte{0};
}

}  // namespace velmora::mp4
