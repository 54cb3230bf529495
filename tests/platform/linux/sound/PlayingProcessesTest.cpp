// Which processes play, told by real sound servers as it changes.
#include "platform/linux/sound/PlayingProcesses.h"

#include "base/MonotonicClock.h"
#include "base/Mutex.h"
#include "tests/support/sound/ChildProcess.h"
#include "tests/support/sound/SoundServer.h"

#include <algorithm>
#include <chrono>
#include <gtest/gtest.h>
#include <optional>
#include <unistd.h>

namespace velmora::linux_backend {
namespace {

using test::ChildProcess;

/// The last that was told, to be waited for.
class Told {
public:
    platform::SoundActivity::Changed take()
    {
        return [this](std::vector<platform::ProcessLineage> playing) {
            MutexLock lock(mutex_);
            last_ = std::move(playing);
            ++count_;
            changed_.notifyAll();
        };
    }

    /// Until exactly so many processes play; false if that never comes.
    bool awaitPlaying(std::size_t number)
    {
        const auto deadline = MonotonicClock::now() + std::chrono::seconds{30};
        MutexLock lock(mutex_);
        while (!last_ || last_->size() != number) {
            if (!changed_.waitUntil(mutex_, deadline))
                return false;
        }
        return true;
    }

    std::vector<platform::ProcessLineage> last()
    {
        MutexLock lock(mutex_);
        return last_.value_or(std::vector<platform::ProcessLineage>{});
    }

    int count()
    {
        MutexLock lock(mutex_);
        return count_;
    }

private:
    Mutex mutex_;
    ConditionVariable changed_;
    std::optional<std::vector<platform::ProcessLineage>> last_ GUARDED_BY(mutex_);
    int count_ GUARDED_BY(mutex_) = 0;
};

template <typename Server>
void expectPlayersAreFollowed()
{
    const test::PrivateSession session;
    Server server{session};
    test::writeTone(session.directory() / "tone.wav", 440, 60);
    const std::vector<std::string> player{"paplay", (session.directory() / "tone.wav").string()};
    const auto activity = makeSoundActivity();
    Told told;
    auto observation = activity->observe(told.take());
    ASSERT_TRUE(told.awaitPlaying(0));
    std::optional<ChildProcess> first{std::in_place, player};
    ASSERT_TRUE(told.awaitPlaying(1));
    const auto lineage = told.last().front();
    ASSERT_GE(lineage.size(), 2U);
    EXPECT_EQ(lineage[0], first->processID());
    EXPECT_EQ(lineage[1], getpid());
    {
        const ChildProcess second{player};
        EXPECT_TRUE(told.awaitPlaying(2));
        Told another;
        const auto beside = activity->observe(another.take());
        EXPECT_TRUE(another.awaitPlaying(2));
    }
    EXPECT_TRUE(told.awaitPlaying(1));
    first.reset();
    EXPECT_TRUE(told.awaitPlaying(0));

    const ChildProcess last{player};
    EXPECT_TRUE(told.awaitPlaying(1));
    server.kill();
    EXPECT_TRUE(told.awaitPlaying(0)) << "of a server that is gone nobody knows";
    observation.reset();
}

TEST(PlayingProcesses, OnPipeWireAreTold)
{
    expectPlayersAreFollowed<test::PipeWireServer>();
}

TEST(PlayingProcesses, OnARealPulseAudioServerAreTold)
{
    expectPlayersAreFollowed<test::PulseServer>();
}

TEST(PlayingProcesses, WithoutAServerNothingIsTold)
{
    const test::PrivateSession session;
    Told told;
    {
        const auto activity = makeSoundActivity();
        static_cast<void>(activity->observe(told.take()));
        const auto observation = activity->observe(told.take());
    }
    EXPECT_EQ(told.count(), 0);
}

}  // namespace
}  // namespace velmora::linux_backend
