#include "engine/pictures/DamageRegion.h"

#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace velmora::engine {
namespace {

TEST(DamageRegion, IsEmptyAtFirstAndAfterClear)
{
    DamageRegion region;
    EXPECT_TRUE(region.isEmpty());
    EXPECT_TRUE(region.bound().isEmpty());
    region.add({1, 2, 3, 4});
    EXPECT_FALSE(region.isEmpty());
    region.clear();
    EXPECT_TRUE(region.isEmpty());
}

TEST(DamageRegion, IgnoresAnEmptyRectangle)
{
    DamageRegion region;
    region.add({5, 5, 0, 10});
    region.add({5, 5, 10, -1});
    EXPECT_TRUE(region.isEmpty());
}

TEST(DamageRegion, KeepsRectanglesApart)
{
    DamageRegion region;
    region.add({0, 0, 2, 2});
    region.add({100, 100, 2, 2});
    EXPECT_EQ(region.rectangles().size(), 2U);
    EXPECT_EQ(region.bound(), (PixelRect{0, 0, 102, 102}));
}

TEST(DamageRegion, ForgetsWhatALaterRectangleCovers)
{
    DamageRegion region;
    region.add({2, 2, 2, 2});
    region.add({6, 6, 2, 2});
    region.add({0, 0, 10, 10});
    EXPECT_EQ(region.rectangles(), (std::vector<PixelRect>{{0, 0, 10, 10}}));
    region.add({3, 3, 1, 1});
    EXPECT_EQ(region.rectangles().size(), 1U);
}

TEST(DamageRegion, BecomesItsBoundWhenTheRectanglesGetTooMany)
{
    DamageRegion region;
    for (int index = 0; index < static_cast<int>(DamageRegion::maximumRectangles); ++index)
        region.add({index * 10, index * 10, 5, 5});
    EXPECT_EQ(region.rectangles().size(), DamageRegion::maximumRectangles);
    region.add({200, 0, 1, 1});
    EXPECT_EQ(region.rectangles(), (std::vector<PixelRect>{{0, 0, 201, 75}}));
}

TEST(DamageRegion, CoversEverythingThatWasAdded)
{
    std::mt19937 random{7};
    for (int round = 0; round < 200; ++round) {
        DamageRegion region;
        std::vector<PixelRect> added;
        for (int count = 0; count < 20; ++count) {
            const auto number = [&](unsigned limit) { return static_cast<std::int32_t>(random() % limit); };
            added.push_back({number(90), number(90), 1 + number(10), 1 + number(10)});
            region.add(added.back());
        }
        for (const auto& rectangle : added) {
            bool isCovered = false;
            for (const auto& part : region.rectangles())
                isCovered |= contains(part, rectangle);
            EXPECT_TRUE(isCovered);
        }
    }
}

}  // namespace
}  // namespace velmora::engine
