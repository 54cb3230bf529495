#include "tests/support/FrameNumber.h"

#include <gtest/gtest.h>
#include <vector>

namespace velmora::test {
namespace {

struct Luma {
    int width;
    int height;
    std::vector<std::byte> pixels = std::vector<std::byte>(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));

    void drawStrip(int y, std::uint32_t number, PicturePart part)
    {
        for (int row = y; row < y + FrameNumberStrip::height(part.height); ++row) {
            for (int block = 0; block < FrameNumberStrip::blockCount; ++block) {
                for (int x = FrameNumberStrip::blockStart(block, part.width); x < FrameNumberStrip::blockStart(block + 1, part.width); ++x)
                    at(part.x + x, row) = std::byte{FrameNumberStrip::isWhite(block, number) ? std::uint8_t{235} : std::uint8_t{16}};
            }
        }
    }

    std::byte& at(int x, int y)
    {
        return pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)];
    }

    void draw(std::uint32_t top, std::uint32_t bottom, PicturePart part)
    {
        drawStrip(part.y, top, part);
        drawStrip(part.y + part.height - FrameNumberStrip::height(part.height), bottom, part);
    }

    [[nodiscard]] PictureView view() const { return {pixels.data(), static_cast<std::size_t>(width), width, height, 1}; }
};

TEST(FrameNumber, EveryNumberIsReadBack)
{
    Luma picture{320, 240};
    for (std::uint32_t number = 0; number < 0x10000; number += 251) {
        picture.draw(number, number, {0, 0, 320, 240});
        EXPECT_EQ(readFrameNumber(picture.view()).number(), number);
    }
}

TEST(FrameNumber, TwoNumbersInOnePictureAreTorn)
{
    Luma picture{641, 479};
    picture.draw(7, 8, {0, 0, 641, 479});
    const auto reading = readFrameNumber(picture.view());
    EXPECT_TRUE(reading.isTorn());
    EXPECT_EQ(reading.number(), std::nullopt);
    EXPECT_EQ(reading.top, 7U);
    EXPECT_EQ(reading.bottom, 8U);
}

TEST(FrameNumber, AFlatPictureIsNotReadable)
{
    const Luma picture{320, 240};
    EXPECT_FALSE(readFrameNumber(picture.view()).isReadable());
}

TEST(FrameNumber, AFlippedBlockIsNoticed)
{
    for (int block = 0; block < FrameNumberStrip::blockCount; ++block) {
        Luma picture{320, 240};
        picture.draw(0x5a3c, 0x5a3c, {0, 0, 320, 240});
        for (int y = 0; y < 16; ++y) {
            for (int x = block * 16; x < block * 16 + 16; ++x)
                picture.at(x, y) = picture.at(x, y) == std::byte{16} ? std::byte{235} : std::byte{16};
        }
        EXPECT_EQ(readFrameNumber(picture.view()).number(), std::nullopt) << block;
    }
}

TEST(FrameNumber, IsReadFromAPartOfThePicture)
{
    Luma picture{800, 480};
    const PicturePart part{80, 0, 640, 480};
    picture.draw(1234, 1234, part);
    EXPECT_EQ(readFrameNumber(picture.view(), part).number(), 1234U);
}

}  // namespace
}  // namespace velmora::test
