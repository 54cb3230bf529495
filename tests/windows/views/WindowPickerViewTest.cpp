#include "brand/BrandColors.h"
#include "tests/brand/KeyboardWalk.h"
#include "tests/brand/OddTexts.h"
#include "tests/brand/ViewTestWindow.h"
#include "tests/support/CoordinatorFixture.h"
#include "windows/views/WindowPickerModel.h"

#include <gmock/gmock.h>

// Generated. Referring to it brings the module into the program, where it registers its types before main.
extern void qml_register_types_Velmora_Windows();

namespace velmora {
namespace {

using test::expectAllIsSaid;
using test::ViewTestWindow;
using test::walkWithTab;

CapturedWindowInfo listed(std::uint32_t id, const char* appName, const char* title)
{
    return {.id = id, .title = title, .appName = appName, .bundleID = appName, .frame = {0, 0, 1279.6, 720.9}, .isOnScreen = true};
}

const QUrl pickerView{QStringLiteral("qrc:/Velmora/Windows/WindowPickerView.qml")};

class WindowPickerViewTest : public testing::Test, protected test::CoordinatorFixture {
protected:
    WindowPickerViewTest()
    {
        static void (*volatile types)() = &qml_register_types_Velmora_Windows;
        [[maybe_unused]] const auto linked = types;
        window.emplace(pickerView, model, QSize{560, 480});
        QObject::connect(&model, &WindowPickerModel::dismissed, &model, [this] { ++dismissals; });
    }

    void appear(const std::vector<CapturedWindowInfo>& windows)
    {
        for (const auto& one : windows)
            addLiveWindow(one);
        model.viewWillAppear();
        executor->runAll();
        static_cast<void>(window->grab());
    }

    void appearWithThree() { appear({listed(1, "Alpha", "a film"), listed(2, "Beta", "b film"), listed(3, "Gamma", "")}); }

    [[nodiscard]] std::uint32_t startedWindow()
    {
        executor->runAll();
        return coordinator->selectedWindow() ? coordinator->selectedWindow()->id : 0;
    }

    [[nodiscard]] QQuickItem* first(const char* type) const
    {
        QQuickItem* found = nullptr;
        window->forEachVisible([&](QQuickItem& item) {
            if (!found && item.inherits(type))
                found = &item;
        });
        return found;
    }

    /// How many rows of the list can be seen, parts of one included.
    [[nodiscard]] double rowsInSight() const
    {
        const auto& list = *first("QQuickListView");
        const QRectF area = list.mapRectToScene({0, 0, list.width(), list.height()});
        double rows = 0;
        window->forEachVisible([&](QQuickItem& item) {
            // Without a height it shows nothing.
            if (item.inherits("QQuickItemDelegate") && item.height() > 0)
                rows += std::max(0.0, area.intersected(item.mapRectToScene({0, 0, item.width(), item.height()})).height()) / item.height();
        });
        return rows;
    }

