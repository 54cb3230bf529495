#include "engine/pictures/UnpaintedArea.h"

#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace velmora::engine {
namespace {

TEST(UnpaintedArea, IsEmptyOnceTheWholeContentIsDrawn)
{
    UnpaintedArea area{{0, 0, 640, 480}};
    EXPECT_FALSE(area.isEmpty());
    area.paint({-5, -5, 700, 700});
    EXPECT_TRUE(area.isEmpty());
}

TEST(UnpaintedArea, OfNothingIsEmpty)
{
    EXPECT_TRUE(UnpaintedArea{}.isEmpty());
    EXPECT_TRUE((UnpaintedArea{{0, 0, 10, 0}}.isEmpty()));
}

TEST(UnpaintedArea, IsNotEmptyAsLongAsOnePixelIsMissing)
{
    UnpaintedArea area{{0, 0, 10, 10}};
    area.paint({0, 0, 10, 9});
    area.paint({0, 9, 9, 1});
    EXPECT_FALSE(area.isEmpty());
    area.paint({9, 9, 1, 1});
    EXPECT_TRUE(area.isEmpty());
}

TEST(UnpaintedArea, KnowsEveryPixelHoweverItIsDrawn)
{
    constexpr int width = 23;
    constexpr int height = 17;
    std::mt19937 random{7};
    const auto upTo = [&](int limit) { return std::uniform_int_distribution{0, limit}(random); };
    for (int run = 0; run < 200; ++run) {
        UnpaintedArea area{{0, 0, width, height}};
        std::vector<bool> isDrawn(width * height, false);
        bool areAllDrawn = false;
        for (int step = 0; step < 60 && !areAllDrawn; ++step) {
            const PixelRect drawn{upTo(width) - 3, upTo(height) - 3, upTo(12), upTo(9)};
            area.paint(drawn);
            areAllDrawn = true;
            for (int y = 0; y < height; ++y) {
                for (int x = 0; x < width; ++x) {
                    const auto pixel = static_cast<std::size_t>(y * width + x);
                    if (!drawn.intersected({x, y, 1, 1}).isEmpty())
                        isDrawn[pixel] = true;
                    areAllDrawn = areAllDrawn && isDrawn[pixel];
                }
            }
            ASSERT_EQ(area.isEmpty(), areAllDrawn) << "run " << run << ", step " << step;
        }
    }
}

}  // namespace
}  // namespace velmora::engine
