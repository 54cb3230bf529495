// Reads numbers that are not whole bytes. For use inside this library.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace velmora::mp4 {

/// The highest bit of a byte comes first. Past the end it reads zeros.
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

    /// An Exp-Golomb number, the shorter the smaller it is (ISO 14496-10 9.1). One that does not fit is 0.
    std::uint32_t readExponential()
    {
        int zeros = 0;
        while (zeros < 32 && !isAtEnd() && read(1) == 0)
            ++zeros;
        return zeros >= 32 ? 0 : (std::uint32_t{1} << zeros) - 1 + read(zeros);
    }

    [[nodiscard]] bool isAtEnd() const { return position_ >= bytes_.size() * 8; }

private:
    std::span<const std::byte> bytes_;
    std::size_t position_ = 0;
};

}  // namespace velmora::mp4
