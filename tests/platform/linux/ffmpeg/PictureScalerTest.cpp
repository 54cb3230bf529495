#include "platform/linux/ffmpeg/LibswscalePictureScaler.h"
#include "tests/support/media/TestPictures.h"

#include <gtest/gtest.h>

namespace velmora::linux_backend {
namespace {

using test::Canvas;
using test::Colour;

void expectNear(Colour actual, Colour expected, int tolerance)
{
    EXPECT_NEAR(actual.r, expected.r, tolerance);
    EXPECT_NEAR(actual.g, expected.g, tolerance);
    EXPECT_NEAR(actual.b, expected.b, tolerance);
}

Result<void> scale(LibswscalePictureScaler& scaler, const Canvas& source, Canvas& destination, PixelRect area)
{
    return scaler.scale(
        source.data(), {0, 0, source.width(), source.height()}, source.bytesPerRow(), destination.data(), area, destination.bytesPerRow());
}

TEST(PictureScaler, PureColoursStayAsTheyAre)
{
    LibswscalePictureScaler scaler;
    for (const Colour colour : {Colour{255, 255, 255}, Colour{0, 0, 0}, Colour{255, 0, 0}, Colour{0, 255, 0}, Colour{0, 0, 255}}) {
        Canvas source{120, 80};
        source.fill(colour);
        Canvas destination{61, 47};
        ASSERT_TRUE(scale(scaler, source, destination, {0, 0, 61, 47}));
        for (std::int32_t y = 0; y < 47; ++y) {
            for (std::int32_t x = 0; x < 61; ++x)
                expectNear(destination.at(x, y), colour, 2);
        }
    }
}

TEST(PictureScaler, EachCornerComesOutInItsCorner)
{
    Canvas source{64, 64};
    source.fill({0, 0, 32, 32}, {250, 10, 10});
    source.fill({32, 0, 32, 32}, {10, 250, 10});
    source.fill({0, 32, 32, 32}, {10, 10, 250});
    source.fill({32, 32, 32, 32}, {250, 250, 250});
    LibswscalePictureScaler scaler;
    for (const std::int32_t size : {32, 64, 200}) {
        Canvas destination{size, size};
        ASSERT_TRUE(scale(scaler, source, destination, {0, 0, size, size}));
        const std::int32_t low = size / 4;
        const std::int32_t high = 3 * size / 4;
        expectNear(destination.at(low, low), {250, 10, 10}, 3);
        expectNear(destination.at(high, low), {10, 250, 10}, 3);
        expectNear(destination.at(low, high), {10, 10, 250}, 3);
        expectNear(destination.at(high, high), {250, 250, 250}, 3);
    }
}

TEST(PictureScaler, EnlargesSmoothly)
{
    Canvas source{8, 8};
    source.fill({0, 0, 0});
    source.fill({4, 0, 4, 8}, {200, 200, 200});
    Canvas destination{64, 64};
    LibswscalePictureScaler scaler;
    ASSERT_TRUE(scale(scaler, source, destination, {0, 0, 64, 64}));
    for (std::int32_t x = 1; x < 64; ++x)
        EXPECT_GE(destination.at(x, 4).g + 1, destination.at(x - 1, 4).g) << x;
    EXPECT_NEAR(destination.at(32, 4).g, 100, 15);
}

TEST(PictureScaler, WritesNothingBesideTheDestination)
{
    LibswscalePictureScaler scaler;
    Canvas source{100, 70};
    source.fill({255, 255, 255});
    for (const std::int32_t width : {1, 3, 17, 30, 31, 33, 63}) {
        Canvas destination{100, 60, 12};
        destination.fill({1, 2, 3});
        const PixelRect area{19, 11, width, 37};
        ASSERT_TRUE(scale(scaler, source, destination, area));
        for (std::int32_t y = 0; y < 60; ++y) {
            for (std::int32_t x = 0; x < 100; ++x) {
                const bool inside = x >= 19 && x < 19 + width && y >= 11 && y < 48;
                expectNear(destination.at(x, y), inside ? Colour{255, 255, 255} : Colour{1, 2, 3}, inside ? 2 : 0);
            }
        }
    }
}

TEST(PictureScaler, TakesAPartOfTheSource)
{
    Canvas source{100, 100};
    source.fill({255, 0, 0});
    source.fill({40, 50, 20, 10}, {0, 0, 255});
    Canvas destination{50, 50};
    LibswscalePictureScaler scaler;
    ASSERT_TRUE(
        scaler.scale(source.data(), {40, 50, 20, 10}, source.bytesPerRow(), destination.data(), {0, 0, 50, 50}, destination.bytesPerRow()));
    expectNear(destination.at(0, 0), {0, 0, 255}, 2);
    expectNear(destination.at(49, 49), {0, 0, 255}, 2);
}

TEST(PictureScaler, SizesMayChangeFromCallToCall)
{
    LibswscalePictureScaler scaler;
    for (const std::int32_t size : {40, 90, 40, 7}) {
        Canvas source{size, size};
        source.fill({10, 200, 10});
        Canvas destination{size + 3, 50};
        ASSERT_TRUE(scale(scaler, source, destination, {0, 0, size + 3, 50}));
        expectNear(destination.at(size + 2, 49), {10, 200, 10}, 2);
    }
}

TEST(PictureScaler, ImpossibleSizesAreRefused)
{
    LibswscalePictureScaler scaler;
    Canvas canvas{10, 10};
    EXPECT_FALSE(scale(scaler, canvas, canvas, {0, 0, 0, 10}));
    EXPECT_FALSE(scale(scaler, canvas, canvas, {5, 0, 10, 10}));
    EXPECT_FALSE(scale(scaler, canvas, canvas, {-1, 0, 5, 5}));
}

}  // namespace
}  // namespace velmora::linux_backend
