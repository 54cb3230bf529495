#include "engine/codecs/ColourConversion.h"
#include "tests/support/media/TestPictures.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <vector>

namespace velmora::engine {
namespace {

using test::Canvas;
using test::Colour;
using test::exactYuv;
using Layout = Yuv420View::Layout;

/// The bytes around and between the planes keep a known value, so that a stray write shows.
class Planes {
public:
    static constexpr std::uint8_t untouched = 0xA5;
    static constexpr std::size_t margin = 64;

    Planes(std::int32_t width, std::int32_t height, Layout layout = Layout::i420)
        : layout_(layout)
        , width_(static_cast<std::size_t>(paddedToEven(width)))
        , height_(static_cast<std::size_t>(paddedToEven(height)))
        , luma_(lumaStride() * height_ + 2 * margin, untouched)
        , cb_(chromaStride() * height_ / 2 + 2 * margin, untouched)
        , cr_(layout == Layout::i420 ? cb_.size() : 0, untouched)
    {
    }

    [[nodiscard]] Yuv420View view()
    {
        return {
            layout_, luma_.data() + margin, lumaStride(), cb_.data() + margin, cr_.empty() ? nullptr : cr_.data() + margin, chromaStride()};
    }

    [[nodiscard]] int luma(std::size_t x, std::size_t y) const { return luma_[margin + y * lumaStride() + x]; }
    [[nodiscard]] int cb(std::size_t x, std::size_t y) const
    {
        return cb_[margin + y * chromaStride() + (layout_ == Layout::i420 ? x : 2 * x)];
    }
    [[nodiscard]] int cr(std::size_t x, std::size_t y) const
    {
        return layout_ == Layout::i420 ? cr_[margin + y * chromaStride() + x] : cb_[margin + y * chromaStride() + 2 * x + 1];
    }

    /// True when nothing but the picture's own bytes was written.
    [[nodiscard]] bool marginsAreUntouched() const
    {
        return isUntouchedBeside(luma_, lumaStride(), width_, height_)
            && isUntouchedBeside(cb_, chromaStride(), layout_ == Layout::i420 ? width_ / 2 : width_, height_ / 2)
            && (cr_.empty() || isUntouchedBeside(cr_, chromaStride(), width_ / 2, height_ / 2));
    }

    friend bool operator==(const Planes&, const Planes&) = default;

private:
    [[nodiscard]] std::size_t lumaStride() const { return width_ + 5; }
    [[nodiscard]] std::size_t chromaStride() const { return (layout_ == Layout::i420 ? width_ / 2 : width_) + 3; }

    static bool isUntouchedBeside(const std::vector<std::uint8_t>& plane, std::size_t stride, std::size_t width, std::size_t height)
    {
        for (std::size_t i = 0; i < plane.size(); ++i) {
            const bool inRows = i >= margin && i < margin + stride * height;
            if ((!inRows || (i - margin) % stride >= width) && plane[i] != untouched)
                return false;
        }
        return true;
    }