    WindowPickerModel model{std::make_shared<WindowSelectionService>(content, executor), *coordinator};
    std::optional<ViewTestWindow> window;
    int dismissals = 0;
};

TEST_F(WindowPickerViewTest, TheLargestTextFindsRoomInAWindowOfTheGivenSize)
{
    appearWithThree();
    setTextScale(window->engine(), 1.5);
    static_cast<void>(window->grab());
    for (const auto* text : {"Refresh List", "Cancel", "Start Clipping This Window"}) {
        auto& button = window->button(QLatin1String(text));
        const auto place = button.mapRectToScene({0, 0, button.width(), button.height()});
        EXPECT_TRUE((QRectF{24, 0, 512.5, 480}.contains(place))) << text << " ends at " << place.right();
    }
    window->press(QStringLiteral("Cancel"));
    EXPECT_EQ(dismissals, 1) << "what is pressed is where it is seen";
    model.setSearchText(QStringLiteral("nothing of that name"));
    static_cast<void>(window->grab());
    const auto placeOf = [this](const char* beginning) {
        QRectF place;
        window->forEachVisible([&](QQuickItem& item) {
            if (item.inherits("QQuickText") && item.property("text").toString().startsWith(QLatin1String(beginning)))
                place = item.mapRectToScene({0, 0, item.width(), item.height()});
        });
        return place;
    };
    const auto purpose = placeOf("Any browser");
    const auto headline = placeOf("No eligible");
    const auto advice = placeOf("Make sure");
    ASSERT_FALSE(headline.isEmpty() || advice.isEmpty());
    EXPECT_GT(headline.top(), purpose.bottom() + 60) << "beneath the field for the search";
    EXPECT_GE(advice.top(), headline.bottom());
    EXPECT_LE(advice.bottom(), placeOf("Tip: ").top());
    EXPECT_LT(advice.bottom(), window->button(QStringLiteral("Cancel")).mapToScene({0, 0}).y()) << "in sight without scrolling";
}

TEST_F(WindowPickerViewTest, SaysWhatItIsForFromTopToBottom)
{
    appearWithThree();
    EXPECT_EQ(window->texts().join(QLatin1Char('|')).toStdString(),
        "Choose Video Window|Select what you are watching (Safari, Chrome, YouTube, QuickTime, VLC, etc.)|Any browser or player will do, "
        "such as Firefox, Chromium, VLC or mpv.|Search by app name or window title...|Alpha|a film|1279 × 720 pt|Beta|b film|1279 × 720 "
        "pt|Gamma|1279 × 720 pt|Tip: Make sure the browser or video player "
        "window is open on your screen (not minimized into the Dock).|On this desktop the Dock is the task bar or launcher, and 1 "
        "pt is 1 pixel.|Refresh List|Cancel|Start Clipping This Window");
    EXPECT_EQ(window->pictures().toStdString(), "magnifyingglass, macwindow, macwindow, macwindow, lightbulb.fill, arrow.clockwise");
    for (const auto* text : {"Refresh List", "Cancel", "Start Clipping This Window"})
        EXPECT_TRUE(window->hasButton(QLatin1String(text))) << text;
    window->expectNothingIsCutOff({24, 0, 512, 480});
    window->expectNoTextsOverlap();
}

TEST_F(WindowPickerViewTest, WhileItSearchesItSaysSo)
{
    addLiveWindow(listed(1, "Alpha", "a"));
    model.viewWillAppear();
    EXPECT_TRUE(window->shows(QStringLiteral("Searching for active windows...")));
    EXPECT_FALSE(window->shows(QStringLiteral("No eligible video windows found.")));
    executor->runAll();
    EXPECT_FALSE(window->shows(QStringLiteral("Searching for active windows...")));
    EXPECT_TRUE(window->shows(QStringLiteral("Alpha")));
}

TEST_F(WindowPickerViewTest, WithoutWindowsItSaysWhatToDoAndStartsNothing)
{
    appear({});
    EXPECT_TRUE(window->shows(QStringLiteral("No eligible video windows found.")));
    EXPECT_TRUE(window->shows(QStringLiteral("Make sure the browser or video player window is open and visible on screen.")));
    EXPECT_EQ(window->pictures().toStdString(), "magnifyingglass, macwindow.on.rectangle, lightbulb.fill, arrow.clockwise");
    EXPECT_FALSE(window->button(QStringLiteral("Start Clipping This Window")).isEnabled());
}

TEST_F(WindowPickerViewTest, AWindowWhoseApplicationPlaysHasAMarkWhichItsRowSaysToo)
{
    const auto saysSo = [this] {
        int rows = 0;
        window->forEachVisible([&](QQuickItem& item) {
            auto* accessible = QAccessible::queryAccessibleInterface(&item);
            rows += accessible && accessible->text(QAccessible::Name).contains(QStringLiteral(", Plays sound")) ? 1 : 0;
        });
        return rows;
    };
    content->tellsOfSounds = true;
    appearWithThree();
    static_cast<void>(window->grab());
    EXPECT_FALSE(window->pictures().contains(QStringLiteral("speaker.wave.2")));
    EXPECT_EQ(saysSo(), 0);
    content->content.windows[1].owningApplication->processID = 77;
    model.refreshWindows();
    content->soundsChanged({{77}});
    executor->runAll();
    static_cast<void>(window->grab());
    EXPECT_EQ(window->pictures().count(QStringLiteral("speaker.wave.2")), 1);
    EXPECT_EQ(saysSo(), 1);
    content->soundsChanged({});
    executor->runAll();
    static_cast<void>(window->grab());
    EXPECT_FALSE(window->pictures().contains(QStringLiteral("speaker.wave.2")));
}

TEST_F(WindowPickerViewTest, TheWindowThatIsCapturedHasABadgeAndNoOther)
{
    appearWithThree();
    EXPECT_FALSE(window->shows(QStringLiteral("Active")));
    coordinator->selectWindowAndStartCapture(listed(2, "Beta", "b film"));
    executor->runAll();
    static_cast<void>(window->grab());
    EXPECT_EQ(window->texts().count(QStringLiteral("Active")), 1);
    EXPECT_EQ(window->texts().indexOf(QStringLiteral("Active")), window->texts().indexOf(QStringLiteral("Beta")) + 3);
    window->forEachVisible([&](QQuickItem& item) {
        if (!item.inherits("QQuickText") || item.property("text").toString() != QStringLiteral("Active"))
            return;
        EXPECT_EQ(item.property("color").value<QColor>(), BrandColors::green);
        const auto ground = window->grab(*item.parentItem()).pixelColor(4, 11);
        EXPECT_GT(ground.green(), ground.red() + 10) << "a green ground";
    });
}

TEST_F(WindowPickerViewTest, TheSearchNarrowsTheListAndItsButtonClearsIt)
{
    appearWithThree();
    window->type(Qt::Key_B, QStringLiteral("b"));
    window->type(Qt::Key_E, QStringLiteral("e"));
    EXPECT_TRUE(window->shows(QStringLiteral("Beta")));
    EXPECT_FALSE(window->shows(QStringLiteral("Alpha")));
    window->press(QStringLiteral("Clear search"));
    EXPECT_TRUE(window->shows(QStringLiteral("Alpha")));
    EXPECT_FALSE(window->hasButton(QStringLiteral("Clear search")));
}

// Where the second of three rows is, after the list was read again and without it too.
class WindowPickerClickTest : public WindowPickerViewTest {
protected:
    WindowPickerClickTest()
    {
        appearWithThree();
        window->forEachVisible([this](QQuickItem& item) {
            if (item.inherits("QQuickItemDelegate") && item.property("text").toString().startsWith(QStringLiteral("Beta")))
                place = item.mapToScene({item.width() / 2, item.height() / 2});
        });
        EXPECT_FALSE(place.isNull());
        now += 5000;
    }

