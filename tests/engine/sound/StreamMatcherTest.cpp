#include "engine/sound/StreamMatcher.h"

#include <gtest/gtest.h>
#include <map>

namespace velmora::engine {
namespace {

constexpr std::int32_t chosen = 100;
constexpr std::int32_t childOfApplication = 110;
constexpr std::int32_t secondInstance = 200;
constexpr std::int32_t ourselves = 900;

std::optional<ProcessRecord> readInvented(std::int32_t process)
{
    const std::map<std::int32_t, ProcessRecord> records{{1, {0, 0}}, {2, {0, 0}}, {chosen, {1, 10}}, {childOfApplication, {chosen, 20}},
        {secondInstance, {1, 30}}, {ourselves, {chosen, 40}}};
    const auto found = records.find(process);
    return found == records.end() ? std::nullopt : std::optional{found->second};
}

Processes invented(ProcessTree::Reader reader = readInvented, std::uint64_t now = 0)
{
    return {.record = std::move(reader), .executable = {}, .now = [now] { return now; }, .own = ourselves};
}

struct Case {
    const char* name;
    AudioTarget target;
    StreamIdentity stream;
    StreamMatch expected;
};

AudioTarget target(std::int32_t process, std::string name = "Player", std::string bundle = "player-bin", std::string portal = {})
{
    AudioTarget wanted;
    wanted.processID = process;
    wanted.applicationName = std::move(name);
    wanted.bundleIdentifier = std::move(bundle);
    wanted.portalApplicationID = std::move(portal);
    return wanted;
}

StreamIdentity native(std::int32_t process, std::string name = "Player", std::string portal = {})
{
    return {process, true, std::move(name), "player-bin", std::move(portal)};
}

StreamIdentity claimed(std::int32_t process, std::string name = "Player", std::string portal = {})
{
    return {process, false, std::move(name), "player-bin", std::move(portal)};
}

class StreamMatcherTable : public ::testing::TestWithParam<Case> { };

TEST_P(StreamMatcherTable, Decides)
{
    EXPECT_EQ(StreamMatcher(GetParam().target, invented()).match(GetParam().stream), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Rules, StreamMatcherTable,
    ::testing::Values(Case{"TheProcessItself", target(chosen), native(chosen), StreamMatch::processTree},
        Case{"AChildWithAnotherName", target(chosen), native(childOfApplication, "Helper"), StreamMatch::processTree},
        Case{"AClaimedProcess", target(chosen), claimed(childOfApplication), StreamMatch::processTree},
        Case{"ASecondInstanceOfTheSameName", target(chosen), native(secondInstance), StreamMatch::none},
        Case{"AClaimedSecondInstanceOfTheSameName", target(chosen), claimed(secondInstance), StreamMatch::none},
        Case{"TheParentOfTheTarget", target(childOfApplication), native(chosen), StreamMatch::none},
        Case{"AnUnknownProcessByName", target(chosen), claimed(0), StreamMatch::name},
        Case{"AnUnknownProcessOfAnotherName", target(chosen), StreamIdentity{0, false, "Other", "other-bin", ""}, StreamMatch::none},
        Case{"AnUnknownTargetByName", target(0), native(secondInstance), StreamMatch::name},
        Case{"AnUnknownTargetByBinary", target(0, "Other"), native(secondInstance, "Nobody"), StreamMatch::name},
        Case{"NamesInAnotherCase", target(0, "PLAYER", ""), native(secondInstance), StreamMatch::name},
        Case{"NoNamesAtAll", target(0, "", ""), StreamIdentity{}, StreamMatch::none},
        Case{"AProcessNumberOfANamespace", target(chosen), claimed(1), StreamMatch::name},
        Case{"AnotherProcessNumberOfANamespace", target(chosen), claimed(2), StreamMatch::name},
        Case{"AClaimedProcessThatDoesNotExist", target(chosen), claimed(4711), StreamMatch::name},
        Case{"ThePortalApplication", target(chosen, "", "", "org.example.Player"), native(secondInstance, "", "org.example.Player"),
            StreamMatch::portalApplication},
        Case{"ThePortalApplicationWithAProcessNumberOfANamespace", target(chosen, "", "", "org.example.Player"),
            claimed(secondInstance, "", "org.example.Player"), StreamMatch::portalApplication},
        Case{"AnotherPortalApplicationOfTheSameName", target(0, "Player", "player-bin", "org.example.Player"),
            claimed(0, "Player", "org.example.Other"), StreamMatch::none},
        Case{"AProcessNumberOfAPortalApplicationSaysNothing", target(secondInstance, "Nobody", "nothing"),
            claimed(secondInstance, "Player", "org.example.Player"), StreamMatch::none}),
    [](const auto& tested) { return std::string{tested.param.name}; });

TEST(StreamMatcher, OurOwnProcessIsLeftOutEvenInsideTheTree)
{
    EXPECT_EQ(StreamMatcher(target(chosen), invented()).match(native(ourselves)), StreamMatch::none);
    EXPECT_EQ(StreamMatcher(target(0), invented()).match(native(ourselves)), StreamMatch::none);
}

TEST(StreamMatcher, OurOwnProcessIsHeardWhenItIsNotExcluded)
{
    auto wanted = target(chosen);
    wanted.excludesCurrentProcess = false;
    EXPECT_EQ(StreamMatcher(wanted, invented()).match(native(ourselves)), StreamMatch::processTree);
}

TEST(StreamMatcher, AChildThatOwnsWindowsOfAnotherApplicationIsOutsideEvenWithTheSameName)
{
    auto wanted = target(chosen);
    wanted.ownsWindowsOfAnotherApplication = [](std::int32_t process) { return process == childOfApplication; };
    EXPECT_EQ(StreamMatcher(wanted, invented()).match(native(childOfApplication)), StreamMatch::none);
}

/// An application that was chosen by its sound, while the clock stood at 50.
class FollowedApplication : public ::testing::Test {
protected:
    static AudioTarget followed(std::int32_t process)
    {
        auto wanted = target(process);
        wanted.isFollowedByName = true;
        return wanted;
    }

    StreamMatch match(const StreamMatcher& matcher, std::int32_t process, std::string name = "Player") const
    {
        return matcher.match(native(process, std::move(name)));
    }

    ProcessTree::Reader reader = [this](std::int32_t process) {
        const auto found = records.find(process);
        return found == records.end() ? std::nullopt : std::optional{found->second};
    };
    std::map<std::int32_t, ProcessRecord> records{{1, {0, 0}}, {chosen, {1, 10}}, {secondInstance, {1, 30}}};
    static constexpr std::uint64_t now = 50;
    static constexpr std::int32_t restarted = 300;
};

TEST_F(FollowedApplication, IsItsProcessWhileThatRunsAndNoOtherOfItsName)
{
    const StreamMatcher matcher{followed(chosen), invented(reader, now)};
    EXPECT_EQ(match(matcher, chosen), StreamMatch::processTree);
    EXPECT_EQ(match(matcher, secondInstance), StreamMatch::none);
    records[restarted] = {1, 60};
    EXPECT_EQ(match(matcher, restarted), StreamMatch::none);
}

TEST_F(FollowedApplication, IsFoundAgainWhenItStartsAgain)
{
    const StreamMatcher matcher{followed(chosen), invented(reader, now)};
    records.erase(chosen);
    records[restarted] = {1, 60};
    EXPECT_EQ(match(matcher, restarted), StreamMatch::name);
    EXPECT_EQ(match(matcher, restarted, "Another"), StreamMatch::none);
}

TEST_F(FollowedApplication, IsNotTheOtherInstanceThatRanBesideIt)
{
    const StreamMatcher matcher{followed(chosen), invented(reader, now)};
    records.erase(chosen);
    EXPECT_EQ(match(matcher, secondInstance), StreamMatch::none);
}

TEST_F(FollowedApplication, ThatDoesNotRunWhenItIsWantedIsKnownByItsNameAndBinary)
{
    const StreamMatcher matcher{followed(0), invented(reader, now)};
    EXPECT_EQ(match(matcher, secondInstance), StreamMatch::name);
    EXPECT_EQ(match(matcher, secondInstance, "Another"), StreamMatch::none);
    EXPECT_EQ(StreamMatcher(followed(4711), invented(reader, now)).match(native(secondInstance)), StreamMatch::name);
}

TEST_F(FollowedApplication, IsNeverOurselves)
{
    EXPECT_EQ(match(StreamMatcher{followed(0), invented(reader, now)}, ourselves), StreamMatch::none);
}

}  // namespace
}  // namespace velmora::engine
