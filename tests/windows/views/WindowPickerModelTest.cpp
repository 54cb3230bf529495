#include "windows/views/WindowPickerModel.h"

#include "tests/support/CoordinatorFixture.h"

#include <gmock/gmock.h>

namespace velmora {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

CapturedWindowInfo window(std::uint32_t id, const char* appName, const char* title)
{
    return {.id = id, .title = title, .appName = appName, .bundleID = appName, .frame = {0, 0, 1280, 720}, .isOnScreen = true};
}

class WindowPickerModelTest : public testing::Test, protected test::CoordinatorFixture {
protected:
    WindowPickerModelTest()
    {
        QObject::connect(&model, &WindowPickerModel::dismissed, &model, [this] { ++dismissals; });
    }

    void list(const std::vector<CapturedWindowInfo>& windows)
    {
        for (const auto& one : windows)
            addLiveWindow(one);
    }

    void appear()
    {
        model.viewWillAppear();
        executor->runAll();
    }

    [[nodiscard]] std::vector<std::uint32_t> shown() const
    {
        std::vector<std::uint32_t> ids;
        for (const auto& one : model.filteredWindows())
            ids.push_back(one.id);
        return ids;
    }

    [[nodiscard]] QVariant cell(int row, WindowPickerModel::Role role) const { return model.data(model.index(row), role); }

    WindowPickerModel model{std::make_shared<WindowSelectionService>(content, executor), *coordinator};
    int dismissals = 0;
};

TEST_F(WindowPickerModelTest, QueriesWhenItAppearsAndSelectsTheFirstWindow)
{
    list({window(1, "Alpha", "a"), window(2, "Beta", "b")});
    model.viewWillAppear();
    EXPECT_TRUE(model.isLoading());
    EXPECT_FALSE(model.isEmpty() || model.hasRows());
    executor->runAll();
    EXPECT_TRUE(model.hasRows());
    EXPECT_THAT(shown(), ElementsAre(1U, 2U));
    EXPECT_EQ(model.selectedRow(), 0);
}

TEST_F(WindowPickerModelTest, MarksWhatSoundsWhileItIsShownAndAsksNobodyOtherwise)
{
    content->tellsOfSounds = true;
    list({window(1, "Alpha", "a"), window(2, "Beta", "b")});
    content->content.windows[0].owningApplication->processID = 100;
    content->content.windows[1].owningApplication->processID = 200;
    EXPECT_EQ(content->soundObservations, 0);
    appear();
    EXPECT_EQ(content->soundObservations, 1);
    EXPECT_FALSE(cell(0, WindowPickerModel::IsSounding).toBool());
    int changes = 0;
    QObject::connect(&model, &WindowPickerModel::dataChanged, &model, [&](const QModelIndex&, const QModelIndex&, const QList<int>& roles) {
        changes += roles.contains(WindowPickerModel::IsSounding) ? 1 : 0;
    });
    content->soundsChanged({{210, 200}});
    executor->runAll();
    EXPECT_EQ(changes, 1);
    EXPECT_FALSE(cell(0, WindowPickerModel::IsSounding).toBool());
    EXPECT_TRUE(cell(1, WindowPickerModel::IsSounding).toBool());
    EXPECT_EQ(model.selectedRow(), 0) << "whoever is at a row stays there";
    model.viewDidDisappear();
    EXPECT_EQ(content->soundObservations, 0);
    appear();
    EXPECT_EQ(content->soundObservations, 1);
}

TEST_F(WindowPickerModelTest, WithNothingListedAndNothingSelectedItCannotStart)
{
    appear();
    EXPECT_TRUE(model.isEmpty());
    EXPECT_FALSE(model.canStart());
    model.start();
    executor->runAll();
    EXPECT_EQ(dismissals, 0);
}

TEST_F(WindowPickerModelTest, AFailedQueryShowsTheEmptyList)
{
    content->error = Error{"Velmora.Test", 1, "no", nullptr};
    appear();
    EXPECT_TRUE(model.isEmpty());
}

TEST_F(WindowPickerModelTest, SearchFindsNamesAndTitlesInAnyCase)
{
    list({window(1, "Google-chrome", "mail"), window(2, "Firefox", "All about chromium"), window(3, "VLC", "film")});
    appear();
    model.setSearchText(QStringLiteral("CHR"));
    EXPECT_THAT(shown(), ElementsAre(2U, 1U));
    model.setSearchText(QStringLiteral(" chr"));
    EXPECT_THAT(shown(), ElementsAre(2U)) << "the search is used as typed";
    model.setSearchText({});
    EXPECT_EQ(shown().size(), 3U);
}

TEST_F(WindowPickerModelTest, TheBundleIdentifierIsNotSearched)
{
    auto player = window(1, "Player", "film");
    player.bundleID = "org.example.secret";
    list({player});
    appear();
    model.setSearchText(QStringLiteral("secret"));
    EXPECT_THAT(shown(), IsEmpty());
    EXPECT_TRUE(model.isEmpty());
}

TEST_F(WindowPickerModelTest, ASelectionThatTheSearchHidesStaysAndCanBeStarted)
{
    list({window(1, "Alpha", "a"), window(2, "Beta", "b")});
    appear();
    model.select(1);
    model.setSearchText(QStringLiteral("Alpha"));
    EXPECT_EQ(model.selectedRow(), -1);
    EXPECT_TRUE(model.canStart());
    model.start();
    EXPECT_EQ(dismissals, 0) << "it stays open until the window has been accepted";
    executor->runAll();
    ASSERT_TRUE(coordinator->selectedWindow());
    EXPECT_EQ(coordinator->selectedWindow()->id, 2U);
    EXPECT_EQ(dismissals, 1);
}

class WindowPickerRequestTest : public WindowPickerModelTest {
protected:
    /// Window 1 is started, and the desktop asks the user.
    void startRequest()
    {
        list({window(1, "Choose", "a window"), window(2, "Beta", "granted")});
        content->windowsToRequest = {1};
        appear();
        model.select(1);
        coordinator->onCaptureError = [this](const std::string& message) { errors.push_back(message); };
        model.start();
        executor->runAll();
    }

