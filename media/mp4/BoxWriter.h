// Builds boxes in memory (ISO 14496-12 4.2).
#pragma once

#include "media/FourCharacterCode.h"

#include <array>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

namespace velmora::mp4 {

/// Appends big-endian numbers and nested boxes to one vector. The size of a box is filled in when the Scope that opened it ends.
class BoxWriter {
public:
    class Scope {
    public:
        ~Scope() { writer_.close(start_); }
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;

    private:
        friend class BoxWriter;
        Scope(BoxWriter& writer, std::size_t start) : writer_(writer), start_(start) { }
        BoxWriter& writer_;
        std::size_t start_;
    };

    [[nodiscard]] Scope box(FourCharacterCode type)
    {
        const auto start = bytes_.size();
        u32(0);
        u32(type.value);
        return Scope{*this, start};
    }

    [[nodiscard]] Scope fullBox(FourCharacterCode type, std::uint8_t version, std::uint32_t flags)
    {
        const auto start = bytes_.size();
        u32(0);
        u32(type.value);
        u32((std::uint32_t{version} << 24) | flags);
        return Scope{*this, start};
    }

    void u8(std::uint8_t value) { bytes_.push_back(std::byte{value}); }
    void u16(std::uint16_t value) { number(value); }
    void u32(std::uint32_t value) { number(value); }
    void u64(std::uint64_t value) { number(value); }
    void i32(std::int32_t value) { number(static_cast<std::uint32_t>(value)); }
    void i64(std::int64_t value) { number(static_cast<std::uint64_t>(value)); }

    /// 64 bits in a box of version 1, 32 in one of version 0.
    void sized(std::uint8_t version, std::uint64_t value)
    {
        if (version == 1) {
            u64(value);
        } else {
            assert(value <= std::numeric_limits<std::uint32_t>::max());
            u32(static_cast<std::uint32_t>(value));
        }
    }

    void zeros(std::size_t count) { bytes_.insert(bytes_.end(), count, std::byte{0}); }
    void bytes(std::span<const std::byte> data) { bytes_.insert(bytes_.end(), data.begin(), data.end()); }

    /// The characters of `text` without a terminator.
    void text(std::string_view text) { bytes(std::as_bytes(std::span{text.data(), text.size()})); }

    [[nodiscard]] std::size_t position() const { return bytes_.size(); }

    void overwriteU32(std::size_t position, std::uint32_t value)
    {
        assert(position + 4 <= bytes_.size());
        for (std::size_t i = 0; i < 4; ++i)
            bytes_[position + i] = static_cast<std::byte>(value >> (24 - 8 * i));
    }

    [[nodiscard]] std::span<const std::byte> view() const { return bytes_; }
    [[nodiscard]] std::vector<std::byte> take() { return std::exchange(bytes_, {}); }
    void clear() { bytes_.clear(); }
    void reserve(std::size_t size) { bytes_.reserve(size); }

private:
    template <typename T>
    void number(T value)
    {
        std::array<std::byte, sizeof(T)> digits;
        for (std::size_t i = 0; i < sizeof(T); ++i)
            digits[i] = static_cast<std::byte>(value >> (8 * (sizeof(T) - 1 - i)));
        bytes_.insert(bytes_.end(), digits.begin(), digits.end());
    }

    void close(std::size_t start)
    {
        const auto size = bytes_.size() - start;
        assert(size <= std::numeric_limits<std::uint32_t>::max());
        overwriteU32(start, static_cast<std::uint32_t>(size));
    }

    std::vector<std::byte> bytes_;
};

}  // namespace velmora::mp4
