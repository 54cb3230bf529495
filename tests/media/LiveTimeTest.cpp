#include "media/LiveTime.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

TEST(LiveTime, CountsTheNanosecondsOfTheClock)
{
    const MonotonicTime moment{std::chrono::nanoseconds{5'000'000'000'007}};
    const auto time = liveTime(moment);
    EXPECT_EQ(time.value, 5'000'000'000'007);
    EXPECT_EQ(time.timescale, MediaTime::nanosecondScale);
    EXPECT_EQ(momentOf(time), moment);
}

TEST(LiveTime, AMomentIsTheNearestNanosecondOfAnyScale)
{
    EXPECT_EQ(momentOf(MediaTime{2, 3}), MonotonicTime{std::chrono::nanoseconds{666'666'667}});
    EXPECT_EQ(momentOf(MediaTime{-1, 2}), MonotonicTime{std::chrono::milliseconds{-500}});
}

}  // namespace
}  // namespace velmora
