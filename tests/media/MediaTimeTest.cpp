#include "media/MediaTime.h"

#include <gtest/gtest.h>
#include <limits>

namespace velmora {
namespace {

TEST(MediaTime, ComparesAcrossScalesWithoutRounding)
{
    EXPECT_EQ((MediaTime{1, 3}), (MediaTime{30000, 90000}));
    EXPECT_LT((MediaTime{333'333'333, 1'000'000'000}), (MediaTime{1, 3}));
    EXPECT_GT((MediaTime{333'333'334, 1'000'000'000}), (MediaTime{1, 3}));
}

TEST(MediaTime, ComparesTheLargestValuesWithoutOverflow)
{
    const auto huge = std::numeric_limits<std::int64_t>::max();
    EXPECT_LT((MediaTime{huge - 1, 1'000'000'000}), (MediaTime{huge, 1'000'000'000}));
    EXPECT_LT((MediaTime{huge, 1'000'000'000}), (MediaTime{huge, 1}));
}

TEST(MediaTime, AnInvalidTimeComparesToNothing)
{
    const auto invalid = MediaTime::invalid();
    EXPECT_FALSE(invalid == invalid);
    EXPECT_FALSE(invalid < MediaTime::zero());
    EXPECT_FALSE(invalid > MediaTime::zero());
    EXPECT_FALSE((invalid + MediaTime::zero()).isValid());
}

TEST(MediaTime, ConvertsToTheNearestTick)
{
    EXPECT_EQ((MediaTime{16'666'667, 1'000'000'000}.converted(90000).value), 1500);
    EXPECT_EQ((MediaTime{1, 2}.converted(1).value), 1);
    EXPECT_EQ((MediaTime{-1, 2}.converted(1).value), -1);
    EXPECT_EQ((MediaTime{1, 3}.converted(90000).value), 30000);
}

TEST(MediaTime, AddsExactlyWhereACommonScaleExists)
{
    const auto sum = MediaTime{1, 48000} + MediaTime{1, 90000};
    EXPECT_EQ(sum, (MediaTime{23, 720000}));
    EXPECT_EQ((MediaTime{5, 10} - MediaTime{1, 10}), (MediaTime{4, 10}));
}

TEST(MediaTime, ReadsSecondsOnlyAtItsEdges)
{
    EXPECT_DOUBLE_EQ((MediaTime{45000, 90000}.seconds()), 0.5);
    EXPECT_EQ(MediaTime::fromSeconds(1.5, 90000), (MediaTime{135000, 90000}));
}

}  // namespace
}  // namespace velmora
