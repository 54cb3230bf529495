#include "platform/mac/SleepWatch.h"

#include "tests/platform/mac/standins/CoreFoundationStandIn.h"
#include "tests/platform/mac/standins/PowerStandIn.h"

#include <gmock/gmock.h>
#include <optional>
#include <thread>
#include <vector>

namespace velmora::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class SleepWatchTest : public testing::Test {
protected:
    SleepWatchTest() { standin::power() = {}; }
    ~SleepWatchTest() override
    {
        watch_.reset();
        kept_.clear();
        EXPECT_EQ(standin::power().registrations, 0);
        EXPECT_EQ(standin::power().ports, 0);
        EXPECT_EQ(standin::power().connections, 0);
        EXPECT_EQ(standin::runLoopSourceCount(), 0U);
    }
    SleepWatchTest(const SleepWatchTest&) = delete;
    SleepWatchTest& operator=(const SleepWatchTest&) = delete;

    void watch(int observers)
    {
        watch_ = mac_backend::watchSleep({.willSleep =
                                              [this, observers](const auto& makeReadyToSleep) {
                                                  for (int count = 0; count < observers; ++count)
                                                      kept_.push_back(makeReadyToSleep());
                                              },
            .didWake = [this] { ++wakes_; }});
    }

    std::unique_ptr<mac_backend::SleepWatch> watch_;
    std::vector<UniqueFunction<void()>> kept_;
    int wakes_ = 0;
};

TEST_F(SleepWatchTest, TheMachineSleepsOnlyWhenEverybodyIsReady)
{
    watch(2);
    standin::willSleep(41);
    EXPECT_THAT(standin::power().allowed, IsEmpty());
    kept_[0]();
    EXPECT_THAT(standin::power().allowed, IsEmpty());
    kept_[1]();
    EXPECT_THAT(standin::power().allowed, ElementsAre(41));
}

TEST_F(SleepWatchTest, LettingGoOfTheAnswerIsOne)
{
    watch(2);
    standin::willSleep(42);
    kept_[1]();
    kept_.clear();
    EXPECT_THAT(standin::power().allowed, ElementsAre(42));
}

TEST_F(SleepWatchTest, CallingTheAnswerTwiceIsOneAnswer)
{
    watch(1);
    standin::willSleep(43);
    kept_[0]();
    kept_[0]();
    kept_.clear();
    EXPECT_THAT(standin::power().allowed, ElementsAre(43));
}

TEST_F(SleepWatchTest, WhereNobodyObservesItSleepsAtOnce)
{
    watch(0);
    standin::willSleep(44);
    EXPECT_THAT(standin::power().allowed, ElementsAre(44));
}

TEST_F(SleepWatchTest, WhetherItMaySleepIsAllowedWithoutAskingAnybody)
{
    watch(1);
    standin::askWhetherToSleep(45);
    EXPECT_THAT(standin::power().allowed, ElementsAre(45));
    EXPECT_THAT(kept_, IsEmpty());
}

TEST_F(SleepWatchTest, TellsOfTheEndOfSleepOnceAndAnswersNothing)
{
    watch(1);
    standin::willPowerOn();
    EXPECT_EQ(wakes_, 0);
    standin::hasPoweredOn();
    EXPECT_EQ(wakes_, 1);
    EXPECT_THAT(standin::power().allowed, IsEmpty());
}

TEST_F(SleepWatchTest, AnAnswerMayComeOnAnotherThreadAndWhenNobodyWatchesAnyMore)
{
    watch(1);
    standin::willSleep(46);
    watch_.reset();
    EXPECT_EQ(standin::power().registrations, 0);
    std::thread{[this] { kept_[0](); }}.join();
    EXPECT_THAT(standin::power().allowed, ElementsAre(46));
}

TEST_F(SleepWatchTest, IsNoneWhereTheSystemSaysNothing)
{
    standin::power().isThere = false;
    watch(1);
    EXPECT_EQ(watch_, nullptr);
    EXPECT_EQ(standin::runLoopSourceCount(), 0U);
}

}  // namespace
}  // namespace velmora::test
