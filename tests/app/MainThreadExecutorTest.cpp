#include "app/MainThreadExecutor.h"

#include <QCoreApplication>

#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace velmora {
namespace {

TEST(MainThreadExecutor, RunsWorkOfAnyThreadOnTheMainThreadInOrder)
{
    int argc = 1;
    char name[] = "test";
    char* argv[] = {name, nullptr};
    QCoreApplication application{argc, argv};

    MainThreadExecutor executor;
    std::vector<int> order;
    const auto mainThread = std::this_thread::get_id();
    std::thread other([&] {
        for (int i = 0; i < 100; ++i)
            executor.async([&, i] {
                EXPECT_EQ(std::this_thread::get_id(), mainThread);
                order.push_back(i);
            });
        executor.async([] { QCoreApplication::quit(); });
    });
    QCoreApplication::exec();
    other.join();
    ASSERT_EQ(order.size(), 100U);
    EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}

TEST(MainThreadExecutor, ReleasesWorkThatItNeverRan)
{
    auto held = std::make_shared<int>(0);
    std::weak_ptr<int> watch = held;
    {
        MainThreadExecutor executor;
        executor.async([held = std::move(held)] {});
    }
    EXPECT_TRUE(watch.expired());
}

}  // namespace
}  // namespace velmora
