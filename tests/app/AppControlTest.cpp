#include "app/AppControl.h"

#include "tests/support/CoordinatorFixture.h"

#include <fstream>
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
        .copy = [this](const auto& file) { copied.push_back(file); },
    }};
    std::vector<std::filesystem::path> copied;
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

TEST_F(AppControlTest, OnlyAFileIsCopied)
{
    const auto clip = folder.path() / "film.mp4";
    EXPECT_FALSE(control.copyFile(clip));
    EXPECT_FALSE(control.copyFile(folder.path()));
    EXPECT_THAT(copied, IsEmpty());
    std::ofstream{clip} << "film";
    EXPECT_TRUE(control.copyFile(clip));
    EXPECT_THAT(copied, ElementsAre(clip));
}

TEST_F(AppControlTest, AWindowThatIsNotListedIsAnError)
{
    select(1);
    EXPECT_THAT(complaint(), HasSubstr("no window 1"));
}

TEST_F(AppControlTest, AWindowIsFoundByItsApplicationAndSomeOfItsTitleWithoutRegardToCase)
{
    auto add = [this](std::uint32_t id, const char* application, const char* title, bool isOnScreen = true) {
        auto made = window(id);
        made.appName = application;
        made.bundleID = std::string{application} + "-id";
        made.title = title;
        addLiveWindow(made);
        content->content.windows.back().isOnScreen = isOnScreen;
    };
    add(1, "Éditor", "Notes", false);
    add(2, "Player", "A Film");
    add(3, "Éditor", "My notes");
    add(4, "Player", "Another film");
    const auto chosen = [this](WindowDescriptor descriptor) {
        answer.reset();
        control.selectMatchingWindow(std::move(descriptor), {}, [this](auto result) { answer = std::move(result); }, {});
        executor->runAll();
        return answer && *answer ? coordinator->selectedWindow()->id : 0;
    };
    EXPECT_EQ(chosen({.application = "player"}), 2U);
    EXPECT_EQ(chosen({.application = "PLAYER-ID", .title = "FILM"}), 2U);
    EXPECT_EQ(chosen({.title = "another"}), 4U);
    EXPECT_EQ(chosen({.application = "éditor", .title = "notes"}), 3U) << "the one on the screen";
    EXPECT_EQ(chosen({.application = "Play"}), 0U);
    ASSERT_TRUE(answer && !*answer);
    EXPECT_TRUE(InstanceControl::isNoSuchWindow(answer->error()));
    content->content.windows.resize(1);
    EXPECT_EQ(chosen({.title = "notes"}), 0U);
    EXPECT_FALSE(InstanceControl::isNoSuchWindow(answer->error())) << "it is there, but cannot be captured";
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

TEST_F(AppControlSavesTest, EventsAreToldInTheirOrderAndAClipOnceItsFileIsSafe)
{
    using Kind = InstanceEvent::Kind;
    std::vector<InstanceEvent> events;
    control.setEventObserver([&](const InstanceEvent& event) { events.push_back(event); });
    startRecording();
    SaveAnswer saved;
    control.toggleRecording(saved.take(), {});
    executor->runAll();
    EXPECT_EQ(
        events, (std::vector<InstanceEvent>{{.kind = Kind::stateChanged, .text = "recordingClip"}, {.kind = Kind::recordingStarted}}));
    finish(0, saved);
    SaveAnswer failed;
    startRecording();
    control.toggleRecording(failed.take(), {});
    executor->runAll();
    writers->writers.at(1)->fail({"POSIX", 28, "No space left on device", nullptr});
    finish(1, failed);
    const std::vector<InstanceEvent> expected{{.kind = Kind::stateChanged, .text = "recordingClip"}, {.kind = Kind::recordingStarted},
        {.kind = Kind::clipSaved, .clip = file(0)}, {.kind = Kind::stateChanged, .text = "capturing"},
        {.kind = Kind::stateChanged, .text = "recordingClip"}, {.kind = Kind::recordingStarted},
        {.kind = Kind::stateChanged, .text = "capturing"}, {.kind = Kind::captureFailed, .text = failed.complaint()}};
    EXPECT_EQ(events, expected);
    control.setEventObserver({});
    coordinator->stopCapture();
    EXPECT_EQ(events.size(), expected.size());
}

TEST_F(AppControlSavesTest, ARecordingThatFollowsOneThatIsStillBeingSavedIsAnEventToo)
{
    std::vector<InstanceEvent> events;
    startRecording();
    SaveAnswer first;
    control.toggleRecording(first.take(), {});
    executor->runAll();
    control.setEventObserver([&](const InstanceEvent& event) { events.push_back(event); });
    startRecording();
    EXPECT_EQ(events, (std::vector<InstanceEvent>{{.kind = InstanceEvent::Kind::recordingStarted}}));
    finish(0, first);
}

TEST_F(AppControlSavesTest, TheStatusSaysWhereClipsGoAndWhatAReplayHolds)
{
    EXPECT_EQ(control.status().value(QLatin1String("clipsFolder")).toString().toStdString(), library->effectiveOutputDirectory().native());
    EXPECT_FALSE(control.status().contains(QLatin1String("replay")));
    ASSERT_TRUE(control.setReplayDuration(10));
    const auto replay = control.status().value(QLatin1String("replay")).toObject();
    EXPECT_EQ(replay.value(QLatin1String("seconds")).toDouble(), 10);
    EXPECT_EQ(replay.value(QLatin1String("bytes")).toInteger(), 0);
    EXPECT_FALSE(control.setReplayDuration(25.1));
    ASSERT_TRUE(control.setReplayDuration(std::nullopt));
    EXPECT_FALSE(control.status().contains(QLatin1String("replay")));
}

class AppControlPauseTest : public testing::Test {
protected:
    AppControlPauseTest()
    {
        fixture.addLiveWindow(window(1));
        fixture.coordinator->selectWindowAndStartCapture(window(1));
        fixture.executor->runAll();
        control.setEventObserver([this](const InstanceEvent& event) { events.push_back(event.kind); });
    }

    static platform::PlatformServices servicesOf(RecordingObserver& observer, std::shared_ptr<platform::AssetWriterFactory> writers)
    {
        platform::PlatformServices services;
        services.captureStreams = std::make_shared<fake::FakeCaptureStreams>();
        services.compressionSessions = std::make_shared<fake::FakeCompressionSessions>();
        services.assetWriters = std::move(writers);
        return observer.observed(std::move(services));
    }

    /// What waits in the queue of the fixture's main thread holds what the fixture is made of.
    ~AppControlPauseTest() override
    {
        fixture.coordinator->stopCapture();
        fixture.captureService->drain();
        runAll();
    }

    void runAll()
    {
        executor->runAll();
        fixture.executor->runAll();
    }

    std::string said(std::optional<bool> isPaused)
    {
        const auto answer = control.setPaused(isPaused);
        return answer ? *answer : "refused: " + answer.error().localizedDescription;
    }

    const std::shared_ptr<fake::ManualExecutor> executor = std::make_shared<fake::ManualExecutor>();
    const std::shared_ptr<RecordingObserver> observer = RecordingObserver::create(executor);
    const std::shared_ptr<fake::FakeAssetWriters> writers = std::make_shared<fake::FakeAssetWriters>();
    test::CoordinatorFixture fixture{test::CoordinatorFixture::Parts{.assetWriters = servicesOf(*observer, writers).assetWriters}};
    AppControl control{AppControl::Services{
        .coordinator = *fixture.coordinator,
        .permissionManager = *fixture.permissionManager,
        .shortcutManager = *fixture.shortcutManager,
        .windowService = std::make_shared<WindowSelectionService>(fixture.content, fixture.executor),
        .windows = nullptr,
        .userDefaults = nullptr,
        .showMenu = {},
        .quit = {},
        .recordingObserver = observer,
    }};
    std::vector<InstanceEvent::Kind> events;
};

TEST_F(AppControlPauseTest, APauseIsAnsweredInASentenceAndIsAnEventAndInTheStatusButNoStateOfItsOwn)
{
    using Kind = InstanceEvent::Kind;
    EXPECT_EQ(said(true), "refused: Nothing is being recorded.");
    EXPECT_EQ(said(false), "refused: Nothing is being recorded.");
    ASSERT_TRUE(fixture.coordinator->startRecording());
    runAll();
    const auto state = fixture.coordinator->state();
    events.clear();
    EXPECT_FALSE(control.status().value(QLatin1String("isPaused")).toBool(true));
    EXPECT_EQ(said(false), "The recording is not paused.");
    EXPECT_EQ(said(true), "The recording is paused.");
    EXPECT_EQ(said(true), "The recording is paused already.");
    EXPECT_TRUE(control.status().value(QLatin1String("isPaused")).toBool());
    EXPECT_TRUE(control.status().value(QLatin1String("isRecording")).toBool());
    EXPECT_EQ(fixture.coordinator->state(), state);
    EXPECT_EQ(said(std::nullopt), "The recording goes on.");
    EXPECT_EQ(said(std::nullopt), "The recording is paused.");
    EXPECT_THAT(events, ElementsAre(Kind::recordingPaused, Kind::recordingResumed, Kind::recordingPaused));
    EXPECT_EQ(writers->writers.back()->pauses.size(), 2U);
}

TEST_F(AppControlPauseTest, ARecordingWhoseEndWasAskedForIsNoLongerPaused)
{
    writers->onCreate = [](auto& made) { made.holdsFinish = true; };
    ASSERT_TRUE(fixture.coordinator->startRecording());
    runAll();
    ASSERT_EQ(said(true), "The recording is paused.");
    bool isSaved = false;
    fixture.coordinator->stopRecording([&](const auto&) { isSaved = true; });
    fixture.executor->runAll();
    EXPECT_EQ(said(false), "refused: Nothing is being recorded.");
    EXPECT_FALSE(control.status().contains(QLatin1String("isPaused")));
    writers->writers.back()->answerFinish();
    fixture.executor->runUntil([&] { return isSaved; });
}

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