    void press() { window->pressAt(place, now); }
    void release() { window->releaseAt(place, now += 20); }
    void click()
    {
        press();
        release();
        now += 60;
    }

    /// The list as it is, but with a window in front of the others: Alpha is where Beta was.
    void readListAgain()
    {
        addLiveWindow(listed(4, "Aardvark", "a film"));
        model.refreshWindows();
        executor->runAll();
        static_cast<void>(window->grab());
        ASSERT_EQ(model.rowCount(), 4);
    }

    QPointF place;
    // Goes on from one test to the next: a press soon after one in another window would make a double click of both.
    inline static int now = 100'000;
};

TEST_F(WindowPickerClickTest, ADoubleClickStartsTheWindowOfItsRow)
{
    click();
    EXPECT_EQ(model.selectedID(), 2U);
    click();
    EXPECT_EQ(startedWindow(), 2U);
    EXPECT_EQ(dismissals, 1);
}

TEST_F(WindowPickerClickTest, TwoClicksWithTimeBetweenThemSelectOnly)
{
    click();
    now += 5000;
    click();
    EXPECT_EQ(model.selectedID(), 2U);
    EXPECT_EQ(startedWindow(), 0U);
}

TEST_F(WindowPickerClickTest, AClickThatIsHeldSelectsAllTheSame)
{
    press();
    now += 3000;
    release();
    EXPECT_EQ(model.selectedID(), 2U);
}

TEST_F(WindowPickerClickTest, ADoubleClickStartsWhatItsFirstClickWasOnThoughTheListHasOtherRowsThereSince)
{
    click();
    readListAgain();
    click();
    EXPECT_EQ(startedWindow(), 2U);
    EXPECT_EQ(dismissals, 1);
}

TEST_F(WindowPickerClickTest, ADoubleClickStartsWhatItWasOnThoughTheListChangesWhileTheButtonIsDown)
{
    press();
    readListAgain();
    release();
    now += 60;
    click();
    EXPECT_EQ(startedWindow(), 2U);
}

TEST_F(WindowPickerClickTest, ADoubleClickStartsWhatItWasOnThoughTheListChangesUnderItsSecondClick)
{
    click();
    press();
    readListAgain();
    release();
    EXPECT_EQ(startedWindow(), 2U);
}

TEST_F(WindowPickerClickTest, ADoubleClickStartsWhatItWasOnThoughTheListIsBeingReadAtTheSecond)
{
    click();
    model.refreshWindows();
    static_cast<void>(window->grab());
    ASSERT_TRUE(model.isLoading());
    click();
    EXPECT_EQ(startedWindow(), 2U);
}

TEST_F(WindowPickerClickTest, ADoubleClickOnAWindowThatGoesInBetweenStartsNoOther)
{
    click();
    content->content.windows.erase(content->content.windows.begin() + 1);
    model.refreshWindows();
    executor->runAll();
    static_cast<void>(window->grab());
    click();
    EXPECT_EQ(startedWindow(), 0U);
    EXPECT_TRUE(window->shows(QStringLiteral("The selected window is gone: choose another one.")));
}

TEST_F(WindowPickerClickTest, ADoubleClickThatBeganOnNoRowStartsNothing)
{
    model.refreshWindows();
    static_cast<void>(window->grab());
    click();
    executor->runAll();
    static_cast<void>(window->grab());
    click();
    EXPECT_EQ(startedWindow(), 0U);
}

TEST_F(WindowPickerClickTest, AClickSoonAfterOneBeforeThePickerOpenedIsNoDoubleClick)
{
    click();
    model.viewWillAppear();
    executor->runAll();
    static_cast<void>(window->grab());
    click();
    EXPECT_EQ(startedWindow(), 0U);
    EXPECT_EQ(model.selectedID(), 2U);
}

TEST_F(WindowPickerClickTest, TwoQuickClicksOnTwoRowsSelectTheSecondAndStartNothing)
{
    click();
    place.ry() += 70;
    click();
    EXPECT_EQ(model.selectedID(), 3U);
    EXPECT_EQ(startedWindow(), 0U);
}

TEST_F(WindowPickerClickTest, AScrollBarIsNoRow)
{
    std::vector<CapturedWindowInfo> many;
    for (std::uint32_t id = 10; id < 50; ++id)
        many.push_back(listed(id, ("Application " + std::to_string(id)).c_str(), "film"));
    appear(many);
    const auto selected = model.selectedID();
    const auto& list = *first("QQuickListView");
    place = list.mapToScene({list.width() - 4, list.height() / 4});
    click();
    click();
    EXPECT_EQ(model.selectedID(), selected);
    EXPECT_EQ(startedWindow(), 0U);
}

TEST_F(WindowPickerClickTest, ADragThatScrollsTheListSelectsNothing)
{
    press();
    for (int moved = 1; moved <= 40; ++moved)
        window->moveAt(place - QPointF{0, static_cast<double>(moved)}, now += 5);
    window->releaseAt(place - QPointF{0, 40}, now += 5);
    EXPECT_EQ(model.selectedID(), 1U);
}

TEST_F(WindowPickerViewTest, ReturnInTheSearchFieldStarts)
{
    appearWithThree();
    window->type(Qt::Key_Down);
    window->type(Qt::Key_Return);
    EXPECT_EQ(startedWindow(), 2U);
    EXPECT_EQ(dismissals, 1);
}

TEST_F(WindowPickerViewTest, EnterInTheListStarts)
{
    appearWithThree();
    first("QQuickListView")->forceActiveFocus(Qt::TabFocusReason);
    window->type(Qt::Key_Down);
    window->type(Qt::Key_Down);
    window->type(Qt::Key_Enter);
    EXPECT_EQ(startedWindow(), 3U);
}

TEST_F(WindowPickerViewTest, ReturnPressesTheButtonThatHasTheKeyboard)
{
    appearWithThree();
    for (const auto key : {Qt::Key_Return, Qt::Key_Enter}) {
        window->button(QStringLiteral("Cancel")).forceActiveFocus(Qt::TabFocusReason);
        dismissals = 0;
        window->type(key);
        EXPECT_EQ(dismissals, 1);
        EXPECT_EQ(startedWindow(), 0U);
    }
    window->button(QStringLiteral("Refresh List")).forceActiveFocus(Qt::TabFocusReason);
    window->type(Qt::Key_Return);
    EXPECT_TRUE(model.isLoading());
    EXPECT_EQ(startedWindow(), 0U);
    window->button(QStringLiteral("Start Clipping This Window")).forceActiveFocus(Qt::TabFocusReason);
    window->type(Qt::Key_Return);
    EXPECT_EQ(startedWindow(), 1U);
}

TEST_F(WindowPickerViewTest, ReturnOnTheButtonThatClearsTheSearchStartsNothing)
{
    appearWithThree();
    window->type(Qt::Key_A, QStringLiteral("a"));
    window->button(QStringLiteral("Clear search")).forceActiveFocus(Qt::TabFocusReason);
    window->type(Qt::Key_Return);
    EXPECT_EQ(model.searchText(), QString{});
    EXPECT_EQ(startedWindow(), 0U);
}

TEST_F(WindowPickerViewTest, InTheSecondStepReturnPressesTheFocusedButtonAndStartsFromTheList)
{
    content->windowsToRequest = {1};
    appearWithThree();
    const auto grant = [this] {
        window->type(Qt::Key_Return);
        executor->runAll();
        auto granted = content->content.windows.front();
        granted.windowID = 7;
        content->content.windows.push_back(granted);
        content->pendingRequest(std::optional{granted});
        content->pendingSoundQuestion(platform::SoundChoices{{{{"player-bin", "Player", 12}, "Film", true}}});
        executor->runAll();
        static_cast<void>(window->grab());
        ASSERT_TRUE(window->shows(QStringLiteral("Choose Its Sound")));
    };
    grant();
    window->button(QStringLiteral("Back")).forceActiveFocus(Qt::TabFocusReason);
    window->type(Qt::Key_Return);
    EXPECT_EQ(startedWindow(), 0U);
    EXPECT_TRUE(window->shows(QStringLiteral("Choose Video Window")));
    grant();
    window->type(Qt::Key_Return);
    EXPECT_EQ(startedWindow(), 7U);
}

TEST_F(WindowPickerViewTest, TheKeyboardGoesRoundEverythingThatThereIsInEachState)
{
    using ::testing::ElementsAre;
    appearWithThree();
    EXPECT_THAT(walkWithTab(*window),
        ElementsAre("Alpha, a film, 1279 × 720 pt", "Refresh List", "Cancel", "Start Clipping This Window",
            "Search by app name or window title..."));
    expectAllIsSaid(*window);
    first("QQuickTextInput")->forceActiveFocus(Qt::TabFocusReason);
    window->type(Qt::Key_X, QStringLiteral("x"));
    EXPECT_THAT(walkWithTab(*window),
        ElementsAre("Clear search", "Refresh List", "Cancel", "Start Clipping This Window", "Search by app name or window title..."))
        << "a list without rows is passed over";
    expectAllIsSaid(*window);
}

TEST_F(WindowPickerViewTest, TheKeyboardStaysSomewhereWhenTheListThatHasItGoesAndComes)
{
    appearWithThree();
    first("QQuickListView")->forceActiveFocus(Qt::TabFocusReason);
    content->content.windows.clear();
    model.refreshWindows();
    static_cast<void>(window->grab());
    window->type(Qt::Key_Escape);
    EXPECT_EQ(dismissals, 1) << "while it is read";
    executor->runAll();
    static_cast<void>(window->grab());
    EXPECT_THAT(walkWithTab(*window), ::testing::Contains("Cancel"));
}

TEST_F(WindowPickerViewTest, AListWithoutASelectionShowsThatItHasTheKeyboardToo)
{
    content->windowsToRequest = {1};
    appearWithThree();
    window->type(Qt::Key_Return);
    executor->runAll();
    auto granted = content->content.windows.front();
    granted.windowID = 7;
    content->content.windows.push_back(granted);
    content->pendingRequest(std::optional{granted});
    content->pendingSoundQuestion(
        platform::SoundChoices{{{{"player-bin", "Player", 12}, "Film", true}, {{"other-bin", "Other", 13}, "", true}}});
    executor->runAll();
    static_cast<void>(window->grab());
    ASSERT_EQ(model.sound()->selectedRow(), -1);
    EXPECT_THAT(walkWithTab(*window), ::testing::ElementsAre("Refresh List", "Back", "Sounds"));
    expectAllIsSaid(*window);
}

TEST_F(WindowPickerViewTest, EscapeCancels)
{
    appearWithThree();
    window->type(Qt::Key_Escape);
    EXPECT_EQ(dismissals, 1);
    EXPECT_EQ(startedWindow(), 0U);
}

TEST_F(WindowPickerViewTest, ASelectionThatTheSearchHidesIsNamedBesideTheButton)
{
    appear({listed(1, "Alpha", "a film"), listed(2, "Beta", "b\nfilm")});
    window->type(Qt::Key_Down);
    window->type(Qt::Key_A, QStringLiteral("a"));
    window->type(Qt::Key_L, QStringLiteral("l"));
    static_cast<void>(window->grab());
    EXPECT_TRUE(window->shows(QString::fromUtf8("Selected: Beta — b film")));
    window->type(Qt::Key_Backspace);
    window->type(Qt::Key_Backspace);
    EXPECT_FALSE(window->shows(QString::fromUtf8("Selected: Beta — b film")));
}

/// Many enough to be out of sight: "Application 10" to "Application 49".
std::vector<CapturedWindowInfo> fortyWindows()
{
    std::vector<CapturedWindowInfo> windows;
    for (std::uint32_t id = 10; id < 50; ++id)
        windows.push_back(listed(id, ("Application " + std::to_string(id)).c_str(), "a film"));
    return windows;
}

TEST_F(WindowPickerViewTest, ASelectionThatIsScrolledOutOfSightIsNamedBesideTheButton)
{
    appear(fortyWindows());
    const auto caption = QString::fromUtf8("Selected: Application 10 — a film");
    auto& list = *first("QQuickListView");
    EXPECT_FALSE(window->shows(caption));
    list.setProperty("contentY", 1000);
    static_cast<void>(window->grab());
    EXPECT_TRUE(window->shows(caption));
    list.setProperty("contentY", 0);
    static_cast<void>(window->grab());
    EXPECT_FALSE(window->shows(caption));
    list.setProperty("contentY", 20);
    static_cast<void>(window->grab());
    EXPECT_TRUE(window->shows(caption)) << "its name is cut off";
}

TEST_F(WindowPickerViewTest, TheArrowsBringBackWhatWasScrolledOutOfSight)
{
    appear(fortyWindows());
    first("QQuickListView")->setProperty("contentY", 1000);
    window->type(Qt::Key_Down);
    static_cast<void>(window->grab());
    EXPECT_TRUE(window->shows(QStringLiteral("Application 11")));
    EXPECT_FALSE(window->texts().join(QLatin1Char('|')).contains(QStringLiteral("Selected: ")));
}

TEST_F(WindowPickerViewTest, EveryRowThatTheArrowsReachIsInSight)
{
    appear(fortyWindows());
    const auto isSelectionNamed = [this] { return window->texts().join(QLatin1Char('|')).contains(QStringLiteral("Selected: ")); };
    for (int step = 0; step < 39; ++step) {
        window->type(Qt::Key_Down);
        static_cast<void>(window->grab());
        ASSERT_FALSE(isSelectionNamed()) << step;
    }
    EXPECT_EQ(model.selectedID(), 49U);
    for (int step = 0; step < 39; ++step) {
        window->type(Qt::Key_Up);
        static_cast<void>(window->grab());
        ASSERT_FALSE(isSelectionNamed()) << step;
    }
    EXPECT_EQ(model.selectedID(), 10U);
}

TEST_F(WindowPickerViewTest, TheListIsRefreshedAroundTheSelection)
{
    appear(fortyWindows());
    model.select(30);
    static_cast<void>(window->grab());
    model.refreshWindows();
    executor->runAll();
    static_cast<void>(window->grab());
    EXPECT_TRUE(window->shows(QStringLiteral("Application 40")));
    EXPECT_FALSE(window->texts().join(QLatin1Char('|')).contains(QStringLiteral("Selected: ")));
}

TEST_F(WindowPickerViewTest, WhileTheListIsReadAgainTheSelectionIsNamed)
{
    appearWithThree();
    model.refreshWindows();
    static_cast<void>(window->grab());
    EXPECT_TRUE(window->shows(QString::fromUtf8("Selected: Alpha — a film")));
    executor->runAll();
    static_cast<void>(window->grab());
    EXPECT_FALSE(window->shows(QString::fromUtf8("Selected: Alpha — a film")));
}

TEST_F(WindowPickerViewTest, ASelectionThatIsGoneIsNotPromised)
{
    appearWithThree();
    content->content.windows.erase(content->content.windows.begin());
    model.refreshWindows();
    executor->runAll();
    static_cast<void>(window->grab());
    EXPECT_TRUE(window->shows(QStringLiteral("The selected window is gone: choose another one.")));
    window->type(Qt::Key_Down);
    EXPECT_FALSE(window->shows(QStringLiteral("The selected window is gone: choose another one.")));
}

TEST_F(WindowPickerViewTest, ThreeWholeRowsAreInSightAndMoreAreGuessed)
{
    appear(fortyWindows());
    EXPECT_GT(rowsInSight(), 3.2);
    first("QQuickListView")->setProperty("contentY", 1000);
    static_cast<void>(window->grab());
    EXPECT_GT(rowsInSight(), 2.9) << "and with a selection that is named";
}

TEST_F(WindowPickerViewTest, WithTheLargestTextMoreThanTwoAndAHalfRowsAreInSightAndTheTipIsBeneathTheLast)
{
    appear(fortyWindows());
    setTextScale(window->engine(), 1.5);
    static_cast<void>(window->grab());
    first("QQuickListView")->setProperty("contentY", 0);
    static_cast<void>(window->grab());
    EXPECT_GT(rowsInSight(), 2.5);
    const auto isTipInSight = [this] {
        const auto& list = *first("QQuickListView");
        const QRectF area = list.mapRectToScene({0, 0, list.width(), list.height()});
        bool found = false;
        window->forEachVisible([&](QQuickItem& item) {
            const auto text = item.property("text").toString();
            if (item.inherits("QQuickText")
                && (text.startsWith(QStringLiteral("Tip: ")) || text.startsWith(QStringLiteral("On this desktop"))))
                found |= area.contains(item.mapRectToScene({0, 0, item.width(), item.height()}));
        });
        return found;
    };
    EXPECT_FALSE(isTipInSight());
    for (int presses = 0; presses < 40; ++presses)
        window->type(Qt::Key_Down);
    static_cast<void>(window->grab());
    EXPECT_TRUE(isTipInSight());
    EXPECT_FALSE(window->texts().join(QLatin1Char('|')).contains(QStringLiteral("Selected: "))) << "nor has it hidden the last row";
    model.setSearchText(QStringLiteral("nothing of that name"));
    static_cast<void>(window->grab());
    EXPECT_TRUE(window->shows(QStringLiteral("On this desktop the Dock is the task bar or launcher, and 1 pt is 1 pixel.")));
}

TEST_F(WindowPickerViewTest, OpenedWithLargerTextItHasRoomForEverythingFromTheBeginning)
{
    for (const double scale : {1.0, 1.25, 1.5}) {
        SCOPED_TRACE(scale);
        window.emplace(pickerView, model, QSize{560, 480}, scale);
        content->content.windows.clear();
        appear({listed(1, "Alpha", "a film"), listed(2, "Beta", "b film")});
        static_cast<void>(window->grab());
        window->expectNoTextsOverlap();
        double right = 0;
        for (const auto* text : {"Refresh List", "Cancel", "Start Clipping This Window"}) {
            const auto& button = window->button(QLatin1String(text));
            const auto place = button.mapRectToScene({0, 0, button.width(), button.height()});
            EXPECT_GE(place.left(), right + 8 - 0.5) << text;
            right = place.right();
        }
        EXPECT_NEAR(right, 560 - 24, 1) << "the last ends where the list does";
        model.setSearchText(QStringLiteral("nothing of that name"));
        static_cast<void>(window->grab());
        window->expectNoTextsOverlap();
        model.setSearchText({});
    }
}

TEST_F(WindowPickerViewTest, WhatItIsForIsReadableToItsEndHoweverLargeTextIs)
{
    appearWithThree();
    for (const double scale : {1.0, 1.25, 1.5}) {
        setTextScale(window->engine(), scale);
        static_cast<void>(window->grab());
        std::vector<int> sizes;
        window->forEachVisible([&](QQuickItem& item) {
            const auto text = item.property("text").toString();
            if (!item.inherits("QQuickText")
                || !(text.startsWith(QStringLiteral("Select what")) || text.startsWith(QStringLiteral("Any browser"))))
                return;
            EXPECT_FALSE(item.property("truncated").toBool()) << text.toStdString() << " at " << scale;
            EXPECT_LE(item.property("contentWidth").toDouble(), 512) << text.toStdString() << " at " << scale;
            sizes.push_back(item.property("font").value<QFont>().pixelSize());
        });
        ASSERT_EQ(sizes.size(), 2U);
        EXPECT_EQ(sizes[0], sizes[1]) << "at " << scale;
        EXPECT_GE(sizes[0], 13);
    }
}

TEST_F(WindowPickerViewTest, TheCaretStandsBeforeThePlaceholder)
{
    appearWithThree();
    QQuickItem* placeholder = nullptr;
    window->forEachVisible([&](QQuickItem& item) {
        if (item.inherits("QQuickText") && item.property("text").toString().startsWith(QStringLiteral("Search by")))
            placeholder = &item;
    });
    ASSERT_TRUE(placeholder);
    const auto caret = placeholder->parentItem()->property("cursorRectangle").toRectF();
    ASSERT_TRUE(placeholder->parentItem()->hasActiveFocus());
    EXPECT_GE(placeholder->x(), caret.x() + 3);
    EXPECT_LE(placeholder->x(), caret.x() + 6) << "yet where the text will be";
}

TEST_F(WindowPickerViewTest, CaptionsSayWhatIsCalledOtherwiseHereInTheSizeOfWhatTheyExplain)
{
    appearWithThree();
    const auto sizeOf = [this](const char* text) {
        int pixels = 0;
        window->forEachVisible([&](QQuickItem& item) {
            if (item.inherits("QQuickText") && item.property("text").toString().startsWith(QLatin1String(text)))
                pixels = item.property("font").value<QFont>().pixelSize();
        });
        return pixels;
    };
    EXPECT_GT(sizeOf("Any browser or player will do"), 0);
    EXPECT_EQ(sizeOf("Any browser or player will do"), sizeOf("Select what you are watching"));
    EXPECT_GT(sizeOf("On this desktop the Dock is the task bar"), 0);
    EXPECT_EQ(sizeOf("On this desktop the Dock is the task bar"), sizeOf("Tip: Make sure"));
    EXPECT_EQ(sizeOf("1279"), sizeOf("On this desktop the Dock is the task bar"));
}

TEST_F(WindowPickerViewTest, AWindowThatIsAwaySaysSoInItsRowAndToAScreenReader)
{
    addLiveWindow(listed(1, "Alpha", "a film"));
    auto& away = content->content.windows.front();
    away.isOnScreen = false;
    away.isMinimised = true;
    appear({listed(2, "Beta", "b film")});
    EXPECT_TRUE(window->shows(QStringLiteral("Cannot be recorded: minimized")));
    auto* row = first("QQuickItemDelegate");
    ASSERT_TRUE(row);
    EXPECT_EQ(QAccessible::queryAccessibleInterface(row)->text(QAccessible::Name),
        QString::fromUtf8("Alpha, a film, 1279 × 720 pt, Cannot be recorded: minimized"));
    window->expectNothingIsCutOff({24, 0, 512, 480});
    window->expectNoTextsOverlap();
}

TEST_F(WindowPickerViewTest, TheApplicationsOwnIconIsBesideTheSymbolAndMovesNothing)
{
    appear({listed(1, "Alpha", "a film")});
    const auto placeOfName = [this] {
        QRectF place;
        window->forEachVisible([&](QQuickItem& item) {
            if (item.inherits("QQuickText") && item.property("text").toString() == QStringLiteral("Alpha"))
                place = item.mapRectToScene({0, 0, item.width(), item.height()});
        });
        return place;
    };
    const auto before = placeOfName();
    ASSERT_FALSE(content->iconQuestions.empty());
    platform::ApplicationIcon icon{.side = 48, .rgba = {}};
    for (int pixel = 0; pixel < 48 * 48; ++pixel)
        icon.rgba.insert(icon.rgba.end(), {0, 200, 0, 255});
    content->iconQuestions.back().found(1, icon);
    executor->runAll();
    const auto picture = window->grab();
    EXPECT_EQ(placeOfName(), before);
    EXPECT_EQ(window->pictures().toStdString(), "magnifyingglass, macwindow, lightbulb.fill, arrow.clockwise") << "the symbol stays";
    QRect green;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            if (picture.pixelColor(x, y) == QColor(0, 200, 0))
                green = green.united({x, y, 1, 1});
        }
    }
    EXPECT_EQ(green.size(), QSize(24, 24));
    EXPECT_LT(green.right(), before.left());
    EXPECT_GT(green.left(), 24 + 20 + 28) << "right of the symbol";
}

