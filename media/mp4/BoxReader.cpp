#include "media/mp4/BoxReader.h"

namespace velmora::mp4 {

std::optional<Box> nextBox(ByteReader& reader)
{
    if (reader.remaining() == 0)
        return std::nullopt;
    std::uint64_t size = reader.u32();
    const auto type = reader.code();
    std::uint64_t header = 8;
    if (size == 1) {
        size = reader.u64();
        header = 16;
    } else if (size == 0) {
        size = header + reader.remaining();
    }
    if (size < header) {
        reader.skip(reader.remaining() + std::uint64_t{1});
        return std::nullopt;
    }
    const auto payload = reader.take(size - header);
    if (reader.failed())
        return std::nullopt;
    return Box{type, payload};
}

std::optional<Box> findBox(std::span<const std::byte> payload, FourCharacterCode type)
{
    ByteReader reader{payload};
    while (const auto box = nextBox(reader)) {
        if (box->type == type)
            return box;
    }
    return std::nullopt;
}

FullBoxHeader readFullBoxHeader(ByteReader& reader)
{
    const auto word = reader.u32();
    return {static_cast<std::uint8_t>(word >> 24), word & 0xFFFFFF};
}

}  // namespace velmora::mp4
