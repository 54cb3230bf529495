// One picture in memory.
#pragma once

#include "base/Geometry.h"
#include "media/FourCharacterCode.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace velmora {

/// What changed between a picture and the one before it in the same stream. A consumer that has kept the result of the previous
/// picture (same `stream`, `sequence` - 1) need only redo the `dirty` rectangles; any other consumer takes the whole picture.
struct PictureChange {
    std::uint64_t stream = 0;  ///< identity of the stream; 0 when nothing is known about the change
    std::uint64_t sequence = 0;  ///< counts the stream's pictures
    std::vector<PixelRect> dirty;  ///< empty: this picture equals the previous one
};

/// An immutable picture. The pixels belong to `owner` and stay as they are for as long as it lives; a PixelBuffer is handed on by
/// reference and never copied. The only format is "BGRA": 8 bits a channel, packed, top row first, alpha to be ignored.
struct PixelBuffer {
    FourCharacterCode format{"BGRA"};
    std::int32_t width = 0;
    std::int32_t height = 0;
    std::size_t bytesPerRow = 0;
    const std::byte* baseAddress = nullptr;
    PictureChange change;
    std::shared_ptr<const void> owner;
};

using PixelBufferRef = std::shared_ptr<const PixelBuffer>;

}  // namespace velmora