TEST_F(WindowPickerViewTest, WithoutIconsThereIsNoPlaceForThem)
{
    const auto leftOfName = [this] {
        double left = 0;
        window->forEachVisible([&](QQuickItem& item) {
            if (item.inherits("QQuickText") && item.property("text").toString() == QStringLiteral("Alpha"))
                left = item.mapRectToScene({0, 0, 1, 1}).left();
        });
        return left;
    };
    appear({listed(1, "Alpha", "a film")});
    const double withPlace = leftOfName();
    content->hasIcons = false;
    window.emplace(pickerView, model, QSize{560, 480});
    static_cast<void>(window->grab());
    EXPECT_EQ(leftOfName(), withPlace - 36);
}

TEST_F(WindowPickerViewTest, ATitleFromRightToLeftBeginsBesideItsIcon)
{
    const std::string title = QString::fromUtf8("חדשות הערב").toStdString();
    appear({listed(1, title.c_str(), title.c_str()), listed(2, "Beta", "left to right")});
    int seen = 0;
    window->forEachVisible([&](QQuickItem& item) {
        if (!item.inherits("QQuickText") || item.property("text").toString().toStdString() != title)
            return;
        ++seen;
        const auto picture = window->grab(item);
        int leftmost = picture.width();
        for (int y = 0; y < picture.height(); ++y) {
            for (int x = 0; x < leftmost; ++x) {
                if (qGray(picture.pixel(x, y)) > 100)
                    leftmost = x;
            }
        }
        EXPECT_LT(leftmost, 10);
    });
    EXPECT_EQ(seen, 2);
}

