// Which processes play, on the stand-in for Core Audio.
#include "platform/mac/MacSoundActivity.h"

#include "tests/platform/contracts/SoundActivityContract.h"
#include "tests/platform/mac/standins/CoreAudioStandIn.h"

#include <future>
#include <map>
#include <unistd.h>
#include <utility>

namespace velmora::test {
namespace {

using mac_backend::makeSoundActivity;

/// What was asked before has been answered: all observations of an activity share its queue.
void settle(platform::SoundActivity& activity)
{
    std::promise<void> told;
    const auto observation = activity.observe([&, isTold = false](const auto&) mutable {
        if (!std::exchange(isTold, true))
            told.set_value();
    });
    told.get_future().get();
}

class StandInSounds final : public SoundingDesktop {
public:
    explicit StandInSounds(standin::CoreAudio switches) { standin::coreAudio() = switches; }
    StandInSounds(const StandInSounds&) = delete;
    StandInSounds& operator=(const StandInSounds&) = delete;
    ~StandInSounds() override
    {
        EXPECT_TRUE(standin::awaitNoAudioListeners());
        standin::resetCoreAudio();
    }

    std::shared_ptr<platform::SoundActivity> makeSoundActivity() override { return activity_; }
    std::int32_t startPlayer() override
    {
        const auto process = ++last_;
        // Half of them are there before they play.
        const bool isThereBefore = process % 2 == 0;
        objects_[process] = standin::addAudioProcess(process, !isThereBefore);
        if (isThereBefore)
            standin::setPlaying(objects_[process], true);
        return process;
    }
    void endPlayer(std::int32_t process) override
    {
        if (process % 2 == 0)
            standin::setPlaying(objects_[process], false);
        else
            standin::endAudioProcess(objects_[process]);
    }
    void settle() override
    {
        standin::tellRemovedAudioListeners();
        test::settle(*activity_);
    }

private:
    std::shared_ptr<platform::SoundActivity> activity_ = mac_backend::makeSoundActivity();
    std::map<std::int32_t, std::uint32_t> objects_;
    std::int32_t last_ = 500;
};

INSTANTIATE_TEST_SUITE_P(Mac, SoundActivityContract,
    testing::Values(NamedSoundingDesktop{"OnStandIns", [] { return std::make_unique<StandInSounds>(standin::CoreAudio{}); }},
        NamedSoundingDesktop{
            "RefusingSmallBuffers", [] { return std::make_unique<StandInSounds>(standin::CoreAudio{.refusesSmallBuffers = true}); }}),
    [](const auto& parameter) { return parameter.param.name; });

class MacSoundActivityTest : public testing::Test {
protected:
    ~MacSoundActivityTest() override
    {
        observation_.reset();
        EXPECT_TRUE(standin::awaitNoAudioListeners());
        standin::resetCoreAudio();
    }

    void observe() { observation_ = activity_->observe(told_.take()); }

    ToldSounds told_;
    std::shared_ptr<platform::SoundActivity> activity_ = makeSoundActivity();
    std::unique_ptr<platform::SoundActivity::Observation> observation_;
};

TEST_F(MacSoundActivityTest, WhereProcessesAreNotListedNothingIsTold)
{
    standin::coreAudio().listsProcesses = false;
    standin::addAudioProcess(501, true);
    observe();
    // When another one is asked for, all has been done for the first.
    const auto another = activity_->observe(told_.take());
    EXPECT_TRUE(standin::awaitProcessListQuestions(2));
    EXPECT_EQ(told_.count(), 0);
}

TEST_F(MacSoundActivityTest, AProcessThatEndsWhileItIsAskedIsPassedOver)
{
    const auto lost = standin::addAudioProcess(501, true);
    standin::addAudioProcess(502, true);
    standin::loseAudioProcess(lost);
    observe();
    told_.expectPlaying({502});
}

TEST_F(MacSoundActivityTest, AProcessThatIsLostWhileItPlaysHasEnded)
{
    const auto lost = standin::addAudioProcess(501, true);
    observe();
    told_.expectPlaying({501});
    standin::loseAudioProcess(lost);
    standin::addAudioProcess(502, false);
    told_.expectPlaying({});
}

TEST_F(MacSoundActivityTest, ProcessesThatComeWhileTheyAreListedAreToldToo)
{
    for (const bool refuses : {false, true}) {
        standin::coreAudio() = {.refusesSmallBuffers = refuses, .comeBetween = 2};
        standin::addAudioProcess(601, true);
        observe();
        told_.expectPlaying({601, 1001, 1002});
        observation_.reset();
        ASSERT_TRUE(standin::awaitNoAudioListeners());
        standin::resetCoreAudio();
    }
}

TEST_F(MacSoundActivityTest, TwoObjectsOfOneProcessAreOneAndItsOwnIsNone)
{
    standin::addAudioProcess(501, true);
    standin::addAudioProcess(501, true);
    standin::addAudioProcess(getpid(), true);
    standin::addAudioProcess(0, true);
    observe();
    told_.expectPlaying({501});
}

TEST_F(MacSoundActivityTest, WhatChangesNothingIsNotTold)
{
    const auto object = standin::addAudioProcess(501, true);
    observe();
    told_.expectPlaying({501});
    const auto count = told_.count();
    standin::setPlaying(object, true);
    standin::addAudioProcess(502, false);
    settle(*activity_);
    EXPECT_EQ(told_.count(), count);
}

TEST_F(MacSoundActivityTest, AListenerThatIsCalledAfterItsRemovalDoesNothing)
{
    standin::addAudioProcess(501, true);
    observe();
    told_.expectPlaying({501});
    const auto count = told_.count();
    observation_.reset();
    settle(*activity_);
    standin::tellRemovedAudioListeners();
    settle(*activity_);
    EXPECT_EQ(told_.count(), count);
}

}  // namespace
}  // namespace velmora::test
