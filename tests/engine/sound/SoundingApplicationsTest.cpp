#include "engine/sound/SoundingApplications.h"

#include <gmock/gmock.h>
#include <map>

namespace velmora::engine {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::int32_t shell = 10;
constexpr std::int32_t browser = 100;
constexpr std::int32_t browsersAudio = 110;
constexpr std::int32_t secondBrowser = 200;
constexpr std::int32_t player = 300;
constexpr std::int32_t ownProcess = 900;

std::optional<ProcessRecord> readInventedParent(std::int32_t process)
{
    const std::map<std::int32_t, ProcessRecord> records{{1, {0, 0}}, {shell, {1, 5}}, {browser, {shell, 10}},
        {browsersAudio, {browser, 20}}, {secondBrowser, {shell, 30}}, {player, {shell, 40}}, {ownProcess, {shell, 50}},
        {ownProcess + 1, {ownProcess, 60}}};
    const auto found = records.find(process);
    return found == records.end() ? std::nullopt : std::optional{found->second};
}

std::string readInventedExecutable(std::int32_t process)
{
    const std::map<std::int32_t, std::string> programs{{shell, "/bin/shell"}, {browser, "/usr/bin/browser"},
        {browsersAudio, "/usr/bin/browser"}, {secondBrowser, "/usr/bin/browser"}, {player, "/usr/bin/player"}};
    const auto found = programs.find(process);
    return found == programs.end() ? std::string{} : found->second;
}

SoundStream stream(std::int32_t process, const std::string& name, const std::string& media = {}, bool isPlaying = true)
{
    return {{process, true, name, name + "-bin", {}}, media, isPlaying};
}

std::vector<SoundingApplication> listed(const std::vector<SoundStream>& streams)
{
    return soundingApplications(
        streams, {.record = readInventedParent, .executable = readInventedExecutable, .now = {}, .own = ownProcess});
}

SoundingApplication application(std::int32_t process, const std::string& name, const std::string& media = {}, bool isPlaying = true)
{
    return {{name, name + "-bin", {}}, process, media, isPlaying};
}

bool operator==(const SoundingApplication& a, const SoundingApplication& b)
{
    return a.identity == b.identity && a.processID == b.processID && a.nowPlaying == b.nowPlaying && a.isPlaying == b.isPlaying;
}

MATCHER_P(Is, expected, "")
{
    *result_listener << arg.displayName() << ", process " << arg.processID << ", " << arg.nowPlaying << (arg.isPlaying ? "" : ", paused");
    return arg == expected;
}

TEST(SoundingApplications, WithoutStreamsThereAreNone)
{
    EXPECT_THAT(listed({}), IsEmpty());
}

TEST(SoundingApplications, StreamsOfOneProcessAreOneApplication)
{
    EXPECT_THAT(listed({stream(player, "Player", "Film"), stream(player, "Player", "Alarm")}),
        ElementsAre(Is(application(player, "Player", "Film"))));
}

TEST(SoundingApplications, AHelperOfTheSameProgramBelongsToTheProcessThatItCameFrom)
{
    EXPECT_THAT(listed({stream(browsersAudio, "Browser"), stream(secondBrowser, "Browser")}),
        ElementsAre(Is(application(browser, "Browser")), Is(application(secondBrowser, "Browser"))));
}

TEST(SoundingApplications, WhatPlaysComesFirstAndIsToldOfBeforeWhatHasPaused)
{
    EXPECT_THAT(
        listed({stream(browser, "Browser", "Page", false), stream(player, "Player", "Old", false), stream(player, "Player", "New")}),
        ElementsAre(Is(application(player, "Player", "New")), Is(application(browser, "Browser", "Page", false))));
}

TEST(SoundingApplications, NamesOfStreamsThatSayNothingAreLeftOut)
{
    EXPECT_THAT(listed({stream(player, "Player", "Playback"), stream(browser, "Browser", "browser")}),
        ElementsAre(Is(application(browser, "Browser")), Is(application(player, "Player"))));
}

TEST(SoundingApplications, StreamsOfOnePortalApplicationAreOneWhateverTheirProcesses)
{
    auto first = stream(1, "Player");
    first.identity.processIDIsCertain = false;
    first.identity.portalApplicationID = "org.example.Player";
    auto second = stream(2, "Player helper");
    second.identity.processIDIsCertain = false;
    second.identity.portalApplicationID = "org.example.Player";
    const auto found = listed({first, second});
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].processID, 0);
    EXPECT_EQ(found[0].identity.portalApplicationID, "org.example.Player");
}

TEST(SoundingApplications, WithoutAProcessNameAndBinaryTellThemApart)
{
    EXPECT_EQ(listed({stream(0, "Player"), stream(0, "PLAYER"), stream(0, "Other")}).size(), 2U);
}

TEST(SoundingApplications, OurOwnStreamsAndThoseOfWhatWeStartedAreLeftOut)
{
    EXPECT_THAT(listed({stream(ownProcess, "Velmora"), stream(ownProcess + 1, "Preview")}), IsEmpty());
}

TEST(SoundingApplications, AStreamThatNothingIsKnownOfIsLeftOut)
{
    EXPECT_THAT(listed({SoundStream{}}), IsEmpty());
}

TEST(SoundingApplications, AnApplicationIsCalledByItsBinaryWhereItHasNoName)
{
    EXPECT_EQ((SoundingApplication{{"", "player-bin", ""}, 0, "", true}).displayName(), "player-bin");
    EXPECT_EQ((SoundingApplication{{"", "", "org.example.Player"}, 0, "", true}).displayName(), "org.example.Player");
}

TEST(ApplicationIdentity, BothNameAndBinaryCountWhereBothAreKnown)
{
    const ApplicationIdentity film{"Film", "python3", ""};
    EXPECT_TRUE(isSameApplication(film, {"film", "python3", ""}));
    EXPECT_FALSE(isSameApplication(film, {"Game", "python3", ""}));
    EXPECT_FALSE(isSameApplication(film, {"Film", "player", ""}));
    EXPECT_TRUE(isSameApplication(film, {"Film", "", ""}));
    EXPECT_TRUE(isSameApplication(film, {"", "python3", ""}));
    EXPECT_FALSE(isSameApplication({}, {}));
}

TEST(ApplicationIdentity, ThePortalsIDCountsAloneWhereBothHaveOne)
{
    EXPECT_TRUE(isSameApplication({"A", "a", "org.example.App"}, {"B", "b", "org.example.App"}));
    EXPECT_FALSE(isSameApplication({"A", "a", "org.example.App"}, {"A", "a", "org.example.Other"}));
    EXPECT_TRUE(isSameApplication({"A", "a", "org.example.App"}, {"A", "a", ""}));
}

TEST(TopmostOfProgram, StopsAtAnotherProgram)
{
    EXPECT_EQ(topmostOfProgram(browsersAudio, readInventedParent, readInventedExecutable), browser);
    EXPECT_EQ(topmostOfProgram(browser, readInventedParent, readInventedExecutable), browser);
    EXPECT_EQ(topmostOfProgram(4711, readInventedParent, readInventedExecutable), 4711);
}

}  // namespace
}  // namespace velmora::engine