TEST_F(WindowPickerViewTest, EveryKindOfTitleAndNameTakesOneLineOfItsRow)
{
    const auto rowHeight = [this] {
        auto* row = first("QQuickItemDelegate");
        return row ? row->height() : 0;
    };
    appearWithThree();
    const double ordinary = rowHeight();
    for (const auto& [kind, text] : test::oddBytes()) {
        SCOPED_TRACE(kind);
        content->content.windows.clear();
        addLiveWindow(listed(7, "", ""));
        content->content.windows.back().title = text;
        content->content.windows.back().owningApplication->applicationName = text;
        model.refreshWindows();
        executor->runAll();
        EXPECT_FALSE(window->grab().isNull());
        EXPECT_LE(rowHeight(), ordinary);
        window->expectNoTextsOverlap();
        window->forEachVisible([&](QQuickItem& item) {
            if (item.inherits("QQuickText")) {
                EXPECT_LE(item.mapRectToScene({0, 0, item.width(), 1}).right(), 560);
            }
        });
    }
}

TEST_F(WindowPickerViewTest, EveryKindOfApplicationAndOfWhatItPlaysTakesOneLineInTheSecondStep)
{
    content->windowsToRequest = {1};
    appearWithThree();
    double ordinary = 0;
    const auto ask = [this](const std::string& text) {
        model.start();
        executor->runAll();
        auto granted = content->content.windows.front();
        granted.windowID = 7;
        content->pendingRequest(std::optional{granted});
        content->pendingSoundQuestion(platform::SoundChoices{{{{text, text, 12}, text, true}, {{text, text, 13}, text, false}}});
        executor->runAll();
        EXPECT_FALSE(window->grab().isNull());
        ASSERT_TRUE(window->shows(QStringLiteral("Choose Its Sound")));
    };
    ask("Player");
    ordinary = first("QQuickItemDelegate")->height();
    model.cancel();
    for (const auto& [kind, text] : test::oddBytes()) {
        SCOPED_TRACE(kind);
        ask(text);
        EXPECT_EQ(first("QQuickItemDelegate")->height(), ordinary);
        window->expectNoTextsOverlap();
        window->forEachVisible([&](QQuickItem& item) {
            if (item.inherits("QQuickText")) {
                EXPECT_LE(item.mapRectToScene({0, 0, item.width(), 1}).right(), 560);
                EXPECT_EQ(item.property("textFormat").toInt(), Qt::PlainText);
            }
            if (item.inherits("QQuickItemDelegate")) {
                const auto name = item.property("text").toString();
                EXPECT_LT(name.size(), 5000) << "what assistive technology reads";
                EXPECT_FALSE(name.contains(QLatin1Char('\n')));
            }
        });
        model.cancel();
        executor->runAll();
    }
}

}  // namespace
}  // namespace velmora
