#include "platform/linux/x11/WindowIcon.h"

#include <algorithm>
#include <array>
#include <gtest/gtest.h>

namespace velmora::linux_backend {
namespace {

using Pixel = std::array<int, 4>;

/// A property in memory, which counts what is read of it.
class IconProperty {
public:
    void add(std::uint32_t width, std::uint32_t height, std::uint32_t pixel)
    {
        addHead(width, height);
        items_.insert(items_.end(), std::size_t{width} * height, pixel);
    }
    void addHead(std::uint32_t width, std::uint32_t height)
    {
        items_.push_back(width);
        items_.push_back(height);
    }
    void addItem(std::uint32_t item) { items_.push_back(item); }

    /// The icon in a square of that side; `said` is the size that the server tells, if not the true one.
    std::optional<platform::ApplicationIcon> icon(int side, std::optional<std::uint32_t> said = std::nullopt)
    {
        itemsRead = 0;
        const auto read = [this](std::uint32_t offset, std::uint32_t length) {
            const auto begin = std::min<std::size_t>(offset, items_.size());
            const auto end = std::min<std::size_t>(begin + length, items_.size());
            itemsRead += end - begin;
            return std::vector<std::uint32_t>(
                items_.begin() + static_cast<std::ptrdiff_t>(begin), items_.begin() + static_cast<std::ptrdiff_t>(end));
        };
        return iconFrom(said.value_or(static_cast<std::uint32_t>(items_.size())), read, side);
    }

