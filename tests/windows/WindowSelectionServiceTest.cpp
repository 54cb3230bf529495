#include "windows/WindowSelectionService.h"

#include "platform/fake/FakeShareableContent.h"
#include "platform/fake/ManualExecutor.h"
#include "tests/support/CapturedLog.h"

#include <QDateTime>
#include <QLocale>

#include <chrono>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

namespace velmora {
namespace {

using platform::ShareableWindow;

ShareableWindow makeWindow(std::uint32_t id, std::string app, std::optional<std::string> title, double width = 640, double height = 480)
{
    return {.windowID = id,
        .title = std::move(title),
        .frame = {10, 20, width, height},
        .windowLayer = 0,
        .isOnScreen = true,
        .owningApplication = platform::RunningApplication{app, app, 4242}};
}

class WindowSelectionServiceTest : public testing::Test {
protected:
    std::vector<CapturedWindowInfo> refresh(std::vector<ShareableWindow> windows)
    {
        content->content.windows = std::move(windows);
        service.refreshWindows();
        executor->runAll();
        return service.availableWindows();
    }

    static std::vector<std::uint32_t> ids(const std::vector<CapturedWindowInfo>& windows)
    {
        std::vector<std::uint32_t> result;
        for (const auto& window : windows)
            result.push_back(window.id);
        return result;
    }

    using Ids = std::vector<std::uint32_t>;

