#include "media/mp4/SampleTable.h"

#include <gtest/gtest.h>

namespace velmora::mp4 {
namespace {

TEST(SampleTable, GivesBackEverySampleThatWasPutIn)
{
    const std::vector<Sample> samples{{1000, 10, 500, 100, 0, true}, {1010, 20, 600, 100, 7, false}, {1030, 30, 700, 250, 7, false},
        {5000, 10, 950, 100, -3, false}, {5010, 10, 1050, 40, 0, true}};
    SampleTable table;
    for (const auto& sample : samples)
        ASSERT_TRUE(table.append({sample.offset, sample.size, sample.decodeTime, sample.compositionOffset, sample.isSync}));
    table.setLastDuration(40);
    EXPECT_EQ(table.expanded(), samples);
    EXPECT_EQ(table.duration(), 590U);
    EXPECT_EQ(table.byteCount(), 80U);
    EXPECT_EQ(table.chunks().size(), 2U);
    EXPECT_EQ(table.syncSamples(), (std::vector<std::uint32_t>{0, 4}));
}

TEST(SampleTable, SteadySamplesTakeOneRun)
{
    SampleTable table;
    for (int i = 0; i < 1000; ++i)
        ASSERT_TRUE(table.append({static_cast<std::uint64_t>(i) * 8, 8, i * 1500, 0, true}));
    EXPECT_EQ(table.durationRuns().size(), 1U);
    EXPECT_EQ(table.chunks().size(), 1U);
    EXPECT_TRUE(table.allSync());
}

TEST(SampleTable, RefusesASampleThatLiesBeforeThePrevious)
{
    SampleTable table;
    ASSERT_TRUE(table.append({0, 1, 100, 0, true}));
    EXPECT_FALSE(table.append({1, 1, 99, 0, true}));
    EXPECT_TRUE(table.append({1, 1, 100, 0, true}));
    EXPECT_EQ(table.count(), 2U);
}

TEST(SampleTable, RefusesADurationOfMoreThan32Bits)
{
    SampleTable table;
    ASSERT_TRUE(table.append({0, 1, 0, 0, true}));
    EXPECT_FALSE(table.append({1, 1, std::int64_t{1} << 32, 0, true}));
    EXPECT_TRUE(table.append({1, 1, (std::int64_t{1} << 32) - 1, 0, true}));
}

TEST(SampleTable, MovesItsTimesAsAWhole)
{
    SampleTable table;
    ASSERT_TRUE(table.append({0, 1, 480, 0, true}));
    ASSERT_TRUE(table.append({1, 1, 1504, 0, true}));
    table.setLastDuration(1024);
    table.setFirstDecodeTime(0);
    EXPECT_EQ(table.lastDecodeTime(), 1024);
    EXPECT_EQ(table.expanded().front().decodeTime, 0);
    EXPECT_EQ(table.duration(), 2048U);
}

}  // namespace
}  // namespace velmora::mp4
