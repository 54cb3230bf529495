#include "tests/platform/contracts/SoundActivityContract.h"

#include "base/MonotonicClock.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace velmora::test {

platform::SoundActivity::Changed ToldSounds::take()
{
    return [this](const std::vector<platform::ProcessLineage>& playing) {
        std::vector<std::int32_t> processes;
        for (const auto& lineage : playing)
            processes.push_back(lineage.empty() ? 0 : lineage.front());
        std::sort(processes.begin(), processes.end());
        MutexLock lock(mutex_);
        last_ = std::move(processes);
        ++count_;
        changed_.notifyAll();
    };
}

void ToldSounds::expectPlaying(std::vector<std::int32_t> processes)
{
    std::sort(processes.begin(), processes.end());
    const auto deadline = MonotonicClock::now() + std::chrono::seconds{60};
    MutexLock lock(mutex_);
    while (last_ != processes) {
        if (!changed_.waitUntil(mutex_, deadline)) {
            ADD_FAILURE() << "told " << count_ << " times, the last time of " << (last_ ? testing::PrintToString(*last_) : "nothing")
                          << " and not of " << testing::PrintToString(processes);
            return;
        }
    }
}

int ToldSounds::count()
{
    MutexLock lock(mutex_);
    return count_;
}

namespace {

TEST_P(SoundActivityContract, SaysAtOnceThatNothingPlays)
{
    ToldSounds told;
    const auto observation = activity_->observe(told.take());
    told.expectPlaying({});
}

TEST_P(SoundActivityContract, WhatPlaysAlreadyIsToldFirst)
{
    const auto player = desktop_->startPlayer();
    ToldSounds told;
    const auto observation = activity_->observe(told.take());
    told.expectPlaying({player});
}

TEST_P(SoundActivityContract, EachPlayerIsToldAsItComesAndGoes)
{
    ToldSounds told;
    const auto observation = activity_->observe(told.take());
    told.expectPlaying({});
    const auto first = desktop_->startPlayer();
    told.expectPlaying({first});
    const auto second = desktop_->startPlayer();
    told.expectPlaying({first, second});
    desktop_->endPlayer(first);
    told.expectPlaying({second});
    desktop_->endPlayer(second);
    told.expectPlaying({});
}

TEST_P(SoundActivityContract, TwoObserversAreToldTheSame)
{
    ToldSounds one;
    ToldSounds other;
    auto first = activity_->observe(one.take());
    const auto second = activity_->observe(other.take());
    const auto player = desktop_->startPlayer();
    one.expectPlaying({player});
    other.expectPlaying({player});
    first.reset();
    desktop_->endPlayer(player);
    other.expectPlaying({});
}

TEST_P(SoundActivityContract, NothingIsToldAfterTheEnd)
{
    ToldSounds told;
    auto observation = activity_->observe(told.take());
    told.expectPlaying({});
    observation.reset();
    const auto count = told.count();
    desktop_->startPlayer();
    desktop_->settle();
    EXPECT_EQ(told.count(), count);
}

TEST_P(SoundActivityContract, AnObservationMayOutliveWhatMadeIt)
{
    ToldSounds told;
    const auto observation = activity_->observe(told.take());
    activity_.reset();
    told.expectPlaying({desktop_->startPlayer()});
}

TEST_P(SoundActivityContract, OneThatEndsAtOnceIsNoHarm)
{
    ToldSounds told;
    for (int count = 0; count < 20; ++count)
        static_cast<void>(activity_->observe(told.take()));
    const auto count = told.count();
    desktop_->startPlayer();
    desktop_->settle();
    EXPECT_EQ(told.count(), count);
}

}  // namespace
}  // namespace velmora::test
