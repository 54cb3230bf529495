#include "brand/BrandColors.h"
#include "brand/Theme.h"
#include "tests/brand/KeyboardWalk.h"
#include "tests/brand/OddTexts.h"
#include "tests/brand/ViewTestWindow.h"
#include "tests/settings/SettingsFixture.h"
#include "tests/settings/SettingsViews.h"

#include <gmock/gmock.h>

#include <map>

namespace velmora {
namespace {

using test::ViewTestWindow;

class SettingsViewTest : public testing::Test, protected test::SettingsFixture {
protected:
    SettingsViewTest() { test::linkSettingsViews(); }

    ViewTestWindow window{test::settingsView, model, test::settingsSize};
};

TEST_F(SettingsViewTest, SaysEverythingThatItHasToSay)
{
    for (const auto* text :
        {"Velmora", "macOS Native Instant Video Capture", "The Orbelle • Obsidian Slate & Electric Coral edition", "Clips Storage",
            "Saved Clips Folder:", "Clips are saved locally in MP4 format with timestamps and will never overwrite existing files.",
            "Help & Walkthrough", "Need a refresher on how Velmora works or where to find it?",
            "Revisit the 5-step first-time walkthrough anytime to learn about the menu bar icon, keyboard shortcuts, and clipping tips.",
            "Keyboard & Mouse Controls", "Start / Stop Recording", "Option + Command + C", "Shortcut active and listening system-wide",
            "💡 Prefer using your mouse? You can trigger recording directly by clicking the Orbelle icon in your top menu bar.",
            "Privacy & Permissions",
            "All capture and encoding is strictly 100% local on your Mac. No network calls, telemetry, or external analytics.",
            "Screen Recording Permission:", "Granted", "On this keyboard: Alt + Super + C",
            "Another folder that you choose holds until Velmora ends."})
        EXPECT_TRUE(window.shows(QString::fromUtf8(text))) << text;
    for (const auto* text : {"Change...", "Open", "Open First-Time Walkthrough..."})
        EXPECT_TRUE(window.hasButton(QString::fromUtf8(text))) << text;
    EXPECT_TRUE(window.shows(model.savedClipsFolder()));
}

TEST_F(SettingsViewTest, TheSectionsStandBelowEachOtherAndSoDoesWhatIsInThem)
{
    static_cast<void>(window.grab());
    std::map<double, QString> headings;
    window.forEachVisible([&](QQuickItem& item) {
        auto* accessible = QAccessible::queryAccessibleInterface(&item);
        if (accessible && accessible->role() == QAccessible::Heading)
            headings[item.mapToScene({0, 0}).y()] = item.property("text").toString();
    });
    QStringList order;
    for (const auto& [y, text] : headings)
        order.append(text);
    EXPECT_EQ(order.join(QLatin1Char('|')).toStdString(),
        "Velmora|Clips Storage|Help & Walkthrough|Keyboard & Mouse Controls|Privacy & Permissions|On this computer");
    const auto top = [this](const char* text) {
        double y = -1;
        window.forEachVisible([&](QQuickItem& item) {
            if (item.inherits("QQuickText") && item.property("text").toString() == QString::fromUtf8(text))
                y = item.mapToScene({0, 0}).y();
        });
        EXPECT_GE(y, 0) << text;
        return y;
    };
    double before = 0;
    for (const auto* text : {"macOS Native Instant Video Capture", "The Orbelle • Obsidian Slate & Electric Coral edition", "Clips Storage",
             "Saved Clips Folder:", "Change...",
             "Clips are saved locally in MP4 format with timestamps and will never overwrite existing files.", "Help & Walkthrough",
             "Need a refresher on how Velmora works or where to find it?",
             "Revisit the 5-step first-time walkthrough anytime to learn about the menu bar icon, keyboard shortcuts, and clipping tips.",
             "Open First-Time Walkthrough...", "Keyboard & Mouse Controls", "Start / Stop Recording",
             "Shortcut active and listening system-wide",
             "💡 Prefer using your mouse? You can trigger recording directly by clicking the Orbelle icon in your top menu bar.",
             "Privacy & Permissions",
             "All capture and encoding is strictly 100% local on your Mac. No network calls, telemetry, or external analytics.",
             "Screen Recording Permission:", "On this computer", "Start at log-in", "Keys of your own"}) {
        EXPECT_GT(top(text), before) << text;
        before = top(text);
    }
}

TEST_F(SettingsViewTest, EachStateHasItsSymbol)
{
    EXPECT_EQ(window.pictures().toStdString(), "icon 60, checkmark.circle.fill, checkmark.circle.fill") << "the shortcut, the permission";
    refuseShortcut();
    EXPECT_EQ(window.pictures().toStdString(), "icon 60, exclamationmark.triangle.fill, checkmark.circle.fill");
    withdrawPermission("There is no display.");
    EXPECT_EQ(window.pictures().toStdString(), "icon 60, exclamationmark.triangle.fill");
}

TEST_F(SettingsViewTest, EveryKindOfFolderAndErrorIsShown)
{
    for (const auto& [kind, name] : test::oddNames()) {
        SCOPED_TRACE(kind);
        fileManager->writeError = std::nullopt;
        library->setOutputDirectory(folder.path() / name);
        executor->runAll();
        EXPECT_FALSE(window.grab().isNull());
    }
    for (const auto& [kind, text] : test::oddBytes()) {
        SCOPED_TRACE(kind);
        library->setOutputDirectory(folder.path() / "clips");
        executor->runAll();
        EXPECT_FALSE(window.grab().isNull());
        fileManager->writeError = posixError(EACCES, text);
        model.chooseDestinationFolder();
        folderChooser->answer(folder.path());
        executor->runAll();
        EXPECT_FALSE(window.grab().isNull());
        window.expectNoTextsOverlap();
        window.forEachVisible([&](QQuickItem& item) {
            if (item.inherits("QQuickText")) {
                EXPECT_LE(item.mapRectToScene({0, 0, item.width(), 1}).right(), 540 - 24);
                EXPECT_LE(item.height(), 120);
            }
        });
    }
}

TEST_F(SettingsViewTest, SpeaksOfTheTrayOnlyWhereThereIsOne)
{
    const auto inTheTray = QStringLiteral("On this desktop: in your panel's tray.");
    const auto inAWindow = QStringLiteral("This desktop has no tray: trigger it in Velmora's small window.");
    model.viewWillAppear();
    EXPECT_TRUE(window.shows(inTheTray));
    hasTray = false;
    model.viewWillAppear();
    EXPECT_FALSE(window.shows(inTheTray));
    EXPECT_TRUE(window.shows(inAWindow));
}

TEST_F(SettingsViewTest, NothingIsCutOff)
{
    hasTray = false;
    model.viewWillAppear();
    refuseShortcut();
    withdrawPermission("Windows of this desktop cannot be captured.");
    static_cast<void>(window.grab());
    window.expectNothingIsCutOff({24, 0, 492, 2000});
    window.expectNoTextsOverlap();
}

TEST_F(SettingsViewTest, WithoutTheShortcutTheWarningStandsInThePlaceOfTheConfirmation)
{
    refuseShortcut();
    EXPECT_FALSE(window.shows(QStringLiteral("Shortcut active and listening system-wide")));
    const auto message = QString::fromStdString(*shortcutManager->registrationErrorMessage());
    EXPECT_TRUE(window.shows(message));
    EXPECT_TRUE(window.hasAlert(message));
    hotKeyCenter->registerStatus = 0;
    shortcutManager->registerAll();
    EXPECT_TRUE(window.shows(QStringLiteral("Shortcut active and listening system-wide")));
    EXPECT_FALSE(window.shows(message));
}

TEST_F(SettingsViewTest, GrantAccessStandsWhereGrantedDoesAndThePermissionTakesItAway)
{
    EXPECT_FALSE(window.hasButton(QStringLiteral("Grant Access")));
    withdrawPermission("There is no display.");
    EXPECT_FALSE(window.shows(QStringLiteral("Granted")));
    EXPECT_TRUE(window.shows(QStringLiteral("There is no display.")));
    window.button(QStringLiteral("Grant Access")).forceActiveFocus();
    static_cast<void>(window.grab());
    window.press(QStringLiteral("Grant Access"));
    EXPECT_EQ(workspace->openedURLs.size(), 1U);
    access->isGranted = true;
    appear();
    EXPECT_TRUE(window.shows(QStringLiteral("Granted")));
    EXPECT_FALSE(window.hasButton(QStringLiteral("Grant Access")));
    EXPECT_TRUE(window.hasAlert(QStringLiteral("Granted")));
}

TEST_F(SettingsViewTest, ARefusedFolderSaysWhyAndTheNextTryTakesThatAway)
{
    fileManager->writeError = posixError(EACCES, "<b>Films</b>");
    window.press(QStringLiteral("Change..."));
    folderChooser->answer(folder.path());
    const auto message = QStringLiteral("<b>Films</b>: Permission denied");
    EXPECT_TRUE(window.shows(message));
    EXPECT_TRUE(window.hasAlert(message));
    window.press(QStringLiteral("Change..."));
    EXPECT_FALSE(window.shows(message));
}

TEST_F(SettingsViewTest, AnotherFolderShowsAtOnce)
{
    library->setOutputDirectory(folder.path() / "Other");
    EXPECT_TRUE(window.shows(QString::fromStdString((folder.path() / "Other").string())));
}

TEST_F(SettingsViewTest, TheButtonsDoWhatTheySay)
{
    window.press(QStringLiteral("Open"));
    EXPECT_EQ(workspace->opened.size(), 1U);
    window.press(QStringLiteral("Open First-Time Walkthrough..."));
    EXPECT_EQ(walkthroughs, 1);
}

TEST_F(SettingsViewTest, TabReachesEveryButtonAndScrollsToIt)
{
    withdrawPermission();
    appear();
    QStringList reached;
    for (int presses = 0; presses < 6; ++presses) {
        window.type(Qt::Key_Tab);
        reached.append(window.focusedButton());
        const auto* item = window.window().activeFocusItem();
        ASSERT_TRUE(item);
        const auto place = item->mapRectToScene({0, 0, item->width(), item->height()});
        EXPECT_TRUE(QRectF(0, 0, 540, 500).contains(place)) << reached.last().toStdString() << " at " << place.y();
        if (reached.last() == QStringLiteral("Grant Access"))
            break;
    }
    EXPECT_EQ(reached,
        QStringList({QStringLiteral("Change..."), QStringLiteral("Open"), QStringLiteral("Open First-Time Walkthrough..."),
            QStringLiteral("Grant Access")}));
    window.type(Qt::Key_Space, QStringLiteral(" "));
    EXPECT_EQ(workspace->openedURLs.size(), 1U);
    window.type(Qt::Key_Return);
    EXPECT_EQ(workspace->openedURLs.size(), 2U);
}

TEST_F(SettingsViewTest, TheKeyboardGoesRoundEverythingAndAllOfItHasAName)
{
    withdrawPermission();
    appear();
    EXPECT_THAT(test::walkWithTab(window), ::testing::IsSupersetOf({"Change...", "Open", "Grant Access", "Start at log-in"}));
    test::expectAllIsSaid(window);
}

TEST_F(SettingsViewTest, ReturnPressesNothingBeforeAControlHasTheKeyboard)
{
    appear();
    window.type(Qt::Key_Return);
    window.type(Qt::Key_Space, QStringLiteral(" "));
    EXPECT_TRUE(folderChooser->panels.empty());
}

TEST_F(SettingsViewTest, KeysScrollAndTheNextOpeningBeginsAtTheTop)
{
    appear();
    const auto top = window.grab();
    window.type(Qt::Key_End);
    EXPECT_NE(window.grab(), top);
    window.type(Qt::Key_Home);
    EXPECT_EQ(window.grab(), top);
    window.type(Qt::Key_PageDown);
    EXPECT_NE(window.grab(), top);
    appear();
    EXPECT_EQ(window.grab(), top);
}

TEST_F(SettingsViewTest, EscapeCloses)
{
    int dismissals = 0;
    QObject::connect(&model, &SettingsModel::dismissed, &model, [&] { ++dismissals; });
    window.type(Qt::Key_Escape);
    EXPECT_EQ(dismissals, 1);
}

TEST_F(SettingsViewTest, TheLogInSwitchFollowsTheDesktopsListAndStaysWhereItCannotBeTurned)
{
    const auto text = QStringLiteral("Start at log-in");
    const auto isChecked = [&] { return window.button(text).property("checked").toBool(); };
    workspace->keys = platform::KeySettings{"Settings, Keyboard", true};
    appear();
    window.type(Qt::Key_End);
    EXPECT_FALSE(isChecked());
    const auto off = window.grab(window.button(text));
    window.press(text);
    EXPECT_TRUE(loginItem->current.isOn);
    EXPECT_TRUE(isChecked());
    const auto on = window.grab(window.button(text));
    EXPECT_NE(on, off);
    const auto coral = [](const QImage& image) { return image.pixelColor(image.width() - 34, image.height() / 2); };
    EXPECT_EQ(coral(on).rgb(), Theme::hovered(BrandColors::coral).rgb()) << "with the pointer above it";
    EXPECT_NE(coral(off), coral(on));
    loginItem->error = posixError(EROFS, "entry");
    window.press(text);
    EXPECT_TRUE(isChecked());
    EXPECT_TRUE(window.hasAlert(model.logInRemark()));
    loginItem->error.reset();
    window.button(text).forceActiveFocus(Qt::TabFocusReason);
    window.type(Qt::Key_Space, QStringLiteral(" "));
    EXPECT_FALSE(loginItem->current.isOn);
    window.type(Qt::Key_Return);
    EXPECT_TRUE(loginItem->current.isOn);
    EXPECT_TRUE(isChecked());
    auto* accessible = QAccessible::queryAccessibleInterface(&window.button(text));
    EXPECT_EQ(accessible->role(), QAccessible::CheckBox);
    EXPECT_TRUE(accessible->state().checked);
    loginItem->current = {false, false, "Another program is started."};
    appear();
    window.type(Qt::Key_End);
    EXPECT_FALSE(isChecked());
    EXPECT_FALSE(window.button(text).isEnabled());
    EXPECT_TRUE(window.shows(QStringLiteral("Another program is started.")));
    window.press(QStringLiteral("Open Keyboard Settings"));
    EXPECT_EQ(workspace->keySettingsOpened, 1);
}

TEST_F(SettingsViewTest, WithoutAPageOfKeysThereIsNoButtonForIt)
{
    workspace->keys = platform::KeySettings{"Settings, Keyboard", false};
    appear();
    EXPECT_FALSE(window.hasButton(QStringLiteral("Open Keyboard Settings")));
    EXPECT_TRUE(window.shows(model.keyAdvice()));
}

TEST_F(SettingsViewTest, TheStatesHaveTheirColours)
{
    const auto pixels = [&](const char* symbolOf) {
        QImage image;
        static_cast<void>(window.grab());  // forces the layout
        window.forEachVisible([&](QQuickItem& item) {
            if (item.inherits("QQuickImage") && item.property("source").toString().contains(QLatin1String(symbolOf)))
                image = window.grab(item);
        });
        return image;
    };
    const auto has = [](const QImage& image, const QColor& color) {
        for (int row = 0; row < image.height(); ++row)
            for (int column = 0; column < image.width(); ++column)
                if (image.pixelColor(column, row) == color)
                    return true;
        return false;
    };
    window.type(Qt::Key_End);
    EXPECT_TRUE(has(pixels("checkmark.circle.fill"), BrandColors::green));
    refuseShortcut();
    EXPECT_TRUE(has(pixels("exclamationmark.triangle.fill"), BrandColors::amber));
}

}  // namespace
}  // namespace velmora
