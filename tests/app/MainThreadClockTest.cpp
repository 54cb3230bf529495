#include "app/MainThreadClock.h"

#include <QCoreApplication>
#include <QEventLoop>

#include <gtest/gtest.h>
#include <string>

namespace velmora {
namespace {

using namespace std::chrono_literals;

class MainThreadClockTest : public testing::Test {
protected:
    int argc_ = 1;
    char name_[5] = "test";
    char* argv_[2] = {name_, nullptr};
    QCoreApplication application_{argc_, argv_};
    MainThreadClock clock_;
};

TEST_F(MainThreadClockTest, RunsWorkInTheOrderInWhichItIsDueAndNotBefore)
{
    std::string order;
    const auto begin = std::chrono::steady_clock::now();
    const auto later = clock_.schedule(40ms, [&] {
        order += "later";
        EXPECT_GE(std::chrono::steady_clock::now() - begin, 40ms);
        QCoreApplication::quit();
    });
    const auto sooner = clock_.schedule(20ms, [&] { order += "sooner "; });
    QCoreApplication::exec();
    EXPECT_EQ(order, "sooner later");
}

TEST_F(MainThreadClockTest, ATimerThatIsDestroyedNeverRuns)
{
    auto invalidated = clock_.schedule(0ms, [] { FAIL(); });
    const auto last = clock_.schedule(10ms, [] { QCoreApplication::quit(); });
    invalidated.reset();
    QCoreApplication::exec();
}

TEST_F(MainThreadClockTest, WorkMayDestroyItsOwnTimer)
{
    std::unique_ptr<platform::Timer> timer;
    bool hasRun = false;
    timer = clock_.schedule(1ms, [&] {
        timer.reset();
        hasRun = true;
        QCoreApplication::quit();
    });
    QCoreApplication::exec();
    EXPECT_TRUE(hasRun);
}

}  // namespace
}  // namespace velmora
