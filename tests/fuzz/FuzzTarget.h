// What every fuzz target has: its entry, and how it says that something is wrong.
#pragma once

#include "base/Fatal.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

/// Called by the fuzzer, and by the replay of a corpus, with one input after another. Returns 0; does not return when a rule is broken.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace velmora::fuzz {

/// In every build: aborts with the reason unless `condition` holds.
inline void require(bool condition, std::string_view reason)
{
    if (!condition)
        fatalError(reason);
}

inline std::vector<std::byte> bytesOf(std::span<const std::uint8_t> input)
{
    const auto bytes = std::as_bytes(input);
    return {bytes.begin(), bytes.end()};
}

}  // namespace velmora::fuzz
