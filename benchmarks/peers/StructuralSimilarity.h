// How alike two pictures look.
#pragma once

#include <cstddef>
#include <cstdint>

namespace velmora::benchmarks {

/// Bytes of luma, rows from the top.
struct LumaPlane {
    const std::uint8_t* pixels = nullptr;
    std::size_t bytesPerRow = 0;
    int width = 0;
    int height = 0;
};

/// The mean structural similarity (Wang et al. 2004) over squares of 8 pixels, 4 apart: 1 for pictures that are the same. The two planes
/// have the same size, at least 8 x 8.
[[nodiscard]] double structuralSimilarity(const LumaPlane& one, const LumaPlane& other);

}  // namespace velmora::benchmarks
