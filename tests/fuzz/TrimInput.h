// The inputs of the trim planner's fuzz target: a range, then a file.
#pragma once

#include "media/TimeRange.h"
#include "tests/fuzz/FuzzTarget.h"

#include <array>
#include <optional>

namespace velmora::fuzz {

/// One byte that chooses the range's time scale, its start and its end (4 bytes each, big-endian), the bytes of the file.
struct TrimInput {
    static constexpr std::size_t headSize = 9;
    static constexpr std::array<std::int32_t, 5> timescales{600, 1000, 48000, 90000, MediaTime::nanosecondScale};

    TimeRange range;
    std::vector<std::byte> movie;

    static std::optional<TrimInput> parse(std::span<const std::uint8_t> input)
    {
        if (input.size() < headSize)
            return std::nullopt;
        const auto scale = timescales[input[0] % timescales.size()];
        return TrimInput{{{number(input.subspan(1)), scale}, {number(input.subspan(5)), scale}}, bytesOf(input.subspan(headSize))};
    }

private:
    static std::int32_t number(std::span<const std::uint8_t> bytes)
    {
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < 4; ++i)
            value = value << 8 | bytes[i];
        return static_cast<std::int32_t>(value);
    }
};

}  // namespace velmora::fuzz
