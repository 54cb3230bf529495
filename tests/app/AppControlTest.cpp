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
    /// Selects a window and runs what can run.
    void select(std::uint32_t id, std::optional<std::string> sound = std::nullopt)
    {
        control.selectWindow(id, std::move(sound),
            [this](auto result) {
                ++answers;
                answer = std::move(result);
            },
            {});
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
        .coordinator = *coordinator,
        .permissionManager = *permissionManager,
        .shortcutManager = *shortcutManager,
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
    EXPECT_THAT(content->requestedWindows, IsEmpty());
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

/// What a toggle or a stop was answered.
struct SaveAnswer {
    std::optional<Result<InstanceControl::SavedClip>> result;

    UniqueFunction<void(Result<InstanceControl::SavedClip>)> take()
    {
        return [this](Result<InstanceControl::SavedClip> told) { result = std::move(told); };
    }
    [[nodiscard]] std::filesystem::path clip() const { return result && *result && **result ? ***result : std::filesystem::path{}; }
    [[nodiscard]] std::string complaint() const { return result && !*result ? result->error().localizedDescription : "none"; }
};

class AppControlSavesTest : public AppControlTest {
protected:
    AppControlSavesTest()
    {
        addLiveWindow(window(1));
        select(1);
        writers->onCreate = [](auto& made) { made.holdsFinish = true; };
    }

    void startRecording()
    {
        clock->advance(std::chrono::seconds{1});
        SaveAnswer started;
        control.toggleRecording(started.take(), {});
        ASSERT_TRUE(started.result && *started.result) << started.complaint();
        EXPECT_EQ(started.clip(), "");
    }

    void finish(std::size_t number, const SaveAnswer& awaited)
    {
        executor->runAll();
        writers->writers.at(number)->answerFinish();
        executor->runUntil([&] { return awaited.result.has_value(); });
        executor->runAll();
    }

    [[nodiscard]] std::filesystem::path file(std::size_t number) const { return writers->writers.at(number)->outputURL; }
};

TEST_F(AppControlSavesTest, EveryToggleIsAnsweredWithItsOwnClip)
{
    SaveAnswer first;
    SaveAnswer second;
    startRecording();
    control.toggleRecording(first.take(), {});
    executor->runAll();
    startRecording();
    control.toggleRecording(second.take(), {});
    finish(1, second);
    EXPECT_EQ(second.clip(), file(1));
    EXPECT_FALSE(first.result);
    finish(0, first);
    EXPECT_EQ(first.clip(), file(0));
}

TEST_F(AppControlSavesTest, AStopIsNotAnsweredByTheClipBeforeItsOwnWhichIsKept)
{
    SaveAnswer first;
    SaveAnswer stopped;
    startRecording();
    control.toggleRecording(first.take(), {});
    executor->runAll();
    startRecording();
    control.stopCapture(stopped.take(), {});
    writers->writers.at(0)->answerFinish();
    executor->runUntil([&] { return first.result.has_value(); });
    executor->runAll();
    EXPECT_FALSE(stopped.result);
    finish(1, stopped);
    EXPECT_EQ(stopped.clip(), file(1));
    EXPECT_TRUE(std::filesystem::exists(file(1)));
    EXPECT_EQ(writers->writers.at(1)->cancelCount, 0);
    EXPECT_FALSE(coordinator->selectedWindow());
}

TEST_F(AppControlSavesTest, AToggleThatCannotStartSaysWhyAndAnswersNobodyElse)
{
    SaveAnswer first;
    startRecording();
    control.toggleRecording(first.take(), {});
    executor->runAll();
    writers->createError = Error{"POSIX", 28, "No space left on device", nullptr};
    SaveAnswer second;
    control.toggleRecording(second.take(), {});
    EXPECT_EQ(second.complaint(), "Failed to start recording: No space left on device");
    EXPECT_FALSE(first.result);
    finish(0, first);
    EXPECT_EQ(first.clip(), file(0));
}

TEST_F(AppControlSavesTest, WithoutAWindowAToggleSaysWhatToDo)
{
    coordinator->stopCapture();
    SaveAnswer answered;
    control.toggleRecording(answered.take(), {});
    EXPECT_EQ(answered.complaint(), "Cannot record: Please select a video window first.");
}

TEST_F(AppControlSavesTest, AStopWithoutARecordingIsAnsweredAtOnceAndWithoutAClip)
{
    SaveAnswer stopped;
    control.stopCapture(stopped.take(), {});
    ASSERT_TRUE(stopped.result && *stopped.result);
    EXPECT_EQ(stopped.clip(), "");
    EXPECT_FALSE(coordinator->selectedWindow());
}

TEST_F(AppControlSavesTest, OfTwoSelectionsTheOvertakenOneIsToldSo)
{
    addLiveWindow(window(2));
    std::optional<Result<std::string>> overtaken;
    control.selectWindow(2, std::nullopt, [&](auto result) { overtaken = std::move(result); }, {});
    select(1);
    ASSERT_TRUE(overtaken && !*overtaken);
    EXPECT_THAT(overtaken->error().localizedDescription, HasSubstr("Another window was chosen meanwhile"));
    ASSERT_TRUE(answer && *answer) << complaint();
}

TEST_F(AppControlSavesTest, ACaptureThatFailsIsAnsweredWithTheMessageOfThatFailure)
{
    streams->prepare = [](auto& stream) { stream.startError = Error{"Test", 1, "no pixels", nullptr}; };
    select(1);
    EXPECT_EQ(complaint(), "Failed to capture window: no pixels");
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
    EXPECT_THAT(content->requestedWindows, ElementsAre(1U));
    EXPECT_EQ(answers, 0);
    grant();
    EXPECT_EQ(answers, 0);
    EXPECT_FALSE(coordinator->selectedWindow());
    answerSound(SoundChoices{{player}});
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
    answerSound(SoundChoices{{player}});
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
