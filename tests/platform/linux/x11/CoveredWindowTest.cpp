#include "platform/linux/x11/X11FloatingWindows.h"

#include <gtest/gtest.h>

namespace velmora::linux_backend {
namespace {

constexpr PixelRect part{1560, 10, 340, 110};
constexpr PixelRect monitor{0, 0, 1920, 1080};

bool isCoveredBy(const CoveringWindow& window)
{
    return isCovered(part, {{{0, 0, 100, 100}, true, false}, window}, {monitor, {1920, 0, 800, 600}});
}

TEST(CoveredWindow, IsOneThatAShownWindowOfAnotherProgramLiesOver)
{
    EXPECT_FALSE(isCovered(part, {}, {monitor}));
    EXPECT_TRUE(isCoveredBy({{1600, 20, 300, 80}, true, false}));
    EXPECT_FALSE(isCoveredBy({{1600, 20, 300, 80}, false, false}));
    EXPECT_FALSE(isCoveredBy({{1600, 20, 300, 80}, true, true}));
}

TEST(CoveredWindow, IsCoveredByItsLastPixelAndNotByWhatTouchesIt)
{
    EXPECT_TRUE(isCoveredBy({{1899, 119, 100, 100}, true, false}));
    EXPECT_FALSE(isCoveredBy({{1900, 10, 20, 110}, true, false}));
    EXPECT_FALSE(isCoveredBy({{1560, 120, 340, 110}, true, false}));
}

TEST(CoveredWindow, IsNotOneThatLiesBehindWhatCoversAMonitor)
{
    EXPECT_FALSE(isCoveredBy({monitor, true, false}));
    EXPECT_FALSE(isCoveredBy({{0, 0, 2720, 1080}, true, false}));
    EXPECT_TRUE(isCoveredBy({{0, 1, 1920, 1079}, true, false}));
    EXPECT_TRUE(isCoveredBy({{1, 0, 1919, 1080}, true, false}));
}

}  // namespace
}  // namespace velmora::linux_backend
