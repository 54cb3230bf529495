// One buffer of a cast: its memory, and what it says of the picture in it.
#pragma once

#include "base/Geometry.h"
#include "base/MonotonicClock.h"
#include "base/Result.h"
#include "platform/linux/portal/CastFormats.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <spa/buffer/buffer.h>
#include <vector>

namespace velmora::linux_backend {

/// A picture in memory that somebody else draws into, but not while its buffer is ours.
struct CastPicture {
    const std::byte* pixels = nullptr;  ///< top left of the whole picture, of which `content` is the window
    std::size_t bytesPerRow = 0;
    PixelRect content;
    bool isRedFirst = false;
    bool isCropped = false;  ///< the desktop said where the window is
};

/// What a buffer says besides its picture.
struct CastNews {
    std::optional<MonotonicTime> time;
    std::vector<PixelRect> damage;  ///< within the whole picture
};

/// The memory of a buffer for as long as this process has it.
class CastBuffer {
public:
    /// Maps what is not in memory yet.
    static Result<std::unique_ptr<CastBuffer>> create(const spa_buffer& buffer);
    ~CastBuffer();
    CastBuffer(const CastBuffer&) = delete;
    CastBuffer& operator=(const CastBuffer&) = delete;

    /// The picture; none when there is none in the buffer, or a broken one.
    [[nodiscard]] std::optional<CastPicture> picture(const CastFormat& format) const;
    [[nodiscard]] CastNews news() const;

    /// Around each reading: a graphics card may have to finish first.
    void beginReading() const;
    void endReading() const;

private:
    CastBuffer(const spa_buffer& buffer, const std::byte* data, void* mapping, std::size_t mappedSize)
        : buffer_(buffer)
        , data_(data)
        , mapping_(mapping)
        , mappedSize_(mappedSize)
    {
    }

    void synchronise(std::uint64_t flags) const;

    const spa_buffer& buffer_;
    const std::byte* data_;
    void* mapping_;  // null when it was in memory already
    std::size_t mappedSize_;
};

}  // namespace velmora::linux_backend
