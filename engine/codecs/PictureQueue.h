// The pictures that wait for the encoder.
#pragma once

#include "engine/codecs/DirtyArea.h"
#include "media/MediaTime.h"
#include "media/PixelBuffer.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace velmora::engine {

struct PendingPicture {
    PixelBufferRef picture;
    MediaTime presentationTimeStamp;
    MediaTime duration;
    DirtyArea changed;  ///< against the picture that was taken out before
    std::uint64_t droppedBefore = 0;  ///< pictures that came between the one taken out before and this one
    std::uint64_t droppedInAll = 0;  ///< since the queue was made or cleared, by the time this one is taken out
};

/// At most three pictures in the order they came. In a full queue a picture takes the place of the youngest: what a burst leaves
/// on the screen is recorded at once, not with the next change. A dropped picture's changes count for the one after it.
/// Not thread-safe.
class PictureQueue {
public:
    static constexpr std::size_t capacity = 3;

    void push(PixelBufferRef picture, MediaTime presentationTimeStamp, MediaTime duration);
    std::optional<PendingPicture> pop();
    [[nodiscard]] bool isEmpty() const { return count_ == 0; }

    /// Releases all pictures. The next one counts as wholly changed.
    void clear();

private:
    DirtyArea changeSinceLast(const PictureChange& change);

    std::array<PendingPicture, capacity> pictures_;
    std::size_t first_ = 0;
    std::size_t count_ = 0;
    std::uint64_t droppedInAll_ = 0;
    std::uint64_t lastStream_ = 0;
    std::uint64_t lastSequence_ = 0;
};

}  // namespace velmora::engine
