#include "media/mp4/BoxReader.h"
#include "media/mp4/MovieParser.h"
#include "media/mp4/RecordingLayout.h"

namespace velmora::mp4 {

namespace {

std::vector<std::byte> copied(std::span<const std::byte> bytes)
{
    return {bytes.begin(), bytes.end()};
}

// The size of a descriptor, seven bits a byte (ISO 14496-1 8.3.3).
std::uint32_t readDescriptorSize(ByteReader& reader)
{
    std::uint32_t size = 0;
    for (int i = 0; i < 4; ++i) {
        const auto byte = reader.u8();
        size = (size << 7) | (byte & 0x7F);
        if ((byte & 0x80) == 0)
            break;
    }
    return size;
}

// The DecoderSpecificInfo inside an "esds" box; empty when there is none.
std::vector<std::byte> decoderSpecificInfo(std::span<const std::byte> payload)
{
    ByteReader reader{payload};
    readFullBoxHeader(reader);
    if (reader.u8() != 0x03)
        return {};
    readDescriptorSize(reader);
    reader.skip(2);
    const auto flags = reader.u8();
    if (flags & 0x80)
        reader.skip(2);
    if (flags & 0x40)
        reader.skip(reader.u8());
    if (flags & 0x20)
        reader.skip(2);
    if (reader.u8() != 0x04)
        return {};
    readDescriptorSize(reader);
    reader.skip(13);
    if (reader.u8() != 0x05)
        return {};
    const auto info = reader.take(readDescriptorSize(reader));
    return reader.failed() ? std::vector<std::byte>{} : copied(info);
}

// The channel configuration of an AudioSpecificConfig (ISO 14496-3 1.6.2.1): the true number, where the entry's is mere habit. 0 when it
// says nothing.
std::int32_t channelCount(std::span<const std::byte> configuration)
{
    if (configuration.size() < 2)
        return 0;
    const auto first = static_cast<unsigned>(configuration[0]);
    const auto second = static_cast<unsigned>(configuration[1]);
    const auto objectType = first >> 3;
    const auto frequencyIndex = (first & 7) << 1 | second >> 7;
    if (objectType == 31 || frequencyIndex == 15)
        return 0;
    const auto channels = static_cast<std::int32_t>((second >> 3) & 0xF);
    return channels == 7 ? 8 : channels < 7 ? channels : 0;
}

ColourDescription readColour(std::span<const std::byte> payload)
{
    ByteReader reader{payload};
    ColourDescription colour;
    const auto kind = reader.code();
    if (kind != FourCharacterCode{"nclx"} && kind != FourCharacterCode{"nclc"})
        return colour;
    colour.primaries = reader.u16();
    colour.transfer = reader.u16();
    colour.matrix = reader.u16();
    colour.fullRange = kind == FourCharacterCode{"nclx"} && (reader.u8() & 0x80) != 0;
    return reader.failed() ? ColourDescription{} : colour;
}

}  // namespace

Result<FormatDescriptionRef> parseSampleEntry(std::span<const std::byte> entry, MediaType mediaType)
{
    ByteReader outer{entry};
    const auto box = nextBox(outer);
    if (!box)
        return fail(makeError(ErrorCode::damaged, "A sample description is damaged."));
    ByteReader reader{box->payload};
    reader.skip(8);
    if (mediaType == MediaType::video) {
        VideoFormat format;
        format.codec = box->type;
        reader.skip(16);
        format.width = reader.u16();
        format.height = reader.u16();
        reader.skip(50);
        if (reader.failed())
            return fail(makeError(ErrorCode::damaged, "A picture description is damaged."));
        if (const auto configuration = findBox(reader.rest(), "avcC"))
            format.decoderConfiguration = copied(configuration->payload);
        if (const auto colour = findBox(reader.rest(), "colr"))
            format.colour = readColour(colour->payload);
        return std::make_shared<const FormatDescription>(std::move(format));
    }
    AudioFormat format;
    format.codec = box->type;
    const auto version = reader.u16();
    reader.skip(6);
    format.channelCount = reader.u16();
    reader.skip(6);
    format.sampleRate = static_cast<std::int32_t>(reader.u32() >> 16);
    // QuickTime's second version of this entry has four more numbers.
    if (version == 1)
        reader.skip(16);
    if (reader.failed())
        return fail(makeError(ErrorCode::damaged, "A sound description is damaged."));
    // QuickTime wraps it.
    const auto wrapper = findBox(reader.rest(), "wave");
    if (const auto descriptor = findBox(wrapper ? wrapper->payload : reader.rest(), "esds"))
        format.decoderConfiguration = decoderSpecificInfo(descriptor->payload);
    if (const auto channels = channelCount(format.decoderConfiguration); channels > 0)
        format.channelCount = channels;
    return std::make_shared<const FormatDescription>(std::move(format));
}

}  // namespace velmora::mp4