    std::vector<std::string> errors;
};

TEST_F(WindowPickerRequestTest, AWindowThatIsStillToBeChosenIsListedWithoutASize)
{
    list({window(1, "Choose", "a window")});
    auto& choice = content->content.windows.front();
    choice.isChoice = true;
    choice.frame = {};
    appear();
    ASSERT_EQ(model.rowCount(), 1);
    EXPECT_EQ(cell(0, WindowPickerModel::SizeText), QString{});
}

TEST_F(WindowPickerRequestTest, AWindowThatNeedsItIsRequestedBeforeItIsCaptured)
{
    startRequest();
    EXPECT_THAT(content->requestedWindows, ElementsAre(1U));
    EXPECT_FALSE(coordinator->selectedWindow());
    EXPECT_EQ(dismissals, 0);
}

TEST_F(WindowPickerRequestTest, WhatIsGrantedIsCapturedAndNotWhatWasAskedFor)
{
    startRequest();
    ASSERT_THAT(content->requestedWindows, ElementsAre(1U));
    auto granted = content->content.windows.front();
    granted.windowID = 7;
    content->content.windows.push_back(granted);
    content->pendingRequest(std::optional{granted});
    content->pendingSoundQuestion(std::nullopt);
    executor->runAll();
    ASSERT_TRUE(coordinator->selectedWindow());
    EXPECT_EQ(coordinator->selectedWindow()->id, 7U);
    EXPECT_EQ(dismissals, 1);
}

TEST_F(WindowPickerRequestTest, ACancelledRequestCallsNothingAndLeavesThePickerOpen)
{
    startRequest();
    ASSERT_THAT(content->requestedWindows, ElementsAre(1U));
    content->pendingRequest(std::optional<platform::ShareableWindow>{});
    executor->runAll();
    EXPECT_FALSE(coordinator->selectedWindow());
    EXPECT_THAT(errors, IsEmpty());
    EXPECT_EQ(dismissals, 0);
}

TEST_F(WindowPickerRequestTest, AFailedRequestIsToldToTheUser)
{
    startRequest();
    ASSERT_THAT(content->requestedWindows, ElementsAre(1U));
    content->pendingRequest(fail("Velmora.Test", 1, "No portal."));
    executor->runAll();
    EXPECT_FALSE(coordinator->selectedWindow());
    EXPECT_THAT(errors, ElementsAre("Failed to capture window: No portal."));
}

/// Window 7 has been granted, and a player and a browser are playing.
class WindowPickerSoundTest : public WindowPickerRequestTest {
protected:
    void grantAndAnswer(platform::SoundChoices choices)
    {
        startRequest();
        auto granted = content->content.windows.front();
        granted.windowID = 7;
        content->content.windows.push_back(granted);
        content->pendingRequest(std::optional{granted});
        content->pendingSoundQuestion(std::move(choices));
        executor->runAll();
    }

