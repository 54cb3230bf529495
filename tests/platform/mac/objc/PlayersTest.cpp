// The adapter of the system's player on its stand-in.
#include "platform/fake/ManualExecutor.h"
#include "platform/mac/MacPlayers.h"
#include "tests/platform/mac/objc/AVFoundationStandIn.h"
#include "tests/platform/mac/objc/AppKitStandIn.h"
#include "tests/platform/mac/objc/FolderStandIn.h"
#include "tests/platform/mac/objc/ObjectCount.h"

#include <gmock/gmock.h>
#include <utility>

namespace velmora::test {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class MacPlayersTest : public testing::Test {
protected:
    ~MacPlayersTest() override
    {
        player_.reset();
        EXPECT_FALSE(standin::hasPlayer());
        EXPECT_EQ(standin::foundationObserverCount(), 0U);
        runMain();
    }
    MacPlayersTest() = default;
    MacPlayersTest(const MacPlayersTest&) = delete;
    MacPlayersTest& operator=(const MacPlayersTest&) = delete;

    void runMain() const
    {
        while (executor_->runOne()) { }
    }

    /// The values of the pixels of a target of 2 x 2; none if nothing was drawn.
    std::vector<int> draw()
    {
        std::vector<std::byte> memory(16, std::byte{0xEE});
        if (!player_->drawPicture({memory.data(), 2, 2, 8}))
            return {};
        std::vector<int> values;
        for (std::size_t pixel = 0; pixel < 4; ++pixel)
            values.push_back(std::to_integer<int>(memory[pixel * 4]));
        return values;
    }

