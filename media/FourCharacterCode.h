// Four-character codes, by which media formats and files name their parts (ISO 14496-12 4.2).
#pragma once

#include <cstdint>
#include <string>

namespace velmora {

struct FourCharacterCode {
    std::uint32_t value = 0;

    constexpr FourCharacterCode() = default;
    explicit constexpr FourCharacterCode(std::uint32_t v) : value(v) { }
    constexpr FourCharacterCode(const char (&text)[5])
        : value((std::uint32_t{static_cast<unsigned char>(text[0])} << 24) | (std::uint32_t{static_cast<unsigned char>(text[1])} << 16)
            | (std::uint32_t{static_cast<unsigned char>(text[2])} << 8) | std::uint32_t{static_cast<unsigned char>(text[3])})
    {
    }

    [[nodiscard]] std::string text() const
    {
        return {static_cast<char>(value >> 24), static_cast<char>(value >> 16), static_cast<char>(value >> 8), static_cast<char>(value)};
    }

    friend constexpr bool operator==(FourCharacterCode, FourCharacterCode) = default;
};

}  // namespace velmora