    const platform::AudibleApplication player{{"player-bin", "Player", 12}, "Film", true};
    const platform::AudibleApplication owner{{"player-bin", "Player", 12}, "Film", true, true};
    const platform::AudibleApplication playerAsBefore{{"player-bin", "Player", 12}, "Film", true, false, true};
    const platform::AudibleApplication browser{{"browser-bin", "Browser", 34}, "Page", true};
};

TEST_F(WindowPickerSoundTest, AfterTheGrantThePickerAsksWhoseSoundItIs)
{
    grantAndAnswer({{player, browser}});
    EXPECT_TRUE(model.isChoosingSound());
    EXPECT_FALSE(coordinator->selectedWindow());
    EXPECT_EQ(dismissals, 0);
    model.start();
    executor->runAll();
    EXPECT_FALSE(coordinator->selectedWindow()) << "nothing is chosen yet";
    model.sound()->select(1);
    model.start();
    executor->runAll();
    EXPECT_THAT(content->chosenSounds, ElementsAre(::testing::Pair(7U, platform::SoundChoice{browser.application})));
    ASSERT_TRUE(coordinator->selectedWindow());
    EXPECT_EQ(coordinator->selectedWindow()->id, 7U);
    EXPECT_EQ(dismissals, 1);
}

TEST_F(WindowPickerSoundTest, EvenTheOnlyOneIsShownBeforeItIsTaken)
{
    grantAndAnswer({{player}});
    EXPECT_TRUE(model.isChoosingSound());
    EXPECT_EQ(model.sound()->selectedRow(), 0);
    EXPECT_THAT(content->chosenSounds, IsEmpty());
}

TEST_F(WindowPickerSoundTest, NoSoundCanBeChosen)
{
    grantAndAnswer({{playerAsBefore, browser}});
    model.sound()->select(2);
    model.start();
    executor->runAll();
    EXPECT_THAT(content->chosenSounds, ElementsAre(::testing::Pair(7U, platform::SoundChoice{})));
    EXPECT_TRUE(coordinator->selectedWindow());
}

TEST_F(WindowPickerSoundTest, TheWindowsOwnSoundIsTakenWithoutAQuestion)
{
    grantAndAnswer({{browser, owner}});
    EXPECT_FALSE(model.isChoosingSound());
    EXPECT_THAT(content->chosenSounds, ElementsAre(::testing::Pair(7U, platform::SoundChoice{player.application})));
    EXPECT_TRUE(coordinator->selectedWindow());
}

TEST_F(WindowPickerSoundTest, GoingBackGivesTheWindowBackAndCallsNothing)
{
    grantAndAnswer({{player}});
    model.cancel();
    executor->runAll();
    EXPECT_FALSE(model.isChoosingSound());
    EXPECT_THAT(content->windowsGivenBack, ElementsAre(7U));
    EXPECT_THAT(content->chosenSounds, IsEmpty());
    EXPECT_FALSE(coordinator->selectedWindow());
    EXPECT_THAT(errors, IsEmpty());
    EXPECT_EQ(dismissals, 0);
    model.cancel();
    EXPECT_EQ(dismissals, 1) << "from the windows it closes the picker";
}

TEST_F(WindowPickerSoundTest, AClosedPickerGivesTheWindowBack)
{
    grantAndAnswer({{player}});
    model.viewDidDisappear();
    EXPECT_FALSE(model.isChoosingSound());
    EXPECT_THAT(content->windowsGivenBack, ElementsAre(7U));
}

TEST_F(WindowPickerSoundTest, APickerThatIsClosedWhileTheCaptureBeginsLeavesItTheWindow)
{
    grantAndAnswer({{player}});
    model.start();
    model.viewDidDisappear();
    EXPECT_THAT(content->windowsGivenBack, IsEmpty());
    executor->runAll();
    EXPECT_TRUE(coordinator->selectedWindow());
}

TEST_F(WindowPickerSoundTest, AGrantThatComesAfterThePickerWasClosedIsGivenBack)
{
    startRequest();
    model.viewDidDisappear();
    auto granted = content->content.windows.front();
    granted.windowID = 7;
    content->pendingRequest(std::optional{granted});
    executor->runAll();
    EXPECT_THAT(content->windowsGivenBack, ElementsAre(7U));
    EXPECT_THAT(content->soundQuestions, IsEmpty());
    EXPECT_FALSE(coordinator->selectedWindow());
}

TEST_F(WindowPickerSoundTest, SoundsThatComeAfterThePickerWasClosedAreNotAskedFor)
{
    startRequest();
    auto granted = content->content.windows.front();
    granted.windowID = 7;
    content->pendingRequest(std::optional{granted});
    model.viewDidDisappear();
    content->pendingSoundQuestion(platform::SoundChoices{{owner}});
    executor->runAll();
    EXPECT_FALSE(model.isChoosingSound());
    EXPECT_THAT(content->windowsGivenBack, ElementsAre(7U));
    EXPECT_FALSE(coordinator->selectedWindow());
}

TEST_F(WindowPickerSoundTest, TheNextOpeningBeginsWithTheWindows)
{
    grantAndAnswer({{player}});
    appear();
    EXPECT_FALSE(model.isChoosingSound());
}

TEST_F(WindowPickerModelTest, TheWindowThatIsCapturedIsSelectedAndMarked)
{
    list({window(1, "Alpha", "a"), window(2, "Beta", "b")});
    coordinator->selectWindowAndStartCapture(window(2, "Beta", "b"));
    executor->runAll();
    appear();
    EXPECT_EQ(model.selectedRow(), 1);
    EXPECT_FALSE(cell(0, WindowPickerModel::IsActive).toBool());
    EXPECT_TRUE(cell(1, WindowPickerModel::IsActive).toBool());
}

TEST_F(WindowPickerModelTest, ACapturedWindowThatIsNotListedStaysSelectedButCannotBeFound)
{
    list({window(2, "Beta", "b")});
    coordinator->selectWindowAndStartCapture(window(2, "Beta", "b"));
    executor->runAll();
    content->content.windows.clear();
    appear();
    EXPECT_EQ(model.selectedID(), 2U);
    EXPECT_TRUE(model.canStart());
    model.start();
    executor->runAll();
    EXPECT_EQ(dismissals, 0);
}

TEST_F(WindowPickerModelTest, EachOpeningBeginsWithAnEmptySearch)
{
    list({window(1, "Alpha", "a"), window(2, "Beta", "b")});
    appear();
    model.setSearchText(QStringLiteral("Beta"));
    model.select(0);
    appear();
    EXPECT_EQ(model.searchText(), QString{});
    EXPECT_EQ(model.selectedID(), 1U);
}

TEST_F(WindowPickerModelTest, RefreshingKeepsTheSelection)
{
    list({window(1, "Alpha", "a"), window(2, "Beta", "b")});
    appear();
    model.select(1);
    model.refreshWindows();
    executor->runAll();
    EXPECT_EQ(model.selectedID(), 2U);
}

TEST_F(WindowPickerModelTest, ArrowsMoveTheSelectionToTheEndsAndNotBeyond)
{
    list({window(1, "Alpha", "a"), window(2, "Beta", "b")});
    appear();
    model.moveSelection(-1);
    EXPECT_EQ(model.selectedRow(), 0);
    model.moveSelection(1);
    model.moveSelection(1);
    EXPECT_EQ(model.selectedRow(), 1);
    model.setSearchText(QStringLiteral("Alpha"));
    model.moveSelection(1);
    EXPECT_EQ(model.selectedID(), 1U) << "the first row when the selected one is hidden";
}

TEST_F(WindowPickerModelTest, ARefusedWindowClosesThePickerToo)
{
    list({window(1, "Alpha", "a")});
    appear();
    content->content.windows.clear();
    std::string message;
    coordinator->onCaptureError = [&](const std::string& text) { message = text; };
    model.start();
    executor->runAll();
    EXPECT_EQ(dismissals, 1);
    EXPECT_THAT(message, ::testing::StartsWith("Failed to capture window: "));
}

TEST_F(WindowPickerModelTest, RowsShowNameTitleSizeAndSymbol)
{
    list({window(1, "VLC", "<b>film</b> & more")});
    appear();
    EXPECT_EQ(cell(0, WindowPickerModel::AppName), QStringLiteral("VLC"));
    EXPECT_EQ(cell(0, WindowPickerModel::Title), QStringLiteral("<b>film</b> & more"));
    EXPECT_EQ(cell(0, WindowPickerModel::SizeText), QStringLiteral("1280 × 720 pt"));
    EXPECT_EQ(cell(0, WindowPickerModel::Symbol), QStringLiteral("play.rectangle.fill"));
}

TEST_F(WindowPickerModelTest, AWindowThatIsAwaySaysWhereItIsAndThatItCannotBeRecorded)
{
    list({window(1, "A", "here"), window(2, "B", "minimised"), window(3, "C", "elsewhere"), window(4, "D", "elsewhere by name"),
        window(5, "E", "both"), window(6, "F", "who knows")});
    auto& windows = content->content.windows;
    for (std::size_t index = 1; index < windows.size(); ++index)
        windows[index].isOnScreen = false;
    windows[1].isMinimised = true;
    windows[2].otherWorkspace = platform::DesktopWorkspace{3, ""};
    windows[3].otherWorkspace = platform::DesktopWorkspace{3, "Mail\nand more"};
    windows[4].isMinimised = true;
    windows[4].otherWorkspace = platform::DesktopWorkspace{2, ""};
    appear();
    QStringList said;
    for (int row = 0; row < model.rowCount(); ++row)
        said.append(cell(row, WindowPickerModel::Absence).toString());
    EXPECT_EQ(said.join(QLatin1Char('|')).toStdString(),
        "|Cannot be recorded: minimized|Cannot be recorded: on workspace 3|Cannot be recorded: on workspace “Mail and more”|Cannot be "
        "recorded: minimized, on workspace 2|Cannot be recorded: not on the screen");
    EXPECT_EQ(model.rowCount(), 6) << "it is listed all the same";
}

TEST_F(WindowPickerModelTest, WhatIsSaidOfAWindowThatWasAwayGoesWithTheNextList)
{
    list({window(1, "A", "away")});
    auto& away = content->content.windows.front();
    away.isOnScreen = false;
    away.isMinimised = true;
    appear();
    EXPECT_NE(cell(0, WindowPickerModel::Absence).toString(), QString{});
    away.isOnScreen = true;
    away.isMinimised = false;
    model.refreshWindows();
    executor->runAll();
    EXPECT_EQ(cell(0, WindowPickerModel::Absence).toString(), QString{});
    away.isOnScreen = false;
    model.refreshWindows();
    executor->runAll();
    EXPECT_EQ(cell(0, WindowPickerModel::Absence).toString(), QStringLiteral("Cannot be recorded: not on the screen"));
}

TEST_F(WindowPickerModelTest, TheWindowThatIsCapturedStandsStillWhileItIsAway)
{
    list({window(1, "A", "film")});
    coordinator->selectWindowAndStartCapture(window(1, "A", "film"));
    executor->runAll();
    auto& away = content->content.windows.front();
    away.isOnScreen = false;
    away.isMinimised = true;
    appear();
    EXPECT_EQ(cell(0, WindowPickerModel::Absence).toString(), QStringLiteral("Its picture stands still: minimized"));
}

TEST_F(WindowPickerModelTest, AWindowThatIsStillToBeGrantedIsNotCalledAway)
{
    list({window(1, "Choose", "a window")});
    content->content.windows.front().isOnScreen = false;
    content->windowsToRequest = {1};
    appear();
    EXPECT_EQ(cell(0, WindowPickerModel::Absence).toString(), QString{});
}

TEST_F(WindowPickerModelTest, WhatMayNotBeRecordedIsNotListedBecauseItIsAway)
{
    list({window(1, "Panel", "dock"), window(2, "Small", "tile")});
    auto& windows = content->content.windows;
    windows[0].windowLayer = 20;
    windows[1].frame.width = 99;
    for (auto& one : windows) {
        one.isOnScreen = false;
        one.isMinimised = true;
    }
    appear();
    EXPECT_THAT(shown(), IsEmpty());
}

platform::ApplicationIcon plainIcon(std::uint8_t red)
{
    platform::ApplicationIcon icon{.side = 48, .rgba = {}};
    for (int pixel = 0; pixel < 48 * 48; ++pixel)
        icon.rgba.insert(icon.rgba.end(), {red, 0, 0, 255});
    return icon;
}

TEST_F(WindowPickerModelTest, TheListDoesNotWaitForIconsAndTheyComeToTheirRows)
{
    list({window(1, "Alpha", "a"), window(2, "Beta", "b")});
    appear();
    EXPECT_TRUE(model.hasRows());
    EXPECT_TRUE(cell(1, WindowPickerModel::Icon).value<QImage>().isNull());
    QList<int> changedRows;
    QObject::connect(&model, &WindowPickerModel::dataChanged, &model, [&](const QModelIndex& from) { changedRows.append(from.row()); });
    ASSERT_EQ(content->iconQuestions.size(), 1U);
    content->iconQuestions[0].found(2, plainIcon(200));
    executor->runAll();
    EXPECT_EQ(changedRows, QList<int>{1});
    EXPECT_EQ(cell(1, WindowPickerModel::Icon).value<QImage>().pixelColor(24, 24), QColor(200, 0, 0));
    EXPECT_TRUE(cell(0, WindowPickerModel::Icon).value<QImage>().isNull());
}

TEST_F(WindowPickerModelTest, AnIconThatComesWhileTheSearchHidesItsRowIsThereAfterwards)
{
    list({window(1, "Alpha", "a"), window(2, "Beta", "b")});
    appear();
    model.setSearchText(QStringLiteral("Beta"));
    content->iconQuestions[0].found(1, plainIcon(200));
    executor->runAll();
    EXPECT_TRUE(cell(0, WindowPickerModel::Icon).value<QImage>().isNull()) << "not in the row of another window";
    model.setSearchText({});
    EXPECT_FALSE(cell(0, WindowPickerModel::Icon).value<QImage>().isNull());
}

TEST_F(WindowPickerModelTest, IconsAreThoseOfThePresentListAndGoWithThePicker)
{
    list({window(1, "Alpha", "a")});
    appear();
    content->iconQuestions[0].found(1, plainIcon(200));
    executor->runAll();
    model.refreshWindows();
    executor->runAll();
    EXPECT_TRUE(cell(0, WindowPickerModel::Icon).value<QImage>().isNull()) << "the number may be another window's by now";
    ASSERT_EQ(content->iconQuestions.size(), 2U);
    content->iconQuestions[1].found(1, plainIcon(100));
    executor->runAll();
    EXPECT_FALSE(cell(0, WindowPickerModel::Icon).value<QImage>().isNull());
    model.viewDidDisappear();
    EXPECT_TRUE(cell(0, WindowPickerModel::Icon).value<QImage>().isNull());
    EXPECT_FALSE(content->iconQuestions[1].found(1, plainIcon(100)));
}

TEST_F(WindowPickerModelTest, WhatTheSearchHidesIsNamedWhateverTheViewSays)
{
    list({window(1, "Alpha", "a"), window(2, "Beta", "b")});
    appear();
    model.setSelectionInSight(true);
    EXPECT_EQ(model.selectionCaption(), QString{});
    model.setSearchText(QStringLiteral("Beta"));
    EXPECT_EQ(model.selectionCaption(), QString::fromUtf8("Selected: Alpha — a"));
    model.setSearchText({});
    EXPECT_EQ(model.selectionCaption(), QString{});
}

TEST_F(WindowPickerModelTest, AFailedQueryDoesNotCallTheSelectedWindowGone)
{
    list({window(1, "Alpha", "a")});
    appear();
    content->error = Error{"Velmora.Test", 1, "no", nullptr};
    model.refreshWindows();
    executor->runAll();
    EXPECT_EQ(model.selectionCaption(), QString{});
}

TEST(WindowPickerSymbols, BrowsersGetTheGlobePlayersAPlaySignOthersAWindow)
{
    for (const auto* name : {"Safari", "Google Chrome", "FIREFOX", "Microsoft Edge", "Brave Browser", "Edge VLC"})
        EXPECT_EQ(WindowPickerModel::symbolName(QString::fromLatin1(name)), QStringLiteral("globe")) << name;
    for (const auto* name : {"QuickTime Player", "vlc", "IINA"})
        EXPECT_EQ(WindowPickerModel::symbolName(QString::fromLatin1(name)), QStringLiteral("play.rectangle.fill")) << name;
    for (const auto* name : {"Finder", "mpv", ""})
        EXPECT_EQ(WindowPickerModel::symbolName(QString::fromLatin1(name)), QStringLiteral("macwindow")) << name;
}

TEST(WindowPickerSize, FractionsAreDropped)
{
    EXPECT_EQ(WindowPickerModel::sizeText({0, 0, 1279.6, 720.9}), QStringLiteral("1279 × 720 pt"));
}

}  // namespace
}  // namespace velmora
