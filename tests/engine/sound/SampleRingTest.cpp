#include "engine/sound/SampleRing.h"

#include <chrono>
#include <gtest/gtest.h>
#include <numeric>
#include <thread>
#include <vector>

namespace velmora::engine {
namespace {

MonotonicTime at(int nanosecond)
{
    return MonotonicTime{std::chrono::nanoseconds{nanosecond}};
}

TEST(SampleRing, GivesBlocksBackInTheirOrderWithTheirStamps)
{
    SampleRing ring{16, 4};
    const std::vector<float> first{1, 2, 3};
    const std::vector<float> second{4, 5};
    ASSERT_TRUE(ring.write(at(10), first));
    ASSERT_TRUE(ring.write(at(20), second));
    MonotonicTime stamp;
    std::vector<float> samples;
    ASSERT_TRUE(ring.read(stamp, samples));
    EXPECT_EQ(stamp, at(10));
    EXPECT_EQ(samples, first);
    ASSERT_TRUE(ring.read(stamp, samples));
    EXPECT_EQ(stamp, at(20));
    EXPECT_EQ(samples, second);
    EXPECT_FALSE(ring.read(stamp, samples));
}

TEST(SampleRing, DropsABlockThatDoesNotFitAndKeepsTheRest)
{
    SampleRing ring{8, 4};
    const std::vector<float> block{1, 2, 3, 4, 5};
    EXPECT_TRUE(ring.write(at(1), block));
    EXPECT_FALSE(ring.write(at(2), block));
    MonotonicTime stamp;
    std::vector<float> samples;
    ASSERT_TRUE(ring.read(stamp, samples));
    EXPECT_EQ(samples, block);
    EXPECT_TRUE(ring.write(at(3), block));
    ASSERT_TRUE(ring.read(stamp, samples));
    EXPECT_EQ(stamp, at(3));
    EXPECT_EQ(samples, block);
}

TEST(SampleRing, DropsABlockWhenThereAreTooMany)
{
    SampleRing ring{64, 2};
    const std::vector<float> block{1};
    EXPECT_TRUE(ring.write(at(1), block));
    EXPECT_TRUE(ring.write(at(2), block));
    EXPECT_FALSE(ring.write(at(3), block));
}

TEST(SampleRing, CarriesEverythingFromOneThreadToAnother)
{
    SampleRing ring{1024, 16};
    constexpr int count = 20000;
    std::thread writer{[&] {
        float next = 0;
        for (int i = 0; i < count; ++i) {
            std::vector<float> block(static_cast<std::size_t>(i % 200));
            std::iota(block.begin(), block.end(), next);
            next = static_cast<float>((static_cast<int>(next) + i % 200) % 100000);
            while (!ring.write(at(i), block))
                std::this_thread::yield();
        }
    }};
    float expected = 0;
    MonotonicTime stamp;
    std::vector<float> samples;
    for (int i = 0; i < count;) {
        if (!ring.read(stamp, samples)) {
            std::this_thread::yield();
            continue;
        }
        EXPECT_EQ(stamp, at(i));
        ASSERT_EQ(samples.size(), static_cast<std::size_t>(i % 200));
        for (std::size_t frame = 0; frame < samples.size(); ++frame)
            ASSERT_EQ(samples[frame], expected + static_cast<float>(frame));
        expected = static_cast<float>((static_cast<int>(expected) + i % 200) % 100000);
        ++i;
    }
    writer.join();
}

}  // namespace
}  // namespace velmora::engine
