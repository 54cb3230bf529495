// The pictures that a capture delivers, used over and over.
#pragma once

#include "base/Geometry.h"
#include "base/MonotonicClock.h"
#include "engine/pictures/DamageRegion.h"
#include "engine/pictures/MemoryBlock.h"

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace velmora::engine {

/// Pixels under a cursor that was drawn into a picture.
struct SavedPixels {
    PixelRect rectangle;
    std::vector<std::uint32_t> pixels;
};

/// One picture of the pool. What it has missed is kept beside it, so that making it current fetches no more than that.
struct PooledPicture {
    std::byte* pixels = nullptr;
    std::size_t offset = 0;  ///< of `pixels` in the pool's memory
    DamageRegion missed;  ///< what has changed since this picture was current
    SavedPixels underCursor;  ///< put back before anything is fetched
    PixelRect fitted;  ///< where a scaled source lies; empty while the picture has the source's own size
    std::optional<MonotonicTime> usedAt;  ///< none while it takes no memory
    std::atomic<int> holders{0};
};

/// A fixed number of BGRA pictures of one size in one block of memory. Everything but the release of a lease happens on
/// the capture's thread. A picture is written to only while nobody holds a lease on it; when all are held there is none to be had,
/// and the capture skips that moment: memory stays bounded however slow a consumer is. Memory that was never written to
/// costs nothing, so a consumer that keeps up uses one or two of them; what a burst took beyond these is given back when it is over.
class PicturePool {
public:
    static constexpr std::size_t pictureCount = 6;
    /// Long against the work of having the memory again, which is that of one whole picture.
    static constexpr std::chrono::seconds idleTime{2};

    /// How large the memory of a pool must be.
    [[nodiscard]] static std::size_t requiredBytes(std::int32_t width, std::int32_t height);

    /// `memory` is zeroed and of at least the required size.
    PicturePool(std::shared_ptr<MemoryBlock> memory, std::int32_t width, std::int32_t height);

    [[nodiscard]] std::int32_t width() const { return width_; }
    [[nodiscard]] std::int32_t height() const { return height_; }
    [[nodiscard]] std::size_t bytesPerRow() const { return static_cast<std::size_t>(width_) * 4; }

    /// Adds to what every picture has missed.
    void addDamage(PixelRect rectangle);

    /// Makes every picture wholly out of date.
    void invalidate();

    /// The picture nobody holds that has missed the least; null when all are held.
    [[nodiscard]] PooledPicture* leastOutdated();

    /// Keeps the picture, and the memory it lies in, until the last copy is released; on any thread, also after the pool's end.
    [[nodiscard]] std::shared_ptr<const void> lease(PooledPicture& picture);

    /// The picture has been delivered at this time. One that nobody has held for the idle time, if there is one, gives its memory back; the
    /// two that were used last keep theirs, because they alternate as long as the consumer keeps up.
    void use(PooledPicture& picture, MonotonicTime now);

private:
    struct Storage {
        std::shared_ptr<MemoryBlock> block;
        std::array<PooledPicture, pictureCount> pictures;
    };

    std::shared_ptr<Storage> storage_;
    std::int32_t width_;
    std::int32_t height_;
};

}  // namespace velmora::engine
