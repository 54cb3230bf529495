// Content that a test paints, and that may be slow, late and drawn to while it is fetched.
#pragma once

#include "engine/pictures/PictureStream.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace velmora::engine {

/// Colours are 0xRRGGBB. What a fetch does not have to bring up to date it leaves alone, so a picture that was told too little stays wrong.
class PaintedContent final : public PictureContent {
public:
    static constexpr std::uint32_t overlayColour = 0xabcdef;

    /// A fetch takes time, on this clock.
    explicit PaintedContent(MonotonicTime& clock) : clock_(clock) { }

    struct Bytes {
        std::vector<std::byte> bytes;
    };

    /// What is given back is overwritten.
    struct Memory final : Bytes, MemoryBlock {
        explicit Memory(std::size_t size) : Bytes{std::vector<std::byte>(size)}, MemoryBlock(bytes.data(), size) { }

        void giveBack(std::size_t offset, std::size_t size) override
        {
            std::fill_n(data() + offset, size, std::byte{0x55});
            givenBack.push_back(data() + offset);
        }

        std::vector<const std::byte*> givenBack;
    };

    static std::shared_ptr<Memory> memory(std::size_t size) { return std::make_shared<Memory>(size); }

    void resize(std::int32_t width, std::int32_t height, std::uint32_t colour)
    {
        width_ = width;
        height_ = height;
        pixels_.assign(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), colour);
    }

    void paint(PixelRect part, std::uint32_t colour)
    {
        const auto inside = part.intersected({0, 0, width_, height_});
        for (auto y = inside.y; y < inside.y + inside.height; ++y)
            std::fill_n(pixels_.begin() + y * width_ + inside.x, inside.width, colour);
    }

    [[nodiscard]] const std::vector<std::uint32_t>& colours() const { return pixels_; }

    Result<bool> fetch(PooledPicture& picture) override
    {
        if (!begin())
            return error ? Result<bool>{fail(*error)} : Result<bool>{false};
        // What was drawn over the previous picture is fetched anew.
        picture.missed.add(std::exchange(picture.underCursor.rectangle, {}));
        for (const auto& part : picture.missed.rectangles())
            copy(part, pixels_, picture.pixels);
        fetched.add(picture.missed);
        if (overlay) {
            picture.underCursor.rectangle = overlay->intersected({0, 0, width_, height_});
            const std::vector<std::uint32_t> drawn(pixels_.size(), overlayColour);
            copy(picture.underCursor.rectangle, drawn, picture.pixels);
        }
        return true;
    }

    Result<std::optional<ContentPixels>> fetchAll() override
    {
        if (!begin())
            return error ? Result<std::optional<ContentPixels>>{fail(*error)} : Result<std::optional<ContentPixels>>{std::nullopt};
        return ContentPixels{reinterpret_cast<const std::byte*>(pixels_.data()), static_cast<std::size_t>(width_) * 4};
    }

    std::chrono::nanoseconds slowness{0};  ///< how long a fetch takes
    int refusals = 0;  ///< how many fetches fail to work out
    std::optional<Error> error;  ///< of every fetch
    std::function<void()> whileFetched;  ///< once, before pixels are read
    std::optional<PixelRect> overlay;
    DamageRegion fetched;  ///< what fetches had to bring up to date

private:
    bool begin()
    {
        clock_ += slowness;
        if (const auto happens = std::exchange(whileFetched, {}))
            happens();
        if (refusals > 0) {
            --refusals;
            return false;
        }
        return !error;
    }

    void copy(PixelRect part, const std::vector<std::uint32_t>& from, std::byte* to) const
    {
        for (auto y = part.y; y < part.y + part.height; ++y) {
            const auto offset = static_cast<std::size_t>(y * width_ + part.x);
            std::memcpy(to + offset * 4, from.data() + offset, static_cast<std::size_t>(part.width) * 4);
        }
    }

    MonotonicTime& clock_;
    std::int32_t width_ = 0;
    std::int32_t height_ = 0;
    std::vector<std::uint32_t> pixels_;
};

}  // namespace velmora::engine
