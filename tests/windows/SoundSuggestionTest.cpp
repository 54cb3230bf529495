#include "windows/SoundSuggestion.h"

#include <gmock/gmock.h>

namespace velmora {
namespace {

using platform::AudibleApplication;
using platform::SoundChoice;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Reason = SoundSuggestion::Reason;

/// One application of that name, playing, of which nothing more is known.
struct Known {
    std::string name;
    bool isPlaying = true;
    bool ownsWindow = false;
    bool wasChosen = false;
};

SoundSuggestion suggested(const std::vector<Known>& known, bool wasNoSoundChosen = false)
{
    platform::SoundChoices choices{.applications = {}, .wasNoSoundChosen = wasNoSoundChosen};
    for (const auto& each : known)
        choices.applications.push_back({{each.name + "-bin", each.name, 0}, {}, each.isPlaying, each.ownsWindow, each.wasChosen});
    return suggestSound(std::move(choices));
}

/// "Player" is suggested, "nobody" means no sound, and "" that the user has to choose.
std::string choice(const SoundSuggestion& suggestion)
{
    if (!suggestion.choice)
        return {};
    return suggestion.choice->application ? suggestion.choice->application->applicationName : "nobody";
}

std::vector<std::string> order(const SoundSuggestion& suggestion)
{
    std::vector<std::string> names;
    for (const auto& each : suggestion.applications)
        names.push_back(each.application.applicationName);
    return names;
}

TEST(SoundSuggestion, TheOnlyOneThatPlaysIsSuggestedBesideThoseThatHavePaused)
{
    const auto suggestion = suggested({{.name = "Player"}, {.name = "Paused", .isPlaying = false}});
    EXPECT_EQ(choice(suggestion), "Player");
    EXPECT_EQ(suggestion.reason, Reason::onlyPlaying);
}

TEST(SoundSuggestion, OfSeveralThatPlayNoneIsSuggestedAndTheirOrderStays)
{
    const auto suggestion = suggested({{.name = "Player"}, {.name = "Browser"}});
    EXPECT_EQ(choice(suggestion), "");
    EXPECT_EQ(suggestion.reason, Reason::none);
    EXPECT_THAT(order(suggestion), ElementsAre("Player", "Browser"));
}

TEST(SoundSuggestion, OfThoseThatHaveAllPausedNoneIsSuggested)
{
    EXPECT_EQ(choice(suggested({{.name = "Player", .isPlaying = false}})), "");
    EXPECT_EQ(suggested({{.name = "Player", .isPlaying = false}}).reason, Reason::none);
}

TEST(SoundSuggestion, WhereNothingSoundsThereIsNoSoundToChooseFrom)
{
    const auto suggestion = suggested({});
    EXPECT_EQ(choice(suggestion), "nobody");
    EXPECT_EQ(suggestion.reason, Reason::nothingSounds);
}

TEST(SoundSuggestion, TheWindowsOwnApplicationComesFirstWhoeverElsePlays)
{
    const auto suggestion = suggested({{.name = "Browser"}, {.name = "Game"}, {.name = "Player", .ownsWindow = true}});
    EXPECT_EQ(choice(suggestion), "Player");
    EXPECT_EQ(suggestion.reason, Reason::windowsOwn);
    EXPECT_THAT(order(suggestion), ElementsAre("Player", "Browser", "Game"));
}

TEST(SoundSuggestion, TheWindowsOwnApplicationIsSuggestedWhileItPauses)
{
    const auto suggestion = suggested({{.name = "Browser"}, {.name = "Player", .isPlaying = false, .ownsWindow = true}});
    EXPECT_EQ(choice(suggestion), "Player");
    EXPECT_EQ(suggestion.reason, Reason::windowsOwn);
}

TEST(SoundSuggestion, OfTwoInstancesOfTheWindowsApplicationItIsNotKnownWhichOneItIs)
{
    const auto suggestion = suggested({{.name = "Player", .ownsWindow = true}, {.name = "Player", .ownsWindow = true}});
    EXPECT_EQ(choice(suggestion), "");
    EXPECT_EQ(suggestion.reason, Reason::none);
}

TEST(SoundSuggestion, OfTwoInstancesOfTheWindowsApplicationTheOnlyOneThatPlaysIsNoMoreThanThat)
{
    const auto suggestion = suggested({{.name = "Player", .ownsWindow = true}, {.name = "Player", .isPlaying = false, .ownsWindow = true}});
    EXPECT_EQ(choice(suggestion), "Player");
    EXPECT_EQ(suggestion.reason, Reason::onlyPlaying) << "the user is asked";
}

TEST(SoundSuggestion, WhatWasChosenBeforeIsSuggestedFirstThoughAnotherPlays)
{
    const auto suggestion = suggested({{.name = "Browser"}, {.name = "Player", .isPlaying = false, .wasChosen = true}});
    EXPECT_EQ(choice(suggestion), "Player");
    EXPECT_EQ(suggestion.reason, Reason::asBefore);
    EXPECT_THAT(order(suggestion), ElementsAre("Player", "Browser"));
}

TEST(SoundSuggestion, WhatWasChosenBeforeCountsMoreThanWhoseTheWindowIs)
{
    const auto suggestion = suggested({{.name = "Player", .ownsWindow = true}, {.name = "Browser", .wasChosen = true}});
    EXPECT_EQ(choice(suggestion), "Browser");
    EXPECT_EQ(suggestion.reason, Reason::asBefore);
    EXPECT_THAT(order(suggestion), ElementsAre("Browser", "Player"));
}

TEST(SoundSuggestion, TheWindowsOwnApplicationThatWasChosenBeforeNeedsNoQuestion)
{
    const auto suggestion = suggested({{.name = "Browser"}, {.name = "Player", .ownsWindow = true, .wasChosen = true}});
    EXPECT_EQ(choice(suggestion), "Player");
    EXPECT_EQ(suggestion.reason, Reason::windowsOwn);
}

TEST(SoundSuggestion, OfTwoInstancesOfWhatWasChosenNeitherIsSuggestedAndBothComeFirst)
{
    const auto suggestion = suggested({{.name = "Browser"}, {.name = "Player", .wasChosen = true}, {.name = "Player", .wasChosen = true}});
    EXPECT_EQ(choice(suggestion), "");
    EXPECT_EQ(suggestion.reason, Reason::none);
    EXPECT_THAT(order(suggestion), ElementsAre("Player", "Player", "Browser"));
}

TEST(SoundSuggestion, OfTwoInstancesOfWhatWasChosenNotEvenTheOneThatPlaysIsSuggested)
{
    const auto suggestion = suggested({{.name = "Player", .wasChosen = true}, {.name = "Player", .isPlaying = false, .wasChosen = true}});
    EXPECT_EQ(choice(suggestion), "");
    EXPECT_EQ(suggestion.reason, Reason::none);
}

TEST(SoundSuggestion, OfTwoInstancesOfWhatWasChosenTheWindowsOwnIsTheOne)
{
    const auto suggestion = suggested({{.name = "Player", .wasChosen = true}, {.name = "Player", .ownsWindow = true, .wasChosen = true}});
    EXPECT_EQ(suggestion.reason, Reason::windowsOwn);
    EXPECT_TRUE(suggestion.applications.front().ownsWindow);
}

TEST(SoundSuggestion, NoSoundThatWasChosenBeforeIsSuggestedWhoeverPlays)
{
    const auto suggestion = suggested({{.name = "Player"}}, true);
    EXPECT_EQ(choice(suggestion), "nobody");
    EXPECT_EQ(suggestion.reason, Reason::asBefore);
    EXPECT_THAT(order(suggestion), ElementsAre("Player"));
}

TEST(SoundSuggestion, NoSoundThatWasChosenBeforeCountsMoreThanWhoseTheWindowIs)
{
    const auto suggestion = suggested({{.name = "Player", .ownsWindow = true}}, true);
    EXPECT_EQ(choice(suggestion), "nobody");
    EXPECT_EQ(suggestion.reason, Reason::asBefore);
}

TEST(SoundSuggestion, NoSoundThatWasChosenBeforeIsTheUsersWordAlsoWhereNothingSounds)
{
    EXPECT_EQ(suggested({}, true).reason, Reason::asBefore);
    EXPECT_EQ(choice(suggested({}, true)), "nobody");
}

TEST(SoundSuggestion, NothingThatIsOfferedIsLostOrInvented)
{
    const std::vector<Known> known{{.name = "A", .ownsWindow = true}, {.name = "B", .wasChosen = true}, {.name = "C", .isPlaying = false}};
    EXPECT_THAT(order(suggested(known)), ::testing::UnorderedElementsAre("A", "B", "C"));
    EXPECT_THAT(suggested({}).applications, IsEmpty());
}

}  // namespace
}  // namespace velmora
