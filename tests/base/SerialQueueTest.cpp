#include "base/SerialQueue.h"

#include <future>
#include <gtest/gtest.h>
#include <vector>

namespace velmora {
namespace {

TEST(SerialQueue, RunsWorkInTheOrderOfSubmission)
{
    std::vector<int> order;
    {
        SerialQueue queue{"com.velmora.test"};
        for (int i = 0; i < 1000; ++i)
            queue.async([&order, i] { order.push_back(i); });
    }
    ASSERT_EQ(order.size(), 1000U);
    for (int i = 0; i < 1000; ++i)
        EXPECT_EQ(order[static_cast<std::size_t>(i)], i);
}

TEST(SerialQueue, SyncReturnsAfterEverythingQueuedBefore)
{
    SerialQueue queue{"com.velmora.test"};
    int count = 0;
    for (int i = 0; i < 100; ++i)
        queue.async([&count] { ++count; });
    int seen = 0;
    queue.sync([&] { seen = count; });
    EXPECT_EQ(seen, 100);
}

TEST(SerialQueue, KnowsItsOwnThread)
{
    SerialQueue queue{"com.velmora.test"};
    EXPECT_FALSE(queue.isCurrent());
    bool inside = false;
    queue.sync([&] { inside = queue.isCurrent(); });
    EXPECT_TRUE(inside);
}

TEST(SerialQueue, MayBeReleasedByWorkThatRunsOnIt)
{
    auto queue = std::make_shared<SerialQueue>("com.velmora.test");
    const std::weak_ptr<SerialQueue> watch = queue;
    std::promise<bool> later;
    auto* raw = queue.get();
    std::promise<void> start;
    raw->async([owner = std::move(queue), started = start.get_future().share()]() mutable {
        started.wait();
        owner.reset();
    });
    raw->async([&later, watch] { later.set_value(watch.expired()); });
    start.set_value();
    EXPECT_TRUE(later.get_future().get()) << "what was queued before the release still runs, after it";
}

TEST(SerialQueue, ReleasesEachPieceOfWorkBeforeTheNextRuns)
{
    SerialQueue queue{"com.velmora.test"};
    auto held = std::make_shared<int>(0);
    std::weak_ptr<int> watch = held;
    queue.async([held = std::move(held)] {});
    bool released = false;
    queue.sync([&] { released = watch.expired(); });
    EXPECT_TRUE(released);
}

TEST(SerialQueue, KeepsItsLabelAndQuality)
{
    const SerialQueue queue{"com.velmora.test.label", SerialQueue::QualityOfService::userInteractive};
    EXPECT_EQ(queue.label(), "com.velmora.test.label");
    EXPECT_EQ(queue.qualityOfService(), SerialQueue::QualityOfService::userInteractive);
}

}  // namespace
}  // namespace velmora