    test::CapturedLog log;
    std::shared_ptr<fake::FakeShareableContent> content = std::make_shared<fake::FakeShareableContent>();
    std::shared_ptr<fake::ManualExecutor> executor = std::make_shared<fake::ManualExecutor>();
    WindowSelectionService service{content, executor};
};

TEST_F(WindowSelectionServiceTest, BeginsEmptyAndIdle)
{
    EXPECT_TRUE(service.availableWindows().empty());
    EXPECT_FALSE(service.isLoading());
    EXPECT_FALSE(service.lastError());
    EXPECT_TRUE(content->queries.empty());
}

TEST_F(WindowSelectionServiceTest, AWindowOf99Point9PointsIsNotListedButOneOfExactly100By100Is)
{
    EXPECT_EQ(
        ids(refresh({makeWindow(1, "A", "narrow", 99.9, 500), makeWindow(2, "A", "low", 500, 99.9), makeWindow(3, "A", "fits", 100, 100)})),
        Ids{3});
}

TEST_F(WindowSelectionServiceTest, ATitleOfOnlySpacesAndLineBreaksCountsAsNone)
{
    const auto windows = refresh({makeWindow(7, "Player", " \t\r\n "), makeWindow(8, "Zebra", "titled")});
    ASSERT_EQ(ids(windows), (Ids{8, 7}));
    EXPECT_EQ(windows[1].title, "");
    EXPECT_EQ(windows[1].displayName(), "Player (Window #7)");
}

TEST_F(WindowSelectionServiceTest, ATitleIsTrimmedAtBothEnds)
{
    EXPECT_EQ(refresh({makeWindow(1, "A", "\n  Two words \xE2\x80\xA8")})[0].title, "Two words");
}

TEST_F(WindowSelectionServiceTest, AnApplicationWithAnEmptyNameIsListedAsApplication)
{
    auto window = makeWindow(1, "", "Titled");
    window.owningApplication->bundleIdentifier = "org.example";
    const auto windows = refresh({window});
    ASSERT_EQ(windows.size(), 1U);
    EXPECT_EQ(windows[0].appName, "Application");
    EXPECT_EQ(windows[0].bundleID, "org.example");
}

TEST_F(WindowSelectionServiceTest, NamesThatDifferOnlyInCaseKeepThePlatformsOrder)
{
    EXPECT_EQ(ids(refresh({makeWindow(1, "safari", "z"), makeWindow(2, "Safari", "a"), makeWindow(3, "SAFARI", "m")})), (Ids{1, 2, 3}));
}

// With this many, a sort that is not stable changes the order of equal ones.
TEST_F(WindowSelectionServiceTest, ManyWindowsThatTieKeepThePlatformsOrder)
{
    std::vector<ShareableWindow> windows;
    Ids expected;
    Ids untitled;
    for (std::uint32_t id = 1; id <= 60; ++id) {
        const bool isTitled = id % 3 != 0;
        windows.push_back(
            makeWindow(id, id % 2 == 0 ? "Safari" : "safari", isTitled ? std::optional{std::to_string(100 - id)} : std::nullopt));
        (isTitled ? expected : untitled).push_back(id);
    }
    expected.insert(expected.end(), untitled.begin(), untitled.end());
    EXPECT_EQ(ids(refresh(windows)), expected);
}

TEST_F(WindowSelectionServiceTest, BraveSortsBeforeChromeWhateverTheCase)
{
    EXPECT_EQ(ids(refresh({makeWindow(1, "chrome", "a"), makeWindow(2, "Brave", "b")})), (Ids{2, 1}));
    EXPECT_EQ(ids(refresh({makeWindow(1, "Chrome", "a"), makeWindow(2, "brave", "b")})), (Ids{2, 1}));
}

TEST_F(WindowSelectionServiceTest, AccentedNamesSortBesideTheirPlainOnes)
{
    EXPECT_EQ(ids(refresh({makeWindow(1, "Zed", "a"), makeWindow(2, "Éditeur", "b"), makeWindow(3, "Echo", "c")})), (Ids{3, 2, 1}));
}

TEST_F(WindowSelectionServiceTest, UntitledWindowsComeAfterAllTitledOnes)
{
    EXPECT_EQ(ids(refresh(
                  {makeWindow(1, "A", std::nullopt), makeWindow(2, "Z", "titled"), makeWindow(3, "B", ""), makeWindow(4, "M", "titled")})),
        (Ids{4, 2, 1, 3}));
}

TEST_F(WindowSelectionServiceTest, OurOwnWindowsNeverAppearWhateverTheirLayerOrSize)
{
    auto own = makeWindow(1, "Velmora", "Picker", 2000, 2000);
    own.owningApplication->processID = static_cast<std::int32_t>(getpid());
    auto overlay = own;
    overlay.windowLayer = 25;
    EXPECT_TRUE(refresh({own, overlay}).empty());
}

TEST_F(WindowSelectionServiceTest, OnlyLayerZeroIsListed)
{
    auto above = makeWindow(1, "Dock", "Dock");
    above.windowLayer = 20;
    auto below = makeWindow(2, "Desktop", "Desktop");
    below.windowLayer = -1;
    EXPECT_TRUE(refresh({above, below}).empty());
}

TEST_F(WindowSelectionServiceTest, AWindowWithoutAnApplicationIsNotListed)
{
    auto orphan = makeWindow(1, "A", "titled");
    orphan.owningApplication.reset();
    EXPECT_TRUE(refresh({orphan}).empty());
}

TEST_F(WindowSelectionServiceTest, AWindowThatIsStillToBeChosenIsNamedByWhatToDoAndNeedsNeitherSizeNorApplication)
{
    ShareableWindow chooser;
    chooser.windowID = 1;
    chooser.isChoice = true;
    const auto windows = refresh({chooser});
    ASSERT_EQ(ids(windows), Ids{1});
    EXPECT_EQ(windows[0].displayName(), "Choose a window… — in this desktop's own dialog");
}

TEST_F(WindowSelectionServiceTest, AWindowOfWhichTheDesktopTellsNothingIsNamedByWhenItWasChosen)
{
    // Noon of the last day of 2025, wherever the test runs.
    const QDateTime noon{QDate{2025, 12, 31}, QTime{12, 0}};
    ShareableWindow chosen;
    chosen.windowID = 2;
    chosen.chosenAt = std::chrono::sys_seconds{std::chrono::seconds{noon.toSecsSinceEpoch()}};
    chosen.frame = {0, 0, 640, 480};
    const auto windows = refresh({chosen});
    ASSERT_EQ(ids(windows), Ids{2});
    EXPECT_EQ(windows[0].appName, "Shared window");
    EXPECT_EQ(windows[0].title, "chosen " + QLocale{}.toString(noon, QLocale::ShortFormat).toStdString());
    EXPECT_NE(windows[0].title.find("31"), std::string::npos) << windows[0].title;
}

TEST_F(WindowSelectionServiceTest, OnADesktopWithoutRequestsNothingNeedsOneAndGivingBackIsNothing)
{
    content->windowsToRequest = {1};
    EXPECT_TRUE(service.needsRequest(1));
    EXPECT_FALSE(service.needsRequest(2));
    content->grantsWindows = false;
    EXPECT_FALSE(service.needsRequest(1));
    service.giveBackWindow(1);
    EXPECT_TRUE(content->windowsGivenBack.empty());
}

TEST_F(WindowSelectionServiceTest, EveryEligibleWindowIsListedOnceUnderItsOwnNumber)
{
    EXPECT_EQ(ids(refresh({makeWindow(5, "A", "same"), makeWindow(6, "A", "same")})), (Ids{5, 6}));
}

TEST_F(WindowSelectionServiceTest, TheFrameAndTheOnScreenFlagAreThoseOfThePlatform)
{
    auto hidden = makeWindow(1, "A", "t", 333.5, 222.25);
    hidden.isOnScreen = false;
    const auto windows = refresh({hidden});
    ASSERT_EQ(windows.size(), 1U);
    EXPECT_EQ(windows[0].frame, (Rect{10, 20, 333.5, 222.25}));
    EXPECT_FALSE(windows[0].isOnScreen);
}

TEST_F(WindowSelectionServiceTest, AsksForWindowsThatAreOffScreenTooButNotForTheDesktop)
{
    refresh({});
    EXPECT_EQ(content->queries, (std::vector<fake::FakeShareableContent::Query>{{true, false}}));
}

TEST_F(WindowSelectionServiceTest, AMinimisedWindowIsListedButCannotBeFound)
{
    auto minimised = makeWindow(9, "A", "t");
    minimised.isOnScreen = false;
    EXPECT_EQ(ids(refresh({minimised})), Ids{9});

    bool called = false;
    WindowSelectionService::findSCWindow(*content, *executor, 9, [&](Result<std::optional<ShareableWindow>> found) {
        called = true;
        ASSERT_TRUE(found.has_value());
        EXPECT_FALSE(found->has_value());
    });
    executor->runAll();
    EXPECT_TRUE(called);
    EXPECT_EQ(content->queries.back(), (fake::FakeShareableContent::Query{true, true}));
}

TEST_F(WindowSelectionServiceTest, FindsTheFirstWindowOfANumber)
{
    content->content.windows = {makeWindow(1, "A", "one"), makeWindow(2, "A", "first"), makeWindow(2, "A", "second")};
    std::optional<std::string> title;
    WindowSelectionService::findSCWindow(
        *content, *executor, 2, [&](Result<std::optional<ShareableWindow>> found) { title = found.value().value().title; });
    executor->runAll();
    EXPECT_EQ(title, "first");
}

TEST_F(WindowSelectionServiceTest, FindingPassesTheQuerysErrorOnUnchanged)
{
    content->error = Error{"Desktop", 42, "The display server is gone.", nullptr};
    std::optional<Error> error;
    WindowSelectionService::findSCWindow(
        *content, *executor, 2, [&](Result<std::optional<ShareableWindow>> found) { error = found.error(); });
    EXPECT_FALSE(error) << "the completion belongs to the main thread";
    executor->runAll();
    EXPECT_EQ(error, content->error);
}

TEST_F(WindowSelectionServiceTest, AFailedQueryEmptiesTheListAndTheNextSuccessClearsTheMessage)
{
    refresh({makeWindow(1, "A", "t")});
    content->error = Error{"Desktop", 1, "No permission.", nullptr};
    service.refreshWindows();
    executor->runAll();
    EXPECT_TRUE(service.availableWindows().empty());
    EXPECT_FALSE(service.isLoading());
    EXPECT_EQ(service.lastError(), "No permission.");
    EXPECT_EQ(log->count("Failed to query shareable content: <private>"), 1U);

    content->error.reset();
    EXPECT_EQ(refresh({makeWindow(1, "A", "t")}).size(), 1U);
    EXPECT_FALSE(service.lastError());
}

TEST_F(WindowSelectionServiceTest, ASecondQueryThatFailsTellsItsOwnError)
{
    for (const auto* reason : {"No permission.", "The display server is gone."}) {
        content->error = Error{"Desktop", 1, reason, nullptr};
        service.refreshWindows();
        EXPECT_FALSE(service.lastError()) << "a new query has begun";
        executor->runAll();
        EXPECT_EQ(service.lastError(), reason);
    }
}

TEST_F(WindowSelectionServiceTest, IsLoadingFromTheCallUntilTheResultIsPublished)
{
    content->holdsAnswers = true;
    content->content.windows = {makeWindow(1, "A", "t")};
    service.refreshWindows();
    EXPECT_TRUE(service.isLoading());
    content->answerNext();
    EXPECT_TRUE(service.isLoading());
    executor->runAll();
    EXPECT_FALSE(service.isLoading());
    EXPECT_EQ(service.availableWindows().size(), 1U);
}

TEST_F(WindowSelectionServiceTest, ObserversHearOfAChangeBeforeItTakesEffect)
{
    std::vector<std::size_t> sizesBefore;
    QObject::connect(
        &service, &WindowSelectionService::objectWillChange, [&] { sizesBefore.push_back(service.availableWindows().size()); });
    std::size_t sizeAfter = 0;
    QObject::connect(&service, &WindowSelectionService::availableWindowsChanged, [&] { sizeAfter = service.availableWindows().size(); });
    refresh({makeWindow(1, "A", "t")});
    EXPECT_EQ(sizesBefore, (std::vector<std::size_t>{0, 0, 0, 1}));  // loading, error, windows, loading
    EXPECT_EQ(sizeAfter, 1U);
}

TEST_F(WindowSelectionServiceTest, ObserversHearOfLoadingAndOfAnErrorBeforeTheyTakeEffect)
{
    using Seen = std::pair<bool, bool>;
    const auto now = [&] { return Seen{service.isLoading(), service.lastError().has_value()}; };
    std::vector<Seen> before;
    std::vector<Seen> after;
    QObject::connect(&service, &WindowSelectionService::objectWillChange, [&] { before.push_back(now()); });
    QObject::connect(&service, &WindowSelectionService::isLoadingChanged, [&] { after.push_back(now()); });
    QObject::connect(&service, &WindowSelectionService::lastErrorChanged, [&] { after.push_back(now()); });
    content->error = Error{"Desktop", 1, "No permission.", nullptr};
    refresh({});
    // Loading, no error; then the error, no windows, no longer loading.
    EXPECT_EQ(before, (std::vector<Seen>{{false, false}, {true, false}, {true, false}, {true, true}, {true, true}}));
    EXPECT_EQ(after, (std::vector<Seen>{{true, false}, {true, false}, {true, true}, {false, true}}));
}

TEST_F(WindowSelectionServiceTest, OfOverlappingRefreshesTheLaterCompletionWins)
{
    content->holdsAnswers = true;
    service.refreshWindows();
    service.refreshWindows();
    content->content.windows = {makeWindow(2, "second", "t")};
    content->answerLast();
    content->content.windows = {makeWindow(1, "first", "t")};
    content->answerLast();
    executor->runAll();
    EXPECT_EQ(ids(service.availableWindows()), Ids{1});
}

TEST_F(WindowSelectionServiceTest, AResultThatComesAfterTheServiceIsGoneIsLost)
{
    content->holdsAnswers = true;
    auto shortLived = std::make_unique<WindowSelectionService>(content, executor);
    bool called = false;
    shortLived->refreshWindows([&] { called = true; });
    shortLived.reset();
    content->answerNext();
    executor->runAll();
    EXPECT_FALSE(called);
}

TEST_F(WindowSelectionServiceTest, IconsAreLookedForInTheOrderOfTheListAndToldOnTheMainThread)
{
    refresh({makeWindow(1, "B", "b"), makeWindow(2, "A", "a")});
    std::vector<std::uint32_t> found;
    service.findIcons(48, [&](std::uint32_t id, const platform::ApplicationIcon& icon) {
        found.push_back(id);
        EXPECT_EQ(icon.rgba, (std::vector<std::uint8_t>{1, 2, 3, 4}));
    });
    ASSERT_EQ(content->iconQuestions.size(), 1U);
    auto& question = content->iconQuestions.front();
    EXPECT_EQ(question.windowIDs, (Ids{2, 1}));
    EXPECT_EQ(question.side, 48);
    EXPECT_TRUE(question.found(1, {1, {1, 2, 3, 4}}));
    EXPECT_TRUE(found.empty()) << "not on the thread that found it";
    executor->runAll();
    EXPECT_EQ(found, Ids{1});
}

TEST_F(WindowSelectionServiceTest, AnIconThatComesWithTheNextListOrAfterTheServiceIsNotTold)
{
    int told = 0;
    const auto count = [&](std::uint32_t, const platform::ApplicationIcon&) { ++told; };
    refresh({makeWindow(1, "A", "a")});
    service.findIcons(48, count);
    EXPECT_TRUE(content->iconQuestions[0].found(1, {}));
    refresh({makeWindow(1, "B", "b")});
    EXPECT_EQ(told, 1) << "it came before the list";
    EXPECT_TRUE(content->iconQuestions[0].found(1, {}) == false) << "no more are wanted";
    executor->runAll();
    EXPECT_EQ(told, 1);

    service.findIcons(48, count);
    EXPECT_TRUE(content->iconQuestions[1].found(1, {}));
    service.stopFindingIcons();
    executor->runAll();
    EXPECT_EQ(told, 1) << "stopped while it was on its way";
    {
        WindowSelectionService shortLived{content, executor};
        shortLived.refreshWindows();
        executor->runAll();
        shortLived.findIcons(48, count);
    }
    EXPECT_FALSE(content->iconQuestions[2].found(1, {}));
    executor->runAll();
    EXPECT_EQ(told, 1);
}

TEST_F(WindowSelectionServiceTest, OfManyWindowsTheFirst256HaveIcons)
{
    std::vector<ShareableWindow> windows;
    for (std::uint32_t id = 1; id <= 300; ++id)
        windows.push_back(makeWindow(id, "A", "a"));
    refresh(windows);
    service.findIcons(48, [](std::uint32_t, const platform::ApplicationIcon&) {});
    ASSERT_EQ(content->iconQuestions.size(), 1U);
    EXPECT_EQ(content->iconQuestions[0].windowIDs.size(), 256U);
    EXPECT_EQ(content->iconQuestions[0].windowIDs.back(), 256U);
}

TEST_F(WindowSelectionServiceTest, TellsWhichWindowsSoundWhileThatIsFollowed)
{
    content->tellsOfSounds = true;
    int changes = 0;
    service.followSounds([&] { ++changes; });
    EXPECT_EQ(content->soundObservations, 1);
    auto playing = makeWindow(1, "A", "a");
    playing.owningApplication->processID = 100;
    auto quiet = makeWindow(2, "B", "b");
    quiet.owningApplication->processID = 200;
    // It may be known what plays before it is known which windows there are.
    content->soundsChanged({{110, 100}});
    executor->runAll();
    EXPECT_FALSE(service.isSounding(1));
    refresh({playing, quiet});
    EXPECT_TRUE(service.isSounding(1));
    EXPECT_FALSE(service.isSounding(2));
    EXPECT_EQ(changes, 1);
    content->soundsChanged({{110, 100}, {111, 100}});
    executor->runAll();
    EXPECT_EQ(changes, 1) << "the same windows";
    content->soundsChanged({{200}});
    EXPECT_TRUE(service.isSounding(1)) << "not on another thread";
    executor->runAll();
    EXPECT_FALSE(service.isSounding(1));
    EXPECT_TRUE(service.isSounding(2));
    EXPECT_EQ(changes, 2);

    service.stopFollowingSounds();
    EXPECT_EQ(content->soundObservations, 0);
    EXPECT_FALSE(service.isSounding(2));
    content->soundsChanged({{100}});
    executor->runAll();
    EXPECT_FALSE(service.isSounding(1)) << "on its way when the observation ended";
    EXPECT_EQ(changes, 2);
}

TEST_F(WindowSelectionServiceTest, WhereTheDesktopTellsOfNoSoundsNothingSounds)
{
    service.followSounds([] { ADD_FAILURE(); });
    refresh({makeWindow(1, "A", "a")});
    EXPECT_FALSE(service.isSounding(1));
}

TEST_F(WindowSelectionServiceTest, WhereTheDesktopTellsOfNoIconsNoneAreLookedFor)
{
    EXPECT_TRUE(service.hasIcons());
    content->hasIcons = false;
    EXPECT_FALSE(service.hasIcons());
    refresh({makeWindow(1, "A", "a")});
    service.findIcons(48, [](std::uint32_t, const platform::ApplicationIcon&) { ADD_FAILURE(); });
    EXPECT_TRUE(content->iconQuestions.empty());
}

}  // namespace
}  // namespace velmora
