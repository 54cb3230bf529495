// Reads boxes out of memory. Nothing that a file says is believed: every access is checked against the bytes that are there.
#pragma once

#include "media/FourCharacterCode.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace velmora::mp4 {

/// Big-endian numbers, one after the other. Reading past the end yields zeros and is remembered: check failed() once after a run of
/// reads.
class ByteReader {
public:
    explicit ByteReader(std::span<const std::byte> bytes) : bytes_(bytes) { }

    std::uint8_t u8() { return static_cast<std::uint8_t>(number(1)); }
    std::uint16_t u16() { return static_cast<std::uint16_t>(number(2)); }
    std::uint32_t u32() { return static_cast<std::uint32_t>(number(4)); }
    std::uint64_t u64() { return number(8); }
    std::int32_t i32() { return static_cast<std::int32_t>(u32()); }
    std::int64_t i64() { return static_cast<std::int64_t>(u64()); }
    FourCharacterCode code() { return FourCharacterCode{u32()}; }

    /// 64 bits in a box of version 1, 32 in one of version 0.
    std::uint64_t sized(std::uint8_t version) { return version == 1 ? u64() : u32(); }

    void skip(std::uint64_t count) { static_cast<void>(take(count)); }

    /// The next `count` bytes; empty, and failed() from then on, if fewer are left.
    std::span<const std::byte> take(std::uint64_t count)
    {
        if (count > bytes_.size()) {
            failed_ = true;
            bytes_ = {};
            return {};
        }
        const auto taken = bytes_.first(static_cast<std::size_t>(count));
        bytes_ = bytes_.subspan(taken.size());
        return taken;
    }

    [[nodiscard]] std::span<const std::byte> rest() const { return bytes_; }
    [[nodiscard]] std::size_t remaining() const { return bytes_.size(); }
    [[nodiscard]] bool failed() const { return failed_; }

private:
    std::uint64_t number(std::size_t size)
    {
        std::uint64_t value = 0;
        for (const auto byte : take(size))
            value = (value << 8) | static_cast<std::uint8_t>(byte);
        return value;
    }

    std::span<const std::byte> bytes_;
    bool failed_ = false;
};

struct Box {
    FourCharacterCode type;
    std::span<const std::byte> payload;  ///< what follows size and type
};

/// The next box of `reader`; none at the end, and none, with `reader` failed, where the bytes are not a whole box.
std::optional<Box> nextBox(ByteReader& reader);

/// The first box of that type directly inside `payload`.
std::optional<Box> findBox(std::span<const std::byte> payload, FourCharacterCode type);

/// The version and flags at the beginning of a full box.
struct FullBoxHeader {
    std::uint8_t version = 0;
    std::uint32_t flags = 0;
};
FullBoxHeader readFullBoxHeader(ByteReader& reader);

}  // namespace velmora::mp4
