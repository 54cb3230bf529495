// A frame number that can still be read from a picture after encoding and scaling: two strips of big black and white blocks.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace velmora::test {

/// The window's place in a picture; the whole picture unless the window was fitted into one of another shape.
struct PicturePart {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
};

/// The strips cover the full width at the very top and at the very bottom of a window, so that a picture put together from two frames
/// shows two numbers. Each has 20 blocks: white and black (so that a flat picture reads as nothing), 16 bits of the number modulo
/// 65536, highest first (white is 1), the parity of the even bits and that of the odd bits. A window of at least 320 x 240 has
/// blocks of at least 16 x 16 pixels.
struct FrameNumberStrip {
    static constexpr int blockCount = 20;
    static constexpr int bitCount = 16;
    static constexpr int smallestWidth = 320;
    static constexpr int smallestHeight = 240;

    static constexpr int height(int pictureHeight) { return std::max(16, pictureHeight / 15); }
    static constexpr int blockStart(int index, int pictureWidth) { return index * pictureWidth / blockCount; }

    /// Whether block `index` is white for `number`.
    static constexpr bool isWhite(int index, std::uint32_t number)
    {
        if (index < 2)
            return index == 0;
        if (index < 2 + bitCount)
            return (number >> (bitCount - 1 - (index - 2)) & 1U) != 0;
        return parity(number, index - 2 - bitCount);
    }

    /// What moves in a numbered window: that much of its height, between the strips.
    static constexpr PicturePart movingPart(int pictureWidth, int pictureHeight, int percent)
    {
        const int between = pictureHeight - 2 * height(pictureHeight);
        const int moving = std::min(between, pictureHeight * percent / 100);
        return {0, height(pictureHeight) + (between - moving) / 2, pictureWidth, moving};
    }

    static constexpr bool parity(std::uint32_t number, int phase)
    {
        bool odd = false;
        for (int bit = phase; bit < bitCount; bit += 2)
            odd ^= (number >> bit & 1U) != 0;
        return odd;
    }
};

/// A decoded or captured picture: 4 bytes a pixel for BGRA, 1 for luma.
struct PictureView {
    const std::byte* pixels = nullptr;
    std::size_t bytesPerRow = 0;
    int width = 0;
    int height = 0;
    int bytesPerPixel = 4;
};

struct FrameNumberReading {
    std::optional<std::uint32_t> top;  ///< empty when the strip cannot be read
    std::optional<std::uint32_t> bottom;

    [[nodiscard]] bool isReadable() const { return top && bottom; }
    [[nodiscard]] bool isTorn() const { return top && bottom && *top != *bottom; }

    /// The number when both strips agree.
    [[nodiscard]] std::optional<std::uint32_t> number() const { return isReadable() && !isTorn() ? top : std::nullopt; }
};

namespace detail {

/// Mean brightness (0 to 255) of the middle of a block, away from its edges, which encoding blurs.
inline int meanOfBlock(const PictureView& picture, const PicturePart& block)
{
    std::int64_t sum = 0;
    std::int64_t count = 0;
    for (int y = block.y + block.height / 4; y < block.y + std::max(1, block.height * 3 / 4); ++y) {
        const auto* row = picture.pixels + static_cast<std::size_t>(y) * picture.bytesPerRow;
        for (int x = block.x + block.width / 4; x < block.x + std::max(1, block.width * 3 / 4); ++x) {
            const auto* pixel = row + static_cast<std::size_t>(x) * static_cast<std::size_t>(picture.bytesPerPixel);
            // The green of BGRA stands for the brightness of what is black or white.
            sum += std::to_integer<int>(pixel[picture.bytesPerPixel == 4 ? 1 : 0]);
            ++count;
        }
    }
    return count == 0 ? 0 : static_cast<int>(sum / count);
}

inline std::optional<std::uint32_t> readStrip(const PictureView& picture, const PicturePart& strip)
{
    const auto block = [&](int index) {
        const int start = FrameNumberStrip::blockStart(index, strip.width);
        return meanOfBlock(picture, {strip.x + start, strip.y, FrameNumberStrip::blockStart(index + 1, strip.width) - start, strip.height});
    };
    const int white = block(0);
    const int black = block(1);
    if (white - black < 100)
        return std::nullopt;
    const int threshold = (white + black) / 2;
    std::uint32_t number = 0;
    for (int index = 2; index < 2 + FrameNumberStrip::bitCount; ++index)
        number = number << 1U | (block(index) > threshold ? 1U : 0U);
    for (int index = 0; index < FrameNumberStrip::blockCount; ++index) {
        if (FrameNumberStrip::isWhite(index, number) != (block(index) > threshold))
            return std::nullopt;
    }
    return number;
}

}  // namespace detail

/// Reads both strips of a window that lies at `part` of the picture.
inline FrameNumberReading readFrameNumber(const PictureView& picture, PicturePart part)
{
    const int height = std::max(1, std::min(part.height, FrameNumberStrip::height(part.height)));
    return {detail::readStrip(picture, {part.x, part.y, part.width, height}),
        detail::readStrip(picture, {part.x, part.y + part.height - height, part.width, height})};
}

inline FrameNumberReading readFrameNumber(const PictureView& picture)
{
    return readFrameNumber(picture, {0, 0, picture.width, picture.height});
}

}  // namespace velmora::test
