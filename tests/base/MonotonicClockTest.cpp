#include "base/MonotonicClock.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

using namespace std::chrono_literals;

static_assert(std::chrono::is_clock_v<MonotonicClock>);

TEST(MonotonicClock, IsTheSystemsMonotonicOne)
{
    const auto read = [] {
        timespec now{};
        EXPECT_EQ(clock_gettime(CLOCK_MONOTONIC, &now), 0);
        return MonotonicTime{std::chrono::seconds{now.tv_sec} + std::chrono::nanoseconds{now.tv_nsec}};
    };
    const auto before = read();
    const auto now = MonotonicClock::now();
    const auto after = read();
    EXPECT_LE(before, now);
    EXPECT_LE(now, after);
}

TEST(MonotonicClock, ADurationBecomesWholeSecondsAndTheirRest)
{
    const auto split = toTimespec(3s + 7ns);
    EXPECT_EQ(split.tv_sec, 3);
    EXPECT_EQ(split.tv_nsec, 7);
    EXPECT_EQ(toTimespec(999'999'999ns).tv_sec, 0);
    EXPECT_EQ(toTimespec(999'999'999ns).tv_nsec, 999'999'999);
}

}  // namespace
}  // namespace velmora
