#include "engine/sound/InputTimeline.h"

#include <gtest/gtest.h>

namespace velmora::engine {
namespace {

constexpr std::int32_t quantum = 1024;
constexpr std::int32_t tolerance = 48;

/// Places blocks of one quantum; knows the right stamp of the next block.
class InputTimelineTest : public ::testing::Test {
protected:
    BlockPlacement block(std::int64_t stamp) { return timeline_.place(stamp, quantum); }

    InputTimeline timeline_{tolerance};
};

TEST_F(InputTimelineTest, TheFirstStampIsBelieved)
{
    EXPECT_EQ(block(5000).position, 5000);
    EXPECT_EQ(timeline_.end(), 5000 + quantum);
}

TEST_F(InputTimelineTest, BlocksThatComeOnTimeFollowEachOther)
{
    for (int i = 0; i < 100; ++i) {
        const auto placement = block(i * quantum);
        EXPECT_EQ(placement.position, i * quantum);
        EXPECT_EQ(placement.skipped, 0);
        EXPECT_EQ(placement.stretch, 0);
    }
}

TEST_F(InputTimelineTest, ALateWakeUpMovesNothing)
{
    block(0);
    // Processed late, a block has the stamp of the next one, which then has the same.
    EXPECT_EQ(block(2 * quantum).position, quantum);
    EXPECT_EQ(block(2 * quantum).position, 2 * quantum);
    EXPECT_EQ(block(3 * quantum).position, 3 * quantum);
}

TEST_F(InputTimelineTest, AWakeUpTwoQuantaLateMovesNothing)
{
    block(0);
    EXPECT_EQ(block(3 * quantum).position, quantum);
    EXPECT_EQ(block(3 * quantum).position, 2 * quantum);
    EXPECT_EQ(block(3 * quantum).position, 3 * quantum);
}

TEST_F(InputTimelineTest, ALossOfWholeQuantaLeavesAGapWhenTwoBlocksAgree)
{
    block(0);
    EXPECT_EQ(block(4 * quantum).position, quantum);
    EXPECT_EQ(block(5 * quantum).position, 5 * quantum);
    EXPECT_EQ(block(6 * quantum).position, 6 * quantum);
}

TEST_F(InputTimelineTest, AnOverlapIsTrimmedWhenTwoBlocksAgree)
{
    block(0);
    block(quantum);
    // Another device, lagging by 500 frames.
    auto placement = block(2 * quantum - 500);
    EXPECT_EQ(placement.position, 2 * quantum);
    EXPECT_EQ(placement.skipped, 0);
    placement = block(3 * quantum - 500);
    EXPECT_EQ(placement.position, 3 * quantum);
    EXPECT_EQ(placement.skipped, 500);
    placement = block(4 * quantum - 500);
    EXPECT_EQ(placement.position, 4 * quantum - 500);
    EXPECT_EQ(placement.skipped, 0);
}

TEST_F(InputTimelineTest, AnOverlapLongerThanABlockIsTrimmedFromSeveral)
{
    block(100 * quantum);
    const std::int64_t behind = 2 * quantum + 200;
    block(101 * quantum - behind);
    EXPECT_EQ(block(102 * quantum - behind).skipped, quantum);
    EXPECT_EQ(block(103 * quantum - behind).skipped, quantum);
    const auto last = block(104 * quantum - behind);
    EXPECT_EQ(last.skipped, 200);
    EXPECT_EQ(last.position, 102 * quantum);
    EXPECT_EQ(block(105 * quantum - behind).position, 105 * quantum - behind);
}

TEST_F(InputTimelineTest, ErrorsThatDisagreeMoveNothing)
{
    block(0);
    EXPECT_EQ(block(3 * quantum).position, quantum);
    EXPECT_EQ(block(9 * quantum).position, 2 * quantum);
    EXPECT_EQ(block(3 * quantum).position, 3 * quantum);
}

TEST_F(InputTimelineTest, ClocksThatRunApartAreFollowedByOneFrameABlock)
{
    // The source runs 500 ppm fast against the output: each of its blocks lasts half a frame less.
    std::int64_t position = 0;
    std::int32_t shrunk = 0;
    for (int i = 0; i < 4000; ++i) {
        const auto stamp = static_cast<std::int64_t>(i) * quantum - i / 2;
        const auto placement = block(stamp);
        EXPECT_LE(std::abs(placement.stretch), 1);
        EXPECT_EQ(placement.skipped, 0);
        EXPECT_EQ(placement.position, position);
        EXPECT_LT(std::abs(placement.position - stamp), tolerance) << i;
        position = placement.position + quantum + placement.stretch;
        shrunk -= placement.stretch;
    }
    EXPECT_NEAR(shrunk, 2000, tolerance);
}

TEST_F(InputTimelineTest, JitterWithinTheToleranceNeitherMovesNorBends)
{
    for (int i = 0; i < 1000; ++i) {
        const auto placement = block(i * quantum + (i % 2 == 0 ? 0 : i % 4 == 1 ? 20 : -20));
        EXPECT_EQ(placement.position, i * quantum);
        EXPECT_EQ(placement.stretch, 0);
    }
}

TEST_F(InputTimelineTest, AfterARestartTheNextStampIsBelieved)
{
    block(0);
    timeline_.restart();
    EXPECT_FALSE(timeline_.end());
    EXPECT_EQ(block(77 * quantum + 5).position, 77 * quantum + 5);
}

}  // namespace
}  // namespace velmora::engine