    /// All times that were told, in seconds.
    platform::Player::TimeObserverToken observe()
    {
        return player_->addPeriodicTimeObserver(MediaTime{1, 10}, [this](MediaTime time) { times_.push_back(time.seconds()); });
    }

private:
    const ObjectCount count_{standin::resetAppKit};

protected:
    const std::shared_ptr<fake::ManualExecutor> executor_ = std::make_shared<fake::ManualExecutor>();
    const std::shared_ptr<platform::PlayerFactory> players_ = mac_backend::makePlayers(executor_);
    std::unique_ptr<platform::Player> player_ = players_->makePlayer("/clips/größe \xFF.mp4").value();
    std::vector<double> times_;
};

TEST_F(MacPlayersTest, BeginsPausedAndIsReadyAtOnce)
{
    int prepared = 0;
    players_->prepare([&] { ++prepared; });
    EXPECT_EQ(prepared, 1);
    EXPECT_EQ(standin::playerState().url, "/clips/größe \xFF.mp4");
    EXPECT_FALSE(standin::playerState().isPlaying);
}

TEST_F(MacPlayersTest, PlaysPausesAndSetsTheSound)
{
    player_->play();
    EXPECT_TRUE(standin::playerState().isPlaying);
    player_->pause();
    EXPECT_FALSE(standin::playerState().isPlaying);
    player_->setVolume(0.25);
    player_->setMuted(true);
    EXPECT_EQ(standin::playerState().volume, 0.25);
    EXPECT_TRUE(standin::playerState().isMuted);
}

TEST_F(MacPlayersTest, TheFirstPictureIsToldOfOnTheMainThreadAndDrawn)
{
    int pictures = 0;
    player_->setPictureObserver([&] { ++pictures; });
    EXPECT_THAT(draw(), IsEmpty());
    standin::becomeReadyToPlay();
    EXPECT_EQ(pictures, 0);
    runMain();
    EXPECT_EQ(pictures, 1);
    standin::playTo(0, 40);
    EXPECT_EQ(pictures, 2);
    EXPECT_THAT(draw(), ElementsAre(40, 40, 40, 40));
    // What there is no newer one of stays.
    EXPECT_THAT(draw(), ElementsAre(40, 40, 40, 40));
    standin::playTo(0.1);
    EXPECT_EQ(pictures, 2);
    standin::playTo(0.2, 50);
    EXPECT_EQ(pictures, 3);
    EXPECT_THAT(draw(), ElementsAre(50, 50, 50, 50));
}

TEST_F(MacPlayersTest, ASeekIsExactAndOnlyTheLastOneShowsItsPicture)
{
    int pictures = 0;
    player_->setPictureObserver([&] { ++pictures; });
    player_->seek(MediaTime{3, 2});
    player_->seek(MediaTime{5, 2});
    EXPECT_THAT(standin::playerState().seeks, ElementsAre(1.5, 2.5));
    observe();
    standin::finishSeeks(70);
    const int before = pictures;
    runMain();
    EXPECT_EQ(pictures, before + 1);
    EXPECT_THAT(draw(), Each(70));
    // A jump while it is paused is no time that plays.
    EXPECT_THAT(times_, IsEmpty());
}

TEST_F(MacPlayersTest, TellsTheTimeThatPlaysAndThatAtWhichItPauses)
{
    observe();
    player_->play();
    standin::playTo(0.5);
    standin::playTo(1);
    player_->pause();
    EXPECT_THAT(times_, ElementsAre(0.5, 1));
    runMain();
    EXPECT_THAT(times_, ElementsAre(0.5, 1, 1));
    standin::playTo(2);
    player_->pause();
    runMain();
    EXPECT_THAT(times_, SizeIs(3));
}

TEST_F(MacPlayersTest, ReachingTheEndIsAPause)
{
    observe();
    player_->play();
    standin::playTo(2);
    standin::reachTheEnd();
    EXPECT_THAT(times_, ElementsAre(2, 2));
    standin::playTo(2);
    EXPECT_THAT(times_, SizeIs(2));
}

TEST_F(MacPlayersTest, PlayingFromWhereItIsToEndOrBeyondPausesAtOnce)
{
    observe();
    player_->setForwardPlaybackEndTime(MediaTime{3, 2});
    EXPECT_EQ(standin::playerState().endTime, 1.5);
    standin::playTo(1.5);
    player_->play();
    EXPECT_FALSE(standin::playerState().isPlaying);
    EXPECT_THAT(times_, IsEmpty());
    runMain();
    EXPECT_THAT(times_, ElementsAre(1.5));
    player_->setForwardPlaybackEndTime(std::nullopt);
    EXPECT_EQ(standin::playerState().endTime, std::nullopt);
    player_->play();
    EXPECT_TRUE(standin::playerState().isPlaying);
}

TEST_F(MacPlayersTest, ARemovedObserverIsToldNothingAndMayRemoveItself)
{
    const auto first = observe();
    platform::Player::TimeObserverToken second = 0;
    int told = 0;
    second = player_->addPeriodicTimeObserver(MediaTime{1, 10}, [&](MediaTime) {
        ++told;
        player_->removeTimeObserver(second);
    });
    player_->removeTimeObserver(first);
    player_->removeTimeObserver(first);
    player_->removeTimeObserver(99);
    player_->play();
    standin::playTo(0.5);
    standin::playTo(1);
    EXPECT_EQ(told, 1);
    EXPECT_THAT(times_, IsEmpty());
}

TEST_F(MacPlayersTest, AFailureIsToldOnceOnTheMainThread)
{
    std::vector<Error> errors;
    player_->setFailureObserver([&](const Error& error) { errors.push_back(error); });
    standin::failToPlay(-11828);
    EXPECT_THAT(errors, IsEmpty());
    runMain();
    ASSERT_THAT(errors, SizeIs(1));
    EXPECT_EQ(errors[0].code, -11828);
    EXPECT_EQ(errors[0].localizedDescription, "Cannot Open");
}

TEST_F(MacPlayersTest, AFailureBeforeAnybodyAskedIsToldToo)
{
    standin::failToPlay(-11828);
    runMain();
    std::vector<Error> errors;
    player_->setFailureObserver([&](const Error& error) { errors.push_back(error); });
    EXPECT_THAT(errors, IsEmpty());
    runMain();
    EXPECT_THAT(errors, SizeIs(1));
}

TEST_F(MacPlayersTest, NothingIsToldAfterItsEnd)
{
    int told = 0;
    player_->setPictureObserver([&] { ++told; });
    player_->setFailureObserver([&](const Error&) { ++told; });
    observe();
    player_->play();
    player_->seek(MediaTime{1, 1});
    standin::becomeReadyToPlay();
    player_->pause();
    player_.reset();
    runMain();
    EXPECT_EQ(told, 0);
    EXPECT_THAT(times_, IsEmpty());
}

TEST_F(MacPlayersTest, AnObserverMayEndThePlayer)
{
    player_->addPeriodicTimeObserver(MediaTime{1, 10}, [this](MediaTime) { player_.reset(); });
    player_->addPeriodicTimeObserver(MediaTime{1, 10}, [this](MediaTime) { times_.push_back(0); });
    player_->play();
    player_->pause();
    runMain();
    EXPECT_EQ(player_, nullptr);
    EXPECT_THAT(times_, IsEmpty());
}

}  // namespace
}  // namespace velmora::test
