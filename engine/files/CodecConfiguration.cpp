#include "engine/files/CodecConfiguration.h"

#include "media/mp4/BoxReader.h"

#include <optional>
#include <string_view>

namespace velmora::engine {

namespace {

// ISO 14496-12 12.1.3 and 12.2.3: boxes follow so many bytes of a sample entry.
constexpr std::size_t visualFields = 78;
constexpr std::size_t soundFields = 28;

std::optional<mp4::Box> boxInEntry(const mp4::Track& track, std::size_t fields, FourCharacterCode type)
{
    mp4::ByteReader entry{track.sampleEntry};
    const auto box = mp4::nextBox(entry);
    if (!box || box->payload.size() < fields)
        return std::nullopt;
    return mp4::findBox(box->payload.subspan(fields), type);
}

/// "OpusSpecificBox" (Encapsulation of Opus in ISO Base Media File Format 4.3.2) has the same fields with the larger byte first.
std::vector<std::byte> opusHead(std::span<const std::byte> payload)
{
    mp4::ByteReader reader{payload};
    reader.skip(1);
    const auto channels = reader.u8();
    const auto preSkip = reader.u16();
    const auto rate = reader.u32();
    const auto gain = reader.u16();
    const auto rest = reader.rest();
    if (reader.failed() || rest.empty())
        return {};
    constexpr std::string_view magic = "OpusHead";
    const auto text = std::as_bytes(std::span{magic});
    std::vector<std::byte> head(text.begin(), text.end());
    const auto put = [&head](std::uint32_t value, int size) {
        for (int i = 0; i < size; ++i)
            head.push_back(static_cast<std::byte>(value >> (8 * i)));
    };
    put(1, 1);
    put(channels, 1);
    put(preSkip, 2);
    put(rate, 4);
    put(gain, 2);
    head.insert(head.end(), rest.begin(), rest.end());
    return head;
}

}  // namespace

VideoFormat decodablePictures(const mp4::Track& track)
{
    auto format = *track.format->video();
    if (!format.decoderConfiguration.empty())
        return format;
    for (const auto type : {FourCharacterCode{"hvcC"}, FourCharacterCode{"av1C"}}) {
        if (const auto configuration = boxInEntry(track, visualFields, type))
            format.decoderConfiguration.assign(configuration->payload.begin(), configuration->payload.end());
    }
    return format;
}

AudioFormat decodableSound(const mp4::Track& track)
{
    auto format = *track.format->audio();
    if (format.codec == FourCharacterCode{"Opus"}) {
        if (const auto configuration = boxInEntry(track, soundFields, FourCharacterCode{"dOps"}))
            format.decoderConfiguration = opusHead(configuration->payload);
    }
    return format;
}

}  // namespace velmora::engine