    std::size_t itemsRead = 0;

private:
    std::vector<std::uint32_t> items_;
};

Pixel pixelAt(const platform::ApplicationIcon& icon, int x, int y)
{
    const auto* at = &icon.rgba[static_cast<std::size_t>((y * icon.side + x) * 4)];
    return {at[0], at[1], at[2], at[3]};
}

constexpr std::uint32_t red = 0xffff0000;
constexpr std::uint32_t green = 0xff00ff00;
constexpr std::uint32_t blue = 0xff0000ff;

TEST(WindowIcon, TheSmallestPictureThatIsLargeEnoughIsTaken)
{
    IconProperty property;
    property.add(16, 16, red);
    property.add(128, 128, green);
    property.add(64, 64, blue);
    const auto icon = property.icon(48);
    ASSERT_TRUE(icon);
    EXPECT_EQ(icon->side, 48);
    EXPECT_EQ(icon->rgba.size(), 48U * 48 * 4);
    EXPECT_EQ(pixelAt(*icon, 0, 0), (Pixel{0, 0, 255, 255}));
    EXPECT_EQ(pixelAt(*icon, 47, 47), (Pixel{0, 0, 255, 255}));
    EXPECT_LT(property.itemsRead, 64U * 64 + 16) << "the others are not read";
}

TEST(WindowIcon, WhereNoneIsLargeEnoughTheLargestIsEnlarged)
{
    IconProperty property;
    property.add(16, 16, red);
    property.add(32, 32, green);
    property.add(24, 24, blue);
    const auto icon = property.icon(48);
    ASSERT_TRUE(icon);
    EXPECT_EQ(pixelAt(*icon, 24, 24), (Pixel{0, 255, 0, 255}));
}

TEST(WindowIcon, APropertyWithoutAPictureIsNoIcon)
{
    IconProperty empty;
    EXPECT_FALSE(empty.icon(48));
    IconProperty half;
    half.addItem(48);
    EXPECT_FALSE(half.icon(48));
    IconProperty head;
    head.addHead(48, 48);
    EXPECT_FALSE(head.icon(48));
    IconProperty nothing;
    nothing.addHead(0, 0);
    nothing.add(48, 48, red);
    EXPECT_FALSE(nothing.icon(48));
    IconProperty flat;
    flat.addHead(0xffffffff, 0);
    EXPECT_FALSE(flat.icon(48));
}

TEST(WindowIcon, APictureOfOnePixelIsNoIcon)
{
    IconProperty property;
    property.add(1, 1, red);
    EXPECT_FALSE(property.icon(48));
    property.add(48, 48, green);
    ASSERT_TRUE(property.icon(48)) << "but what follows may be one";
    EXPECT_EQ(pixelAt(*property.icon(48), 0, 0), (Pixel{0, 255, 0, 255}));
}

TEST(WindowIcon, WhatSaysItIsLongerThanThePropertyIsNotRead)
{
    IconProperty property;
    property.add(32, 32, green);
    property.addHead(48, 48);
    for (int item = 0; item < 100; ++item)
        property.addItem(red);
    const auto icon = property.icon(48);
    ASSERT_TRUE(icon);
    EXPECT_EQ(pixelAt(*icon, 24, 24), (Pixel{0, 255, 0, 255}));
    for (const auto side : {0xffffffffU, 0x10000U, 0x8000U}) {
        IconProperty lie;
        lie.addHead(side, side);
        lie.addItem(red);
        EXPECT_FALSE(lie.icon(48)) << side;
        EXPECT_LE(lie.itemsRead, 2U);
    }
}

TEST(WindowIcon, ASizeThatIsTooLargeToBeCountedEndsTheSearch)
{
    IconProperty property;
    // In 32 bits the product is 1.
    property.addHead(0xffffffff, 0xffffffff);
    property.addItem(red);
    property.add(48, 48, green);
    EXPECT_FALSE(property.icon(48));
}

TEST(WindowIcon, APropertyThatShrinksWhileItIsReadIsNoIcon)
{
    IconProperty property;
    property.addHead(48, 48);
    property.addItem(red);
    EXPECT_FALSE(property.icon(48, 48 * 48 + 2));
}

TEST(WindowIcon, AHugePictureIsPassedOverWithoutBeingRead)
{
    IconProperty property;
    property.add(1025, 1025, red);
    EXPECT_FALSE(property.icon(48));
    EXPECT_LE(property.itemsRead, 2U);
    property.add(32, 32, green);
    const auto icon = property.icon(48);
    ASSERT_TRUE(icon);
    EXPECT_EQ(pixelAt(*icon, 0, 0), (Pixel{0, 255, 0, 255}));

    // 1 GiB, of which the server would hand out whatever is asked for.
    std::size_t asked = 0;
    const auto serve = [&asked](std::uint32_t, std::uint32_t length) {
        asked += length;
        return std::vector<std::uint32_t>(length, 16384);
    };
    EXPECT_FALSE(iconFrom(16384U * 16384 + 2, serve, 48));
    EXPECT_LE(asked, 2U);
}

TEST(WindowIcon, OfTheLargestPictureThatIsAllowedTheWholeIsShown)
{
    IconProperty property;
    property.add(1024, 1024, blue);
    const auto icon = property.icon(48);
    ASSERT_TRUE(icon);
    EXPECT_EQ(pixelAt(*icon, 47, 47), (Pixel{0, 0, 255, 255}));
}

TEST(WindowIcon, OfThousandsOfPicturesOnlySomeAreLookedAt)
{
    IconProperty property;
    for (int count = 0; count < 5000; ++count)
        property.add(8, 8, red);
    EXPECT_TRUE(property.icon(48));
    EXPECT_LE(property.itemsRead, 32U * 2 + 8 * 8 + 2);
}

TEST(WindowIcon, WhatCannotBeSeenIsNoIcon)
{
    IconProperty property;
    property.add(48, 48, 0x00ffffff);
    EXPECT_FALSE(property.icon(48));
}

TEST(WindowIcon, AWidePictureKeepsItsShapeInTheMiddle)
{
    IconProperty property;
    property.add(96, 32, red);
    const auto icon = property.icon(48);
    ASSERT_TRUE(icon);
    EXPECT_EQ(pixelAt(*icon, 0, 15)[3], 0);
    EXPECT_EQ(pixelAt(*icon, 0, 16), (Pixel{255, 0, 0, 255}));
    EXPECT_EQ(pixelAt(*icon, 47, 31), (Pixel{255, 0, 0, 255}));
    EXPECT_EQ(pixelAt(*icon, 47, 32)[3], 0);
}

TEST(WindowIcon, ReducingMixesWhatAPixelCoversByHowMuchOfItCanBeSeen)
{
    // Two by two: red half through, and three that cannot be seen, whatever their colour.
    std::vector<std::uint32_t> pixels(16 * 16, 0x0000ff00);
    for (std::size_t y = 0; y < 16; y += 2) {
        for (std::size_t x = 0; x < 16; x += 2)
            pixels[y * 16 + x] = 0x80ff0000;
    }
    const auto icon = fitIcon(pixels.data(), 16, 16, 8);
    EXPECT_EQ(pixelAt(icon, 3, 3), (Pixel{255, 0, 0, 32}));
}

TEST(WindowIcon, FittingKeepsEdgesWhereTheyAre)
{
    std::vector<std::uint32_t> pixels(64 * 64, red);
    for (std::size_t y = 0; y < 64; ++y)
        std::fill_n(pixels.begin() + static_cast<std::ptrdiff_t>(y * 64 + 32), 32, blue);
    const auto icon = fitIcon(pixels.data(), 64, 64, 48);
    EXPECT_EQ(pixelAt(icon, 23, 0), (Pixel{255, 0, 0, 255}));
    EXPECT_EQ(pixelAt(icon, 24, 47), (Pixel{0, 0, 255, 255}));
}

}  // namespace
}  // namespace velmora::linux_backend