    Layout layout_;
    std::size_t width_;
    std::size_t height_;
    std::vector<std::uint8_t> luma_;
    std::vector<std::uint8_t> cb_;
    std::vector<std::uint8_t> cr_;
};

BgraView view(const Canvas& canvas)
{
    return {canvas.data(), canvas.bytesPerRow(), canvas.width(), canvas.height()};
}

PixelRect whole(const Canvas& canvas)
{
    return {0, 0, canvas.width(), canvas.height()};
}

std::vector<ConversionPath> paths()
{
    std::vector<ConversionPath> all{ConversionPath::portable};
    if (fastestConversionPath() != ConversionPath::portable)
        all.push_back(fastestConversionPath());
    return all;
}

TEST(ColourConversion, WhiteAndBlackAreTheEndsOfTheLimitedRange)
{
    for (const auto path : paths()) {
        Canvas canvas{32, 2};
        Planes planes{32, 2};
        canvas.fill({255, 255, 255});
        convertToYuv420(view(canvas), whole(canvas), planes.view(), path);
        EXPECT_EQ(planes.luma(0, 0), 235);
        EXPECT_EQ(planes.cb(0, 0), 128);
        EXPECT_EQ(planes.cr(0, 0), 128);
        canvas.fill({0, 0, 0});
        convertToYuv420(view(canvas), whole(canvas), planes.view(), path);
        EXPECT_EQ(planes.luma(31, 1), 16);
        EXPECT_EQ(planes.cb(15, 0), 128);
        EXPECT_EQ(planes.cr(15, 0), 128);
    }
}

TEST(ColourConversion, EveryGreyHasNoColour)
{
    for (int grey = 0; grey < 256; ++grey) {
        Canvas canvas{2, 2};
        Planes planes{2, 2};
        const auto value = static_cast<std::uint8_t>(grey);
        canvas.fill({value, value, value});
        convertToYuv420(view(canvas), whole(canvas), planes.view());
        ASSERT_NEAR(planes.luma(0, 0), exactYuv(grey, grey, grey)[0], 0.51) << grey;
        ASSERT_EQ(planes.cb(0, 0), 128) << grey;
        ASSERT_EQ(planes.cr(0, 0), 128) << grey;
    }
}

TEST(ColourConversion, EveryColourIsTheNearestToTheExactFormula)
{
    // All of a lattice that includes the corners of the colour cube.
    for (const auto path : paths()) {
        Canvas canvas{32, 2};
        Planes planes{32, 2};
        for (int r = 0; r < 256; r += 15) {
            for (int g = 0; g < 256; g += 15) {
                for (int b = 0; b < 256; b += 15) {
                    canvas.fill({static_cast<std::uint8_t>(r), static_cast<std::uint8_t>(g), static_cast<std::uint8_t>(b)});
                    convertToYuv420(view(canvas), whole(canvas), planes.view(), path);
                    const auto exact = exactYuv(r, g, b);
                    ASSERT_NEAR(planes.luma(3, 1), exact[0], 0.51) << r << ' ' << g << ' ' << b;
                    ASSERT_NEAR(planes.cb(3, 0), exact[1], 0.51) << r << ' ' << g << ' ' << b;
                    ASSERT_NEAR(planes.cr(3, 0), exact[2], 0.51) << r << ' ' << g << ' ' << b;
                }
            }
        }
    }
}

TEST(ColourConversion, ChromaIsTheMeanOfTheFourPixelsOfABlock)
{
    Canvas canvas{2, 2};
    canvas.set(0, 0, {255, 0, 0});
    canvas.set(1, 0, {0, 255, 0});
    canvas.set(0, 1, {0, 0, 255});
    canvas.set(1, 1, {200, 100, 50});
    Planes planes{2, 2};
    convertToYuv420(view(canvas), whole(canvas), planes.view());
    const auto exact = exactYuv((255 + 200) / 4.0, (255 + 100) / 4.0, (255 + 50) / 4.0);
    EXPECT_NEAR(planes.cb(0, 0), exact[1], 0.51);
    EXPECT_NEAR(planes.cr(0, 0), exact[2], 0.51);
    EXPECT_NEAR(planes.luma(1, 0), exactYuv(0, 255, 0)[0], 0.51);
    EXPECT_NEAR(planes.luma(0, 1), exactYuv(0, 0, 255)[0], 0.51);
}

TEST(ColourConversion, AnOddEdgeIsRepeatedIntoThePadding)
{
    std::mt19937 random(7);
    Canvas odd{33, 5};
    odd.fillWithNoise(random);
    Canvas even{34, 6};
    for (std::int32_t y = 0; y < 6; ++y) {
        for (std::int32_t x = 0; x < 34; ++x)
            even.set(x, y, odd.at(std::min(x, 32), std::min(y, 4)));
    }
    for (const auto layout : {Layout::i420, Layout::nv12}) {
        for (const auto path : paths()) {
            Planes fromOdd{33, 5, layout};
            Planes fromEven{34, 6, layout};
            convertToYuv420(view(odd), whole(odd), fromOdd.view(), path);
            convertToYuv420(view(even), whole(even), fromEven.view(), path);
            EXPECT_EQ(fromOdd, fromEven);
        }
    }
}

TEST(ColourConversion, AllPathsGiveTheSameBytesForAllSizesAndParts)
{
    std::mt19937 random(1);
    for (int round = 0; round < 400; ++round) {
        const auto upTo = [&](std::int32_t limit) { return static_cast<std::int32_t>(random() % static_cast<std::uint32_t>(limit)); };
        Canvas canvas{1 + upTo(90), 1 + upTo(20), 4U * (random() % 3)};
        canvas.fillWithNoise(random);
        const std::int32_t x = upTo(canvas.width());
        const std::int32_t y = upTo(canvas.height());
        const PixelRect part =
            round % 3 == 0 ? whole(canvas) : PixelRect{x, y, 1 + upTo(canvas.width() - x), 1 + upTo(canvas.height() - y)};
        for (const auto layout : {Layout::i420, Layout::nv12}) {
            Planes portable{canvas.width(), canvas.height(), layout};
            Planes fastest = portable;
            convertToYuv420(view(canvas), part, portable.view(), ConversionPath::portable);
            convertToYuv420(view(canvas), part, fastest.view(), fastestConversionPath());
            ASSERT_EQ(portable, fastest) << canvas.width() << 'x' << canvas.height() << " at " << part.x << ',' << part.y << ' '
                                         << part.width << 'x' << part.height;
            ASSERT_TRUE(portable.marginsAreUntouched());
        }
    }
}

TEST(ColourConversion, BothLayoutsHoldTheSamePicture)
{
    std::mt19937 random(3);
    Canvas canvas{51, 7};
    canvas.fillWithNoise(random);
    Planes planar{51, 7, Layout::i420};
    Planes interleaved{51, 7, Layout::nv12};
    convertToYuv420(view(canvas), whole(canvas), planar.view());
    convertToYuv420(view(canvas), whole(canvas), interleaved.view());
    for (std::size_t y = 0; y < 4; ++y) {
        for (std::size_t x = 0; x < 26; ++x) {
            ASSERT_EQ(planar.cb(x, y), interleaved.cb(x, y));
            ASSERT_EQ(planar.cr(x, y), interleaved.cr(x, y));
            ASSERT_EQ(planar.luma(2 * x, 2 * y), interleaved.luma(2 * x, 2 * y));
        }
    }
}

TEST(ColourConversion, APartIsWidenedToEvenCoordinatesAndNothingElseIsWritten)
{
    std::mt19937 random(5);
    Canvas canvas{64, 16};
    canvas.fillWithNoise(random);
    Planes all{64, 16};
    convertToYuv420(view(canvas), whole(canvas), all.view());
    Planes part{64, 16};
    convertToYuv420(view(canvas), {5, 3, 20, 6}, part.view());
    for (std::size_t y = 0; y < 16; ++y) {
        for (std::size_t x = 0; x < 64; ++x) {
            const bool inside = x >= 4 && x < 26 && y >= 2 && y < 10;
            ASSERT_EQ(part.luma(x, y), inside ? all.luma(x, y) : Planes::untouched) << x << ',' << y;
            ASSERT_EQ(part.cb(x / 2, y / 2), inside ? all.cb(x / 2, y / 2) : Planes::untouched) << x << ',' << y;
        }
    }
}

TEST(ColourConversion, APartOutsideThePictureIsCutOff)
{
    Canvas canvas{9, 9};
    canvas.fill({1, 2, 3});
    Planes planes{9, 9};
    convertToYuv420(view(canvas), {20, 20, 5, 5}, planes.view());
    convertToYuv420(view(canvas), {3, 3, 0, 5}, planes.view());
    EXPECT_EQ(planes, (Planes{9, 9}));
    convertToYuv420(view(canvas), {-10, -10, 100, 100}, planes.view());
    Planes all{9, 9};
    convertToYuv420(view(canvas), whole(canvas), all.view());
    EXPECT_EQ(planes, all);
}

}  // namespace
}  // namespace velmora::engine
