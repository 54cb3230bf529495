#include "windows/SoundDecision.h"

#include "platform/fake/FakeShareableContent.h"
#include "platform/fake/ManualExecutor.h"
#include "windows/WindowSelectionService.h"

#include <gmock/gmock.h>

namespace velmora {
namespace {

using platform::AudibleApplication;
using platform::SoundChoice;
using platform::SoundChoices;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Pair;

AudibleApplication application(const std::string& name, std::int32_t process = 0)
{
    return {{"bundle." + name, name, process}, {}, true};
}

/// It was chosen for the window before.
AudibleApplication chosenBefore(AudibleApplication application)
{
    application.wasChosen = true;
    return application;
}

/// The desktop tells that the window is its.
AudibleApplication owner(AudibleApplication application)
{
    application.ownsWindow = true;
    return application;
}

SoundSuggestion offer(std::vector<AudibleApplication> applications, bool wasNoSoundChosen = false)
{
    return suggestSound({std::move(applications), wasNoSoundChosen});
}

SoundChoice soundOf(const std::string& name, std::int32_t process = 0)
{
    return {application(name, process).application};
}

std::string complaint(const SoundSuggestion& suggestion, const std::optional<std::string>& wanted)
{
    const auto decided = decideSound(suggestion, wanted);
    EXPECT_FALSE(decided);
    return decided ? std::string{} : decided.error().localizedDescription;
}

TEST(SoundDecision, WhatIsWantedIsTakenByNameInAnyCaseByBundleOrByProcess)
{
    const auto suggestion = offer({chosenBefore(application("Player", 12)), application("Browser", 34)});
    for (const auto* wanted : {"Browser", "browser", "bundle.browser", "34"}) {
        const auto decided = decideSound(suggestion, wanted);
        ASSERT_TRUE(decided) << wanted;
        EXPECT_EQ(decided->choice, soundOf("Browser", 34)) << wanted;
    }
}

TEST(SoundDecision, NoneIsNoSoundAlsoWhereThereIsNothingToChoose)
{
    EXPECT_EQ(decideSound(offer({application("Player")}), "none")->choice, SoundChoice{});
    EXPECT_EQ(decideSound(std::nullopt, "none")->choice, SoundChoice{});
}

TEST(SoundDecision, WhatWasChosenBeforeHoldsUntilSomethingElseIsWanted)
{
    EXPECT_EQ(decideSound(offer({application("Browser"), chosenBefore(application("Player"))}), {})->choice, soundOf("Player"));
    EXPECT_EQ(decideSound(offer({application("Player")}, true), {})->choice, SoundChoice{});
}

TEST(SoundDecision, TheWindowsOwnApplicationNeedsNoWord)
{
    EXPECT_EQ(decideSound(offer({application("Browser"), owner(application("Player"))}), {})->choice, soundOf("Player"));
}

TEST(SoundDecision, NothingIsTakenUnaskedNotEvenTheOnlyOneThatPlays)
{
    EXPECT_THAT(complaint(offer({application("Player")}), {}), AllOf(HasSubstr("--sound NAME"), HasSubstr("Player")));
    EXPECT_THAT(complaint(offer({application("Player"), application("Browser")}), {}), HasSubstr("Player, Browser"));
}

TEST(SoundDecision, WhereNothingPlaysTheWindowHasNoSoundAndTheUserIsTold)
{
    const auto decided = decideSound(offer({}), {});
    ASSERT_TRUE(decided);
    EXPECT_FALSE(decided->choice);
    EXPECT_THAT(decided->remark, HasSubstr("no sound"));
}

TEST(SoundDecision, WithoutASoundServerThereIsNothingToSay)
{
    const auto decided = decideSound(std::nullopt, {});
    ASSERT_TRUE(decided);
    EXPECT_FALSE(decided->choice);
    EXPECT_EQ(decided->remark, "");
    EXPECT_FALSE(decideSound(std::nullopt, "Player"));
}

TEST(SoundDecision, AnApplicationThatIsNotThereIsAnErrorThatSaysWhichAre)
{
    EXPECT_THAT(complaint(offer({application("Player")}), "Plaier"), AllOf(HasSubstr("Plaier"), HasSubstr("Player")));
    EXPECT_THAT(complaint(offer({}), "Player"), HasSubstr("Player"));
}

TEST(SoundDecision, InstancesOfOneNameAreToldApartByTheirProcesses)
{
    const auto choices = offer({application("Player", 12), application("Player", 34)});
    EXPECT_THAT(complaint(choices, "Player"), AllOf(HasSubstr("12"), HasSubstr("34")));
    EXPECT_EQ(decideSound(choices, "12")->choice, soundOf("Player", 12));
}

TEST(SoundDecision, AProcessThatIsNotKnownIsNobodysNumber)
{
    EXPECT_THAT(complaint(offer({application("Player", 0)}), "0"), HasSubstr("called 0"));
    EXPECT_THAT(complaint(offer({application("Player", -1)}), "-1"), HasSubstr("called -1"));
}

TEST(SoundDecision, SaysWhatIsMissingInWholeSentences)
{
    const auto one = offer({application("Player", 12)});
    const auto twins = offer({application("Player", 12), application("Player", 34)});
    EXPECT_EQ(complaint(one, {}),
        "The desktop does not say whose window this is. Choose whose sound goes with it, with --sound NAME or --sound none. Available: "
        "Player.");
    EXPECT_EQ(complaint(twins, "Player"),
        "Several applications are called Player. Give --sound the number of a process: Player (process 12), Player (process 34).");
    EXPECT_EQ(complaint(one, "Browser"), "No application called Browser is playing. Available: Player.");
    EXPECT_EQ(complaint(offer({}), "Browser"), "No application called Browser is playing, nor is any other.");
    EXPECT_EQ(decideSound({}, "Browser").error().localizedDescription, "No sound server answers: there is no sound to choose.");
    EXPECT_EQ(decideSound(offer({}), {})->remark,
        "No application is playing: the window has no sound. Start one and choose it with --sound NAME.");
}

TEST(SoundDecision, EachReasonHasItsCode)
{
    const auto twins = offer({application("Player", 12), application("Player", 34)});
    EXPECT_EQ(decideSound(twins, {}).error().code, 1);
    EXPECT_EQ(decideSound(twins, "Browser").error().code, 2);
    EXPECT_EQ(decideSound(offer({}), "Browser").error().code, 2);
    EXPECT_EQ(decideSound({}, "Browser").error().code, 2);
    EXPECT_EQ(decideSound(twins, "Player").error().code, 3);
}

class RequestWindowWithSoundTest : public testing::Test {
protected:
    void request(std::optional<std::string> sound)
    {
        requestWindowWithSound(service, 1, std::move(sound), [this](auto result) { answer = std::move(result); });
    }

