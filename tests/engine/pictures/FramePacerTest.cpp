#include "engine/pictures/FramePacer.h"

#include <gtest/gtest.h>
#include <random>

namespace velmora::engine {
namespace {

constexpr std::int64_t interval = 16'666'667;

/// How many of `count` frames, drawn at `times`, are seen by a capture that takes the newest whenever it may.
template <typename TimeOf, typename Lateness>
int framesSeen(int count, TimeOf timeOf, Lateness lateness)
{
    FramePacer pacer{interval};
    int seen = 0;
    int next = 0;
    while (next < count) {
        // Woken by the frame or by the timer, whichever is later, and always a little late.
        const auto now = std::max(timeOf(next), pacer.due()) + lateness();
        int newest = next;
        while (newest + 1 < count && timeOf(newest + 1) <= now)
            ++newest;
        pacer.taken(now);
        ++seen;
        next = newest + 1;
    }
    return seen;
}

TEST(FramePacer, TheFirstPictureIsDueAtOnce)
{
    EXPECT_LE(FramePacer{interval}.due(), 0);
}

TEST(FramePacer, SeesEveryFrameOfASourceAtTheLimit)
{
    const auto steady = [](int index) { return 1'000'000'000 + index * interval; };
    EXPECT_EQ(framesSeen(6000, steady, [] { return 300'000; }), 6000);
}

TEST(FramePacer, SeesEveryFrameInSpiteOfJitter)
{
    std::mt19937 random{3};
    const auto jitter = [](int index) { return 1'000'000'000 + index * interval + (index * 7919 % 11) * 300'000; };
    EXPECT_EQ(framesSeen(6000, jitter, [&] { return static_cast<std::int64_t>(random() % 900'000); }), 6000);
}

TEST(FramePacer, AFasterSourceIsHeldToTheMeanRate)
{
    const auto fast = [](int index) { return 1'000'000'000 + index * (interval / 4); };
    const int seen = framesSeen(6000, fast, [] { return 100'000; });
    EXPECT_LE(seen, 1501);
    EXPECT_GE(seen, 1480);
}

TEST(FramePacer, OnePictureIsNeverCloserThanThreeQuartersOfTheInterval)
{
    FramePacer pacer{interval};
    std::mt19937 random{5};
    std::int64_t last = -interval;
    std::int64_t now = 0;
    for (int count = 0; count < 10000; ++count) {
        now = std::max(now, pacer.due()) + static_cast<std::int64_t>(random() % static_cast<unsigned>(interval));
        if (count % 3 != 0)
            now = std::max(last, pacer.due());
        EXPECT_GE(now - last, interval / 4 * 3 - 1);
        pacer.taken(now);
        last = now;
    }
}

TEST(FramePacer, APauseGivesNoCreditForABurst)
{
    FramePacer pacer{interval};
    pacer.taken(0);
    pacer.taken(100 * interval);
    EXPECT_GE(pacer.due(), 100 * interval + interval / 4 * 3 - 1);
    pacer.taken(101 * interval);
    EXPECT_GE(pacer.due(), 101 * interval + interval / 4 * 3 - 1);
}

}  // namespace
}  // namespace velmora::engine
