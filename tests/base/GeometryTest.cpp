#include "base/Geometry.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

TEST(Geometry, RectanglesThatShareAnAreaIntersect)
{
    EXPECT_TRUE((Rect{0, 0, 10, 10}.intersects({9.5, 9.5, 10, 10})));
    EXPECT_TRUE((Rect{-5, -5, 6, 6}.intersects({0, 0, 1, 1})));
}

TEST(Geometry, RectanglesThatOnlyTouchDoNotIntersect)
{
    EXPECT_FALSE((Rect{0, 0, 10, 10}.intersects({10, 0, 10, 10})));
    EXPECT_FALSE((Rect{0, 0, 10, 10}.intersects({0, 10, 10, 10})));
    EXPECT_FALSE((Rect{0, 0, 10, 10}.intersects({20, 20, 1, 1})));
}

TEST(Geometry, TheIntersectionOfDistantPixelRectanglesIsEmpty)
{
    EXPECT_TRUE((PixelRect{0, 0, 4, 4}.intersected({8, 8, 4, 4}).isEmpty()));
    EXPECT_EQ((PixelRect{0, 0, 4, 4}.intersected({2, 3, 4, 4})), (PixelRect{2, 3, 2, 1}));
}

TEST(Geometry, AnEmptyPixelRectangleAddsNothingToAUnion)
{
    EXPECT_EQ((PixelRect{0, 0, 0, 0}.united({2, 3, 4, 5})), (PixelRect{2, 3, 4, 5}));
    EXPECT_EQ((PixelRect{2, 3, 4, 5}.united({0, 9, 1, 1})), (PixelRect{0, 3, 6, 7}));
}

}  // namespace
}  // namespace velmora
