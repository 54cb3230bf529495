#include "base/SharedCell.h"

#include <gtest/gtest.h>
#include <thread>

namespace velmora {
namespace {

TEST(SharedCell, ExchangeHandsOutTheOldValueOnce)
{
    SharedCell<int> cell{std::make_shared<int>(4)};
    const auto old = cell.exchange(nullptr);
    ASSERT_TRUE(old);
    EXPECT_EQ(*old, 4);
    EXPECT_FALSE(cell.load());
    EXPECT_FALSE(cell.exchange(nullptr));
}

TEST(SharedCell, ReadersOnOtherThreadsSeeWholeValuesOnly)
{
    SharedCell<int> cell{std::make_shared<int>(0)};
    std::thread writer([&] {
        for (int i = 1; i <= 2000; ++i)
            cell.store(std::make_shared<int>(i));
    });
    int last = 0;
    while (last < 2000) {
        const int seen = *cell.load();
        EXPECT_GE(seen, last);
        last = seen;
    }
    writer.join();
}

}  // namespace
}  // namespace velmora
