#include "platform/mac/PictureScaling.h"

#include <array>
#include <gmock/gmock.h>
#include <vector>

namespace velmora::test {
namespace {

using testing::Each;
using testing::ElementsAre;

/// A picture of one channel's values: blue.
class Picture {
public:
    Picture(std::int32_t width, std::int32_t height, const std::vector<int>& values)
    {
        for (const int each : values)
            bytes_.insert(bytes_.end(), {static_cast<std::byte>(each), std::byte{0}, std::byte{0}, std::byte{0}});
        buffer_.width = width;
        buffer_.height = height;
        buffer_.bytesPerRow = static_cast<std::size_t>(width) * 4;
        buffer_.baseAddress = bytes_.data();
    }

    /// The blue values of what is drawn, row by row. What lies behind the rows has to stay.
    [[nodiscard]] std::vector<int> drawn(std::int32_t width, std::int32_t height) const
    {
        const std::size_t bytesPerRow = static_cast<std::size_t>(width) * 4 + 8;
        std::vector<std::byte> memory(bytesPerRow * static_cast<std::size_t>(height), std::byte{0x55});
        mac_backend::drawFitted(buffer_, {memory.data(), width, height, bytesPerRow});
        std::vector<int> blue;
        for (std::size_t y = 0; y < static_cast<std::size_t>(height); ++y) {
            for (std::size_t x = 0; x < static_cast<std::size_t>(width); ++x) {
                const auto* pixel = memory.data() + y * bytesPerRow + x * 4;
                EXPECT_EQ(pixel[3], std::byte{0xFF});
                blue.push_back(std::to_integer<int>(pixel[0]));
            }
            for (std::size_t behind = static_cast<std::size_t>(width) * 4; behind < bytesPerRow; ++behind)
                EXPECT_EQ(memory[y * bytesPerRow + behind], std::byte{0x55});
        }
        return blue;
    }

private:
    std::vector<std::byte> bytes_;
    PixelBuffer buffer_;
};

TEST(PictureScaling, APictureOfTheTargetsSizeIsDrawnAsItIs)
{
    EXPECT_THAT((Picture{2, 2, {10, 20, 30, 40}}.drawn(2, 2)), ElementsAre(10, 20, 30, 40));
}

TEST(PictureScaling, AnotherShapeIsInTheMiddleWithBlackAround)
{
    EXPECT_THAT((Picture{2, 1, {10, 20}}.drawn(2, 3)), ElementsAre(0, 0, 10, 20, 0, 0));
    EXPECT_THAT((Picture{1, 2, {10, 20}}.drawn(3, 2)), ElementsAre(0, 10, 0, 0, 20, 0));
}

TEST(PictureScaling, WhatIsEnlargedGoesEvenlyFromOnePixelToTheNext)
{
    EXPECT_THAT((Picture{2, 1, {0, 100}}.drawn(4, 2)), ElementsAre(0, 25, 75, 100, 0, 25, 75, 100));
}

TEST(PictureScaling, WhatIsHalvedIsTheMeanOfItsPixels)
{
    EXPECT_THAT((Picture{2, 2, {0, 100, 100, 200}}.drawn(1, 1)), ElementsAre(100));
}

TEST(PictureScaling, ATargetWithoutPixelsIsLeftAlone)
{
    EXPECT_TRUE((Picture{1, 1, {10}}.drawn(0, 0)).empty());
}

}  // namespace
}  // namespace velmora::test
