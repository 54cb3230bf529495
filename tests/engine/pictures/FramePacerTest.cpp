#include "engine/pictures/FramePacer.h"

#include <chrono>
#include <gtest/gtest.h>
#include <random>

namespace velmora::engine {
namespace {

using namespace std::chrono_literals;

constexpr auto interval = 16'666'667ns;
constexpr MonotonicTime beginning{1s};

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
    EXPECT_LE(FramePacer{interval}.due(), MonotonicTime{});
}

TEST(FramePacer, SeesEveryFrameOfASourceAtTheLimit)
{
    const auto steady = [](int index) { return beginning + index * interval; };
    EXPECT_EQ(framesSeen(6000, steady, [] { return 300us; }), 6000);
}

TEST(FramePacer, SeesEveryFrameInSpiteOfJitter)
{
    std::mt19937 random{3};
    const auto jitter = [](int index) { return beginning + index * interval + (index * 7919 % 11) * 300us; };
    EXPECT_EQ(framesSeen(6000, jitter, [&] { return std::chrono::nanoseconds{random() % 900'000}; }), 6000);
}

TEST(FramePacer, AFasterSourceIsHeldToTheMeanRate)
{
    const auto fast = [](int index) { return beginning + index * (interval / 4); };
    const int seen = framesSeen(6000, fast, [] { return 100us; });
    // One at the beginning, fifteen hundred intervals, and the one by which a picture may be early.
    EXPECT_LE(seen, 1502);
    EXPECT_GE(seen, 1480);
}

TEST(FramePacer, OnePictureIsNeverCloserThanHalfTheInterval)
{
    FramePacer pacer{interval};
    std::mt19937 random{5};
    MonotonicTime last{-interval};
    MonotonicTime now;
    for (int count = 0; count < 10000; ++count) {
        now = std::max(now, pacer.due()) + std::chrono::nanoseconds{random() % static_cast<unsigned>(interval.count())};
        if (count % 3 != 0)
            now = std::max(last, pacer.due());
        EXPECT_GE(now - last, interval / 2);
        pacer.taken(now);
        last = now;
    }
}

TEST(FramePacer, OneLatePictureMakesNoneOfTheLaterOnesLate)
{
    for (auto late = 0ns; late < 3 * interval; late += interval / 16) {
        FramePacer pacer{interval};
        const auto painted = [](int index) { return beginning + index * interval; };
        pacer.taken(painted(0));
        auto now = painted(1) + late;
        pacer.taken(now);
        int index = 2;
        while (painted(index) <= now)
            ++index;
        // The first one after it may have to keep its distance.
        now = std::max(painted(index), pacer.due());
        EXPECT_LE(now - painted(index), interval / 2) << "after " << late.count() << " ns";
        pacer.taken(now);
        ++index;
        EXPECT_LE(pacer.due(), painted(index)) << "after " << late.count() << " ns";
    }
}

TEST(FramePacer, APauseGivesCreditForOnePictureAtMost)
{
    FramePacer pacer{interval};
    pacer.taken({});
    auto now = MonotonicTime{100 * interval};
    pacer.taken(now);
    for (int index = 1; index <= 10; ++index) {
        now = pacer.due();
        pacer.taken(now);
        EXPECT_GE(now, MonotonicTime{(99 + index) * interval});
    }
}

}  // namespace
}  // namespace velmora::engine
