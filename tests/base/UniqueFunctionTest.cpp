#include "base/UniqueFunction.h"

#include <array>
#include <gtest/gtest.h>
#include <memory>

namespace velmora {
namespace {

TEST(UniqueFunction, OwnsWhatItCaptured)
{
    auto owned = std::make_shared<int>(7);
    std::weak_ptr<int> watch = owned;
    {
        UniqueFunction<int()> function = [value = std::move(owned)] { return *value; };
        EXPECT_EQ(function(), 7);
        UniqueFunction<int()> moved = std::move(function);
        EXPECT_FALSE(function);  // NOLINT(bugprone-use-after-move): being empty is the contract
        EXPECT_EQ(moved(), 7);
    }
    EXPECT_TRUE(watch.expired());
}

TEST(UniqueFunction, TakesCallablesThatCannotBeCopied)
{
    UniqueFunction<int(int)> function = [value = std::make_unique<int>(3)](int factor) { return *value * factor; };
    EXPECT_EQ(function(5), 15);
}

TEST(UniqueFunction, MovesLargeCallablesToTheHeapAndReleasesThem)
{
    auto counted = std::make_shared<int>(0);
    std::array<char, 256> ballast{};
    ballast[200] = 9;
    {
        UniqueFunction<int()> function = [counted, ballast] { return ballast[200]; };
        UniqueFunction<int()> other;
        other = std::move(function);
        EXPECT_EQ(other(), 9);
        EXPECT_EQ(counted.use_count(), 2);
    }
    EXPECT_EQ(counted.use_count(), 1);
}

TEST(UniqueFunction, AssigningReleasesWhatWasHeldBefore)
{
    auto held = std::make_shared<int>(1);
    UniqueFunction<void()> function = [held] {};
    function = [] {};
    EXPECT_EQ(held.use_count(), 1);
}

}  // namespace
}  // namespace velmora