    void grant()
    {
        content->pendingRequest(std::optional{platform::ShareableWindow{.windowID = 7,
            .title = "granted",
            .frame = {0, 0, 640, 480},
            .windowLayer = 0,
            .isOnScreen = true,
            .owningApplication = platform::RunningApplication{{}, "Shared window", 0}}});
    }

    std::shared_ptr<fake::FakeShareableContent> content = std::make_shared<fake::FakeShareableContent>();
    std::shared_ptr<fake::ManualExecutor> executor = std::make_shared<fake::ManualExecutor>();
    WindowSelectionService service{content, executor};
    std::optional<Result<std::optional<RequestedWindow>>> answer;
};

TEST_F(RequestWindowWithSoundTest, TheSoundOfTheGrantedWindowIsChosenBeforeItIsHandedOut)
{
    request("Browser");
    grant();
    EXPECT_FALSE(answer);
    EXPECT_THAT(content->soundQuestions, ElementsAre(7U));
    content->pendingSoundQuestion(SoundChoices{{application("Player"), application("Browser")}});
    EXPECT_THAT(content->chosenSounds, ElementsAre(Pair(7U, soundOf("Browser"))));
    ASSERT_TRUE(answer && *answer && **answer);
    EXPECT_EQ((**answer)->window.id, 7U);
    EXPECT_THAT(content->windowsGivenBack, IsEmpty());
}

TEST_F(RequestWindowWithSoundTest, AWindowWhoseSoundIsNotDecidedIsGivenBack)
{
    request({});
    grant();
    content->pendingSoundQuestion(SoundChoices{{application("Player")}});
    ASSERT_TRUE(answer);
    EXPECT_FALSE(*answer);
    EXPECT_THAT(content->chosenSounds, IsEmpty());
    EXPECT_THAT(content->windowsGivenBack, ElementsAre(7U));
}

TEST_F(RequestWindowWithSoundTest, WhatWasNotChosenIsNotRememberedAsNoSound)
{
    request({});
    grant();
    content->pendingSoundQuestion(SoundChoices{});
    ASSERT_TRUE(answer && *answer && **answer);
    EXPECT_NE((**answer)->remark, "");
    EXPECT_THAT(content->chosenSounds, IsEmpty());
}

TEST_F(RequestWindowWithSoundTest, ACancelledRequestAsksForNoSound)
{
    request({});
    content->pendingRequest(std::optional<platform::ShareableWindow>{});
    ASSERT_TRUE(answer && *answer);
    EXPECT_FALSE(**answer);
    EXPECT_THAT(content->soundQuestions, IsEmpty());
}

TEST_F(RequestWindowWithSoundTest, ARequestThatFailsIsAnError)
{
    request({});
    content->pendingRequest(fail("Velmora.Test", 1, "No portal."));
    ASSERT_TRUE(answer);
    ASSERT_FALSE(*answer);
    EXPECT_EQ(answer->error().localizedDescription, "No portal.");
}

}  // namespace
}  // namespace velmora
