#include "app/AppControl.h"

#include "tests/support/CoordinatorFixture.h"

#include <gmock/gmock.h>

namespace velmora {
namespace {

using platform::SoundChoice;
using platform::SoundChoices;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Pair;

CapturedWindowInfo window(std::uint32_t id)
{
    return {.id = id, .title = "film", .appName = "Player", .bundleID = "player", .frame = {0, 0, 1280, 720}, .isOnScreen = true};
}

class AppControlTest : public testing::Test, protected test::CoordinatorFixture {
protected:
    /// Selects and runs what can run.
    void select(std::uint32_t id, std::optional<std::string> sound = std::nullopt)
    {
        control.selectWindow(id, std::move(sound), [this](auto result) {
            ++answers;
            answer = std::move(result);
        });
        executor->runAll();
    }

    /// The user grants window 7, whatever was asked for.
    void grant()
    {
        addLiveWindow(window(7));
        content->pendingRequest(std::optional{content->content.windows.back()});
        executor->runAll();
    }

    void answerSound(std::optional<SoundChoices> choices)
    {
        content->pendingSoundQuestion(std::move(choices));
        executor->runAll();
    }

    [[nodiscard]] std::string complaint() const { return answer && !*answer ? answer->error().localizedDescription : "none"; }

    const platform::AudibleApplication player{{"player-bin", "Player", 12}, "Film", true};
    AppControl control{AppControl::Services{
        .coordinator = coordinator,
        .permissionManager = permissionManager,
        .shortcutManager = shortcutManager,
        .windowService = std::make_shared<WindowSelectionService>(content, executor),
        .windows = nullptr,
        .userDefaults = nullptr,
        .showMenu = {},
        .quit = {},
    }};
    int answers = 0;
    std::optional<Result<std::string>> answer;
};

TEST_F(AppControlTest, AWindowThatNeedsNoRequestIsCapturedAtOnce)
{
    addLiveWindow(window(1));
    select(1);
    ASSERT_TRUE(answer && *answer) << complaint();
    EXPECT_EQ(coordinator->selectedWindow()->id, 1U);
    EXPECT_THAT(content->requests, IsEmpty());
    EXPECT_THAT(content->soundQuestions, IsEmpty());
}

TEST_F(AppControlTest, TheSoundOfSuchAWindowIsNotForTheCommandToChoose)
{
    addLiveWindow(window(1));
    select(1, "Player");
    EXPECT_THAT(complaint(), HasSubstr("--sound"));
    EXPECT_FALSE(coordinator->selectedWindow());
}

TEST_F(AppControlTest, AWindowThatIsNotListedIsAnError)
{
    select(1);
    EXPECT_THAT(complaint(), HasSubstr("no window 1"));
}

class AppControlRequestTest : public AppControlTest {
protected:
    AppControlRequestTest()
    {
        addLiveWindow(window(1));
        content->windowsToRequest = {1};
    }
};

TEST_F(AppControlRequestTest, TheGrantedWindowIsCapturedWithTheSoundThatWasWanted)
{
    select(1, "Player");
    EXPECT_THAT(content->requests, ElementsAre(1U));
    EXPECT_EQ(answers, 0);
    grant();
    EXPECT_EQ(answers, 0);
    EXPECT_FALSE(coordinator->selectedWindow());
    answerSound(SoundChoices{{player}, SoundChoices::Suggestion::onlyPlaying});
    ASSERT_TRUE(answer && *answer) << complaint();
    EXPECT_EQ(**answer, "");
    EXPECT_EQ(answers, 1);
    EXPECT_THAT(content->chosenSounds, ElementsAre(Pair(7U, SoundChoice{player.application})));
    EXPECT_EQ(coordinator->selectedWindow()->id, 7U);
}

TEST_F(AppControlRequestTest, AWindowWhoseSoundIsLeftOpenIsNotCapturedAndTheErrorSaysWhatToDo)
{
    select(1);
    grant();
    answerSound(SoundChoices{{player}, SoundChoices::Suggestion::onlyPlaying});
    EXPECT_THAT(complaint(), HasSubstr("--sound NAME"));
    EXPECT_THAT(complaint(), HasSubstr("Player"));
    EXPECT_FALSE(coordinator->selectedWindow());
    EXPECT_THAT(content->windowsGivenBack, ElementsAre(7U));
}

TEST_F(AppControlRequestTest, WhereNothingPlaysTheAnswerTellsThatThereIsNoSound)
{
    select(1);
    grant();
    answerSound(SoundChoices{});
    ASSERT_TRUE(answer && *answer) << complaint();
    EXPECT_THAT(**answer, HasSubstr("no sound"));
    EXPECT_TRUE(coordinator->selectedWindow());
}

TEST_F(AppControlRequestTest, ACancelledRequestIsAnErrorToTheCommandAndChangesNothing)
{
    select(1);
    content->pendingRequest(std::optional<platform::ShareableWindow>{});
    executor->runAll();
    EXPECT_EQ(complaint(), "No window was chosen.");
    EXPECT_TRUE(coordinator->state().is<CaptureState::WaitingForWindowSelection>());
}

TEST_F(AppControlRequestTest, ARequestThatFailsTellsWhy)
{
    select(1);
    content->pendingRequest(fail("Velmora.Test", 1, "No portal."));
    executor->runAll();
    EXPECT_EQ(complaint(), "No portal.");
    EXPECT_EQ(answers, 1);
}

TEST_F(AppControlRequestTest, AWindowThatCannotBeCapturedIsGivenBack)
{
    select(1, "none");
    grant();
    content->content.windows.clear();
    answerSound(SoundChoices{});
    EXPECT_NE(complaint(), "none");
    EXPECT_THAT(content->windowsGivenBack, ElementsAre(7U));
}

}  // namespace
}  // namespace velmora
