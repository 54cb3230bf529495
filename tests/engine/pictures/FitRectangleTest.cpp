#include "engine/pictures/FitRectangle.h"

#include <gtest/gtest.h>

namespace velmora::engine {
namespace {

TEST(FitRectangle, OfTheSameSizeIsAllOfIt)
{
    EXPECT_EQ(fitRectangle(641, 479, 641, 479), (PixelRect{0, 0, 641, 479}));
}

TEST(FitRectangle, AWiderSourceHasBarsAboveAndBelow)
{
    EXPECT_EQ(fitRectangle(800, 300, 400, 400), (PixelRect{0, 125, 400, 150}));
}

TEST(FitRectangle, ANarrowerSourceHasBarsLeftAndRight)
{
    EXPECT_EQ(fitRectangle(300, 600, 640, 480), (PixelRect{200, 0, 240, 480}));
}

TEST(FitRectangle, ASmallerSourceIsEnlarged)
{
    EXPECT_EQ(fitRectangle(320, 240, 640, 480), (PixelRect{0, 0, 640, 480}));
}

TEST(FitRectangle, AnExtremeShapeKeepsAtLeastOnePixel)
{
    EXPECT_EQ(fitRectangle(32767, 1, 2, 2), (PixelRect{0, 0, 2, 1}));
    EXPECT_EQ(fitRectangle(1, 32767, 2, 2), (PixelRect{0, 0, 1, 2}));
    EXPECT_EQ(fitRectangle(32767, 32767, 1, 1), (PixelRect{0, 0, 1, 1}));
}

}  // namespace
}  // namespace velmora::engine
