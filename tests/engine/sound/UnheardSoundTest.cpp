#include "engine/sound/UnheardSound.h"

#include <gtest/gtest.h>
#include <map>
#include <set>

namespace velmora::engine {
namespace {

using platform::UnheardReason;

constexpr std::int32_t session = 10;
constexpr std::int32_t terminal = 50;
constexpr std::int32_t player = 100;
constexpr std::int32_t helper = 110;  ///< of the player
constexpr std::int32_t orphan = 200;  ///< comes from the session itself
constexpr std::int32_t inTheTerminal = 300;
constexpr std::int32_t secondPlayer = 400;
constexpr std::int32_t secondHelper = 410;
constexpr std::int32_t ourselves = 900;

std::optional<ProcessRecord> inventedRecord(std::int32_t process)
{
    const std::map<std::int32_t, ProcessRecord> records{{1, {0, 0}}, {session, {1, 5}}, {terminal, {session, 6}}, {player, {session, 10}},
        {helper, {player, 20}}, {orphan, {session, 30}}, {inTheTerminal, {terminal, 40}}, {secondPlayer, {session, 50}},
        {secondHelper, {secondPlayer, 60}}, {ourselves, {session, 70}}};
    const auto found = records.find(process);
    return found == records.end() ? std::nullopt : std::optional{found->second};
}

bool ownsAWindow(std::int32_t process)
{
    return std::set{terminal, player, secondPlayer}.contains(process);
}

SoundStream stream(std::int32_t process, const std::string& name = "Player")
{
    return {.identity = {process, true, name, name + "-bin", {}}, .mediaName = {}, .isPlaying = true};
}

SoundStream muted(SoundStream stream)
{
    stream.isMuted = true;
    return stream;
}

SoundStream paused(SoundStream stream)
{
    stream.isPlaying = false;
    return stream;
}

std::optional<UnheardReason> why(const std::vector<SoundStream>& streams)
{
    const AudioTarget target{.processID = player,
        .applicationName = "Player",
        .bundleIdentifier = "player-bin",
        .portalApplicationID = {},
        .ownsWindowsOfAnotherApplication = {}};
    return whyUnheard(streams, target,
        {.record = inventedRecord, .executable = {}, .now = [] { return std::uint64_t{1000}; }, .own = ourselves}, ownsAWindow);
}

TEST(UnheardSound, AStreamThatIsMutedIsTheReason)
{
    EXPECT_EQ(why({muted(stream(helper))}), UnheardReason::muted);
    EXPECT_EQ(why({stream(secondPlayer), muted(stream(player))}), UnheardReason::muted);
}

TEST(UnheardSound, SilenceOfAStreamThatIsThereIsNobodysFault)
{
    EXPECT_EQ(why({stream(player)}), std::nullopt);
    EXPECT_EQ(why({muted(stream(helper)), stream(player)}), std::nullopt) << "one of two is heard";
    EXPECT_EQ(why({stream(player), muted(stream(helper))}), std::nullopt) << "in whatever order";
    EXPECT_EQ(why({stream(player), stream(orphan)}), std::nullopt);
}

TEST(UnheardSound, AStreamThatIsPausedPlaysNothing)
{
    EXPECT_EQ(why({paused(muted(stream(player)))}), std::nullopt);
    EXPECT_EQ(why({paused(stream(player))}), std::nullopt);
    EXPECT_EQ(why({paused(stream(player)), stream(orphan)}), std::nullopt) << "it has a stream of its own";
}

TEST(UnheardSound, OneThatIsDecodedElsewhereOrServedByAnotherIsTheReason)
{
    auto undecoded = stream(player);
    undecoded.isPassedThrough = true;
    EXPECT_EQ(why({undecoded}), UnheardReason::undecoded);
    auto another = stream(player);
    another.isOfAnotherServer = true;
    EXPECT_EQ(why({another}), UnheardReason::anotherServer);
    EXPECT_EQ(why({another, stream(helper)}), std::nullopt) << "heard on the server that is recorded";
}

TEST(UnheardSound, AnApplicationWithoutAStreamDoesNotPlay)
{
    EXPECT_EQ(why({}), std::nullopt);
    EXPECT_EQ(why({stream(orphan, "Another")}), std::nullopt);
    EXPECT_EQ(why({stream(0)}), std::nullopt) << "one whose process is unknown is recognised by its name, and heard";
}

TEST(UnheardSound, AProcessOfItsNameThatBelongsToNoWindowMayBeItsOwn)
{
    EXPECT_EQ(why({stream(orphan)}), UnheardReason::noStream);
    EXPECT_EQ(why({stream(orphan, "PLAYER-BIN")}), UnheardReason::noStream) << "by the binary";
    EXPECT_EQ(why({paused(stream(orphan))}), std::nullopt);
}

TEST(UnheardSound, AnotherInstancePlaysForItsOwnWindowOrForWhoeverStartedIt)
{
    EXPECT_EQ(why({stream(secondPlayer)}), std::nullopt);
    EXPECT_EQ(why({stream(secondHelper)}), std::nullopt);
    EXPECT_EQ(why({stream(inTheTerminal)}), std::nullopt);
    EXPECT_EQ(why({stream(ourselves)}), std::nullopt);
}

}  // namespace
}  // namespace velmora::engine
