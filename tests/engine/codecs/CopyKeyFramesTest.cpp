#include "engine/codecs/CopyKeyFrames.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <utility>
#include <vector>

namespace velmora::engine {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// The seconds of those among `count` pictures, so far apart, that have to be key frames.
std::vector<double> keyFramesOf(int count, int millisecondsApart, std::int64_t begin = 0)
{
    CopyKeyFrames keyFrames{1000};
    std::vector<double> found;
    for (int i = 0; i < count; ++i) {
        if (keyFrames.take(begin + std::int64_t{i} * millisecondsApart))
            found.push_back(i * millisecondsApart / 1000.0);
    }
    return found;
}

TEST(CopyKeyFrames, AMovingClipHasOneEveryEightSeconds)
{
    EXPECT_THAT(keyFramesOf(30 * 50, 20), ElementsAre(8, 16, 24));
}

TEST(CopyKeyFrames, AClipOfFewPicturesHasOneOnceThereAreEnough)
{
    EXPECT_THAT(keyFramesOf(800, 100), ElementsAre(24, 48, 72));
}

TEST(CopyKeyFrames, AStillClipHasOneAMinute)
{
    EXPECT_THAT(keyFramesOf(2 * 181, 500), ElementsAre(60, 120, 180));
}

TEST(CopyKeyFrames, AChangeAfterALongStandstillIsOne)
{
    CopyKeyFrames keyFrames{1};
    EXPECT_FALSE(keyFrames.take(0));
    EXPECT_TRUE(keyFrames.take(200));
    EXPECT_FALSE(keyFrames.take(201));
}

TEST(CopyKeyFrames, TheyAreCountedFromTheFirstPictureWheneverItIs)
{
    EXPECT_THAT(keyFramesOf(10 * 50, 20, 1'000'000), ElementsAre(8));
    EXPECT_THAT(keyFramesOf(7 * 50, 20, 1'000'000), IsEmpty());
}

TEST(CopyKeyFrames, AsManyAreExpectedAsThereAre)
{
    for (const auto& [count, apart] : {std::pair{1, 20}, {350, 20}, {1499, 20}, {799, 100}, {1199, 500}, {30, 4000}}) {
        EXPECT_NEAR(
            CopyKeyFrames::expectedCount(count * apart / 1000.0, count), 1.0 + static_cast<double>(keyFramesOf(count, apart).size()), 1)
            << count << " pictures " << apart << " ms apart";
    }
}

}  // namespace
}  // namespace velmora::engine
