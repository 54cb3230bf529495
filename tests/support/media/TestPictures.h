// Pictures made for the tests of the codecs.
#pragma once

#include "media/MediaTime.h"
#include "media/PixelBuffer.h"

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <random>
#include <vector>

namespace velmora::test {

/// In the nanoseconds in which pictures are timed.
inline constexpr std::int64_t second = MediaTime::nanosecondScale;

struct Colour {
    std::uint8_t r = 0;
    std::uint8_t g = 0;
    std::uint8_t b = 0;
};

/// Y, Cb, Cr of BT.709 with limited range, exactly.
inline std::array<double, 3> exactYuv(double r, double g, double b)
{
    const double luma = (0.2126 * r + 0.7152 * g + 0.0722 * b) / 255;
    return {16 + 219 * luma, 128 + 224 * (b / 255 - luma) / 1.8556, 128 + 224 * (r / 255 - luma) / 1.5748};
}

/// R, G, B of the same.
inline std::array<double, 3> exactRgb(double y, double cb, double cr)
{
    const double luma = (y - 16) / 219;
    const double b = luma + (cb - 128) / 224 * 1.8556;
    const double r = luma + (cr - 128) / 224 * 1.5748;
    return {255 * r, 255 * (luma - 0.2126 * r - 0.0722 * b) / 0.7152, 255 * b};
}

/// A BGRA picture that can be painted on.
class Canvas {
public:
    Canvas(std::int32_t width, std::int32_t height, std::size_t extraBytesPerRow = 0)
        : width_(width)
        , height_(height)
        , bytesPerRow_(static_cast<std::size_t>(width) * 4 + extraBytesPerRow)
        , bytes_(bytesPerRow_ * static_cast<std::size_t>(height), std::byte{0x5A})
    {
    }

    [[nodiscard]] std::int32_t width() const { return width_; }
    [[nodiscard]] std::int32_t height() const { return height_; }
    [[nodiscard]] std::size_t bytesPerRow() const { return bytesPerRow_; }
    [[nodiscard]] std::byte* data() { return bytes_.data(); }
    [[nodiscard]] const std::byte* data() const { return bytes_.data(); }

    void set(std::int32_t x, std::int32_t y, Colour colour)
    {
        std::byte* pixel = bytes_.data() + offset(x, y);
        pixel[0] = std::byte{colour.b};
        pixel[1] = std::byte{colour.g};
        pixel[2] = std::byte{colour.r};
    }

    [[nodiscard]] Colour at(std::int32_t x, std::int32_t y) const
    {
        const std::byte* pixel = bytes_.data() + offset(x, y);
        return {std::to_integer<std::uint8_t>(pixel[2]), std::to_integer<std::uint8_t>(pixel[1]), std::to_integer<std::uint8_t>(pixel[0])};
    }

    void fill(PixelRect area, Colour colour)
    {
        area = area.intersected({0, 0, width_, height_});
        for (std::int32_t y = area.y; y < area.y + area.height; ++y) {
            for (std::int32_t x = area.x; x < area.x + area.width; ++x)
                set(x, y, colour);
        }
    }

    void fill(Colour colour) { fill({0, 0, width_, height_}, colour); }

    /// Random bytes, alpha included.
    void fillWithNoise(std::mt19937& random)
    {
        for (auto& byte : bytes_)
            byte = static_cast<std::byte>(random() & 0xFF);
    }

    /// A picture with a copy of the pixels.
    [[nodiscard]] PixelBufferRef picture(PictureChange change = {}) const
    {
        auto pixels = std::make_shared<const std::vector<std::byte>>(bytes_);
        auto buffer = std::make_shared<PixelBuffer>();
        buffer->width = width_;
        buffer->height = height_;
        buffer->bytesPerRow = bytesPerRow_;
        buffer->baseAddress = pixels->data();
        buffer->change = std::move(change);
        buffer->owner = std::move(pixels);
        return buffer;
    }

private:
    [[nodiscard]] std::size_t offset(std::int32_t x, std::int32_t y) const
    {
        return static_cast<std::size_t>(y) * bytesPerRow_ + static_cast<std::size_t>(x) * 4;
    }

    std::int32_t width_;
    std::int32_t height_;
    std::size_t bytesPerRow_;
    std::vector<std::byte> bytes_;
};

/// Something like a grainy film: a moving pattern of fields under noise, different in every frame.
inline void paintMovingScene(Canvas& canvas, int frame, std::uint32_t noise = 24)
{
    std::minstd_rand random(static_cast<std::uint32_t>(frame + 1));
    for (std::int32_t y = 0; y < canvas.height(); ++y) {
        for (std::int32_t x = 0; x < canvas.width(); ++x) {
            const int shift = 7 * frame;
            const auto grain = noise == 0 ? 0U : static_cast<std::uint32_t>(random() >> 8) % noise;
            const auto base = static_cast<std::uint32_t>(((x + shift) / 24 + (y + shift / 2) / 24) % 5 * 40 + 20);
            canvas.set(x, y,
                {static_cast<std::uint8_t>(base + grain), static_cast<std::uint8_t>(base / 2 + grain + 40),
                    static_cast<std::uint8_t>(180 - base / 2 + grain)});
        }
    }
}

}  // namespace velmora::test
