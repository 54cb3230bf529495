#include "app/views/StatusWindow.h"

#include "tests/app/views/AppViews.h"
#include "tests/app/views/StatusFixture.h"
#include "tests/brand/KeyboardWalk.h"
#include "tests/brand/OddTexts.h"
#include "tests/brand/ViewTestWindow.h"
#include "tests/support/CoordinatorFixture.h"
#include "tests/support/Windows.h"

#include <QSet>

#include <gmock/gmock.h>

#include <fstream>
#include <optional>

namespace velmora {
namespace {

using test::film;
using test::NoStatusItem;
using test::ViewTestWindow;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

struct LoggedPresenter final : WindowPresenting {
    void presentOnboarding() override { log.emplace_back("walkthrough"); }
    void presentWindowPicker() override { log.emplace_back("picker"); }
    void presentClipPreview(const std::filesystem::path& clip) override { log.push_back("preview " + clip.filename().string()); }
    void presentPlayingClip(const std::filesystem::path&) override { ADD_FAILURE() << "nobody asked for that here"; }
    void presentSettings() override { log.emplace_back("settings"); }
    void presentClips() override { log.emplace_back("clips"); }

    std::vector<std::string> log;
};

struct LoggedAlerts final : AlertPresenter {
    void present(Alert alert, UniqueFunction<void(std::size_t)>) override { messages.push_back(alert.messageText); }

    std::vector<std::string> messages;
};

class StatusViewTest : public testing::Test, protected test::CoordinatorFixture {
protected:
    void show()
    {
        window.emplace(test::appView("StatusView"), model, QSize{400, 620});
        static_cast<void>(window->grab());
    }

    ~StatusViewTest() override { window.reset(); }

    void capture(const std::string& title = "Film")
    {
        auto chosen = film;
        chosen.title = title;
        addLiveWindow(chosen);
        coordinator->selectWindowAndStartCapture(chosen);
        executor->runAll();
    }

    void addClip(const std::string& name)
    {
        const auto clip = library->effectiveOutputDirectory() / name;
        std::filesystem::create_directories(clip.parent_path());
        std::ofstream{clip} << "a film";
        assetReader->durations[clip] = MediaTime{754, 1};
        library->reloadClips();
        executor->runAll();
    }

    /// What assistive technology reads of the control that has the focus.
    [[nodiscard]] QString focused() const
    {
        auto* item = window->window().activeFocusItem();
        auto* accessible = item ? QAccessible::queryAccessibleInterface(item) : nullptr;
        return accessible ? accessible->text(QAccessible::Name) : QString{};
    }

    void goTo(const char* command)
    {
        for (int presses = 0; presses < 20; ++presses)
            window->type(Qt::Key_Up);
        for (int presses = 0; presses < 20 && focused() != QString::fromUtf8(command); ++presses)
            window->type(Qt::Key_Down);
        ASSERT_EQ(focused(), QString::fromUtf8(command));
    }

    /// Names of all that has this role and is visible.
    [[nodiscard]] QStringList named(QAccessible::Role role) const
    {
        QStringList names;
        window->forEachVisible([&](QQuickItem& item) {
            auto* accessible = QAccessible::queryAccessibleInterface(&item);
            if (accessible && accessible->role() == role)
                names.append(accessible->text(QAccessible::Name));
        });
        return names;
    }

    bool isQuit = false;
    int pauses = 0;
    std::shared_ptr<LoggedPresenter> presenter = std::make_shared<LoggedPresenter>();
    std::shared_ptr<LoggedAlerts> alerts = std::make_shared<LoggedAlerts>();
    MenuBarController menuBar{{*coordinator, *library, workspace, alerts, presenter, [this] { isQuit = true; }, [this] { ++pauses; }},
        std::make_unique<NoStatusItem>()};
    StatusModel model{menuBar, *coordinator};
    std::optional<ViewTestWindow> window;
};

TEST_F(StatusViewTest, ItsKeysWorkWheneverItHasTheKeyboard)
{
    show();
    for (int tabs = 0; tabs < 3; ++tabs) {
        presenter->log.clear();
        alerts->messages.clear();
        workspace->opened.clear();
        window->type(Qt::Key_W, QStringLiteral("w"), Qt::MetaModifier);
        window->type(Qt::Key_Comma, QStringLiteral(","), Qt::MetaModifier);
        window->type(Qt::Key_O, QStringLiteral("o"), Qt::MetaModifier);
        window->type(Qt::Key_C, QStringLiteral("c"), Qt::MetaModifier | Qt::AltModifier);
        EXPECT_THAT(presenter->log, ElementsAre("picker", "settings"));
        EXPECT_THAT(workspace->opened, ElementsAre(library->effectiveOutputDirectory()));
        EXPECT_THAT(alerts->messages, ElementsAre("No Video Window Selected"));
        window->type(Qt::Key_Tab);
    }
    EXPECT_FALSE(isQuit);
    window->type(Qt::Key_Q, QStringLiteral("q"), Qt::MetaModifier);
    EXPECT_TRUE(isQuit);
}

TEST_F(StatusViewTest, ItLeadsToAllClipsWhichTheMenuOfTheTrayDoesNot)
{
    show();
    goTo("🎬 Show All Clips...");
    window->type(Qt::Key_Return);
    EXPECT_THAT(presenter->log, ElementsAre("clips"));
    for (const auto& item : menuBar.menuNeedsUpdate())
        EXPECT_NE(item.action, MenuAction::showClips) << item.title;
}

TEST_F(StatusViewTest, ARecordingCanBePausedThereAndNothingElse)
{
    const auto titles = [this] {
        std::string all;
        for (int row = 0; row < model.rowCount(); ++row)
            all += model.data(model.index(row), StatusModel::Title).toString().toStdString() + '|';
        return all;
    };
    show();
    EXPECT_THAT(titles(), Not(HasSubstr("Pause")));
    menuBar.setRemarks({.progress = "0:32"});
    EXPECT_THAT(titles(), HasSubstr("⏺️ Start Recording Live Clip|⏸️ Pause Recording||"));
    goTo("⏸️ Pause Recording");
    window->type(Qt::Key_Return);
    EXPECT_EQ(pauses, 1);
    menuBar.setRemarks({.progress = "0:32", .isPaused = true});
    EXPECT_THAT(titles(), HasSubstr("▶️ Resume Recording|"));
    EXPECT_EQ(focused(), QString::fromUtf8("▶️ Resume Recording")) << "whoever was at the row stays there";
    window->type(Qt::Key_Space, QStringLiteral(" "));
    EXPECT_EQ(pauses, 2);
    menuBar.setRemarks({});
    EXPECT_THAT(titles(), Not(HasSubstr("Resume")));
    for (const auto& item : menuBar.menuNeedsUpdate())
        EXPECT_NE(item.action, MenuAction::togglePause) << item.title;
}

TEST_F(StatusViewTest, AKeyWithoutItsModifierDoesNothing)
{
    show();
    window->type(Qt::Key_Q, QStringLiteral("q"));
    window->type(Qt::Key_Q, QStringLiteral("q"), Qt::MetaModifier | Qt::ShiftModifier);
    window->type(Qt::Key_W, QStringLiteral("w"), Qt::ControlModifier);
    EXPECT_FALSE(isQuit);
    EXPECT_TRUE(presenter->log.empty());
}

TEST_F(StatusViewTest, TheFirstCommandHasTheKeyboardAndArrowsGoFromOneToTheNext)
{
    show();
    EXPECT_EQ(focused(), QString::fromUtf8("👉 Click \"Choose Video Window...\" below to start"));
    QStringList reached;
    for (int presses = 0; presses < 9; ++presses) {
        reached.append(focused());
        window->type(Qt::Key_Down);
    }
    EXPECT_EQ(reached.join(QLatin1Char('|')).toStdString(),
        "👉 Click \"Choose Video Window...\" below to start|⏺️ Start Recording Live Clip|"
        "🎯 Choose Video Window to Clip...|🎬 Show All Clips...|📁 Open Clips Folder in Finder|"
        "📖 How to Use & Walkthrough...|⚙️ Settings...|✕ Quit Velmora|✕ Quit Velmora");
    window->type(Qt::Key_Up);
    EXPECT_EQ(focused(), QString::fromUtf8("⚙️ Settings..."));
    window->type(Qt::Key_Return);
    window->type(Qt::Key_Enter);
    window->type(Qt::Key_Space, QStringLiteral(" "));
    EXPECT_THAT(presenter->log, ElementsAre("settings", "settings", "settings"));
}

TEST_F(StatusViewTest, TabReachesEveryCommand)
{
    show();
    QStringList reached;
    for (int presses = 0; presses < 8; ++presses) {
        reached.append(focused());
        window->type(Qt::Key_Tab);
    }
    EXPECT_EQ(reached.size(), 8);
    EXPECT_EQ(reached.removeDuplicates(), 0) << reached.join(QLatin1Char('|')).toStdString();
}

TEST_F(StatusViewTest, TheKeyboardGoesRoundItsRowsAndEachSaysThatItHasIt)
{
    addClip("Velmora-Recording-2026-11-21-10-20-30.mp4");
    capture();
    coordinator->startRecording();
    show();
    EXPECT_THAT(test::walkWithTab(*window), ::testing::Contains(HasSubstr("Stop Recording Clip")));
    test::expectAllIsSaid(*window);
}

TEST_F(StatusViewTest, TheKeyboardStaysOnItsCommandWhenTheStateChanges)
{
    show();
    capture();
    goTo("⏺️ Start Recording Live Clip");
    window->type(Qt::Key_Return);
    executor->runAll();
    static_cast<void>(window->grab());
    EXPECT_EQ(focused(), QString::fromUtf8("⏹️ Stop Recording Clip"));
    EXPECT_TRUE(coordinator->isRecording());
    addClip("Later.mp4");
    static_cast<void>(window->grab());
    EXPECT_EQ(focused(), QString::fromUtf8("⏹️ Stop Recording Clip"));
}

TEST_F(StatusViewTest, OfTwoRowsThatDoTheSameTheKeyboardStaysOnItsOwn)
{
    show();
    goTo("🎯 Choose Video Window to Clip...");
    addClip("Later.mp4");
    static_cast<void>(window->grab());
    EXPECT_EQ(focused(), QString::fromUtf8("🎯 Choose Video Window to Clip..."));
}

TEST_F(StatusViewTest, ACommandThatGoesAwayLeavesTheKeyboardToOneThatIsThere)
{
    show();
    capture();
    goTo("⏹️ Stop Clipping This Window");
    window->type(Qt::Key_Return);
    executor->runAll();
    static_cast<void>(window->grab());
    EXPECT_FALSE(coordinator->selectedWindow());
    EXPECT_TRUE(focused().endsWith(QStringLiteral("...")) || focused().contains(QStringLiteral("Start"))) << focused().toStdString();
}

TEST_F(StatusViewTest, RowsSayWhatTheyAre)
{
    addClip("Clip.mp4");
    show();
    auto* root = QAccessible::queryAccessibleInterface(window->root());
    EXPECT_EQ(root->role(), QAccessible::PopupMenu);
    EXPECT_EQ(root->text(QAccessible::Name), QStringLiteral("Velmora"));
    QStringList commands;
    window->forEachVisible([&](QQuickItem& item) {
        if (!item.inherits("QQuickMenuItem"))
            return;
        auto* accessible = QAccessible::queryAccessibleInterface(&item);
        commands.append(accessible->text(QAccessible::Name));
    });
    EXPECT_EQ(commands.join(QLatin1Char('|')).toStdString(),
        "👉 Click \"Choose Video Window...\" below to start|⏺️ Start Recording Live Clip|🎯 Choose Video Window to "
        "Clip...|Clip.mp4 "
        "(12:34)|🎬 Show All Clips...|📁 Open "
        "Clips Folder in Finder|📖 How to Use & Walkthrough...|⚙️ Settings...|✕ Quit Velmora");
    EXPECT_EQ(named(QAccessible::MenuItem).join(QLatin1Char('|')).toStdString(), commands.join(QLatin1Char('|')).toStdString());
    EXPECT_TRUE(named(QAccessible::ListItem).isEmpty());
    EXPECT_EQ(named(QAccessible::Separator).size(), 5);
    EXPECT_TRUE(named(QAccessible::StaticText).contains(QString::fromUtf8("⚠️ No Video Window Selected")));
    window->forEachVisible([&](QQuickItem& item) {
        auto* accessible = QAccessible::queryAccessibleInterface(&item);
        if (accessible && accessible->text(QAccessible::Name) == QString::fromUtf8("⏺️ Start Recording Live Clip")) {
            EXPECT_EQ(accessible->text(QAccessible::Description), QStringLiteral("Alt+Super+C"));
            EXPECT_TRUE(accessible->state().focusable);
        }
    });
}

TEST_F(StatusViewTest, TheWarningSignIsAColouredPictureAsTheOtherSymbolsAre)
{
    show();
    int amber = 0;
    window->forEachVisible([&](QQuickItem& item) {
        if (!item.inherits("QQuickText") || !item.property("text").toString().startsWith(QString::fromUtf8("⚠️")))
            return;
        const auto image = window->grab(item);
        for (int row = 0; row < image.height(); ++row) {
            for (int column = 0; column < image.width(); ++column) {
                const auto pixel = image.pixelColor(column, row);
                amber += pixel.red() > 180 && pixel.blue() < 100 ? 1 : 0;
            }
        }
    });
    EXPECT_GT(amber, 20);
}

TEST_F(StatusViewTest, TheStateComesFirstThenTheRecordRowAndBothAreLargerThanTheRest)
{
    show();
    capture();
    static_cast<void>(window->grab());
    const auto heightOf = [&](const char* words) {
        const QQuickItem* found = nullptr;
        window->forEachVisible([&](QQuickItem& item) {
            if (item.inherits("QQuickText") && item.property("text").toString() == QString::fromUtf8(words))
                found = &item;
        });
        EXPECT_TRUE(found) << words;
        return found ? found->property("font").value<QFont>().pixelSize() : 0;
    };
    EXPECT_EQ(heightOf("Ready — Press ⌥⌘C to Start Recording"), 15);
    EXPECT_EQ(heightOf("Start Recording Live Clip"), 15);
    EXPECT_EQ(heightOf("Change Video Window..."), 13);
    int prominent = 0;
    window->forEachVisible([&](QQuickItem& item) {
        if (!item.inherits("QQuickMenuItem"))
            return;
        const auto row = window->grab(item);
        const auto ground = row.pixelColor(row.width() / 2, 6);
        const bool isTinted = ground.red() > ground.blue();
        prominent += isTinted ? 1 : 0;
        EXPECT_EQ(isTinted, item.property("text").toString().contains(QStringLiteral("Start Recording")));
    });
    EXPECT_EQ(prominent, 1);
}

TEST_F(StatusViewTest, SymbolsStandInOneColumnAndAllWordsBeginInAnother)
{
    addClip("סרט.mp4");
    show();
    capture();
    static_cast<void>(window->grab());
    QSet<int> words;
    window->forEachVisible([&](QQuickItem& item) {
        const auto text = item.property("text").toString();
        if (!item.inherits("QQuickText") || text.isEmpty())
            return;
        const double left = item.mapToScene({0, 0}).x();
        if (left > 250 || text == QStringLiteral("MORA"))
            return;  // keys, and the end of the name
        const auto shown = window->grab(item);
        int first = 0;
        const auto isPainted = [&] {
            for (int y = 0; y < shown.height(); ++y) {
                if (shown.pixelColor(first, y).lightness() > 110)
                    return true;
            }
            return false;
        };
        while (first < shown.width() - 1 && !isPainted())
            ++first;
        if (left < 60) {
            EXPECT_NEAR(left + item.width() / 2, 16 + 28, 1) << text.toStdString();
        } else {
            EXPECT_NEAR(left + first, 16 + 48, 3) << text.toStdString();
        }
        words.insert(left < 60 ? 0 : 1);
    });
    EXPECT_EQ(words.size(), 2);
}

TEST_F(StatusViewTest, WhatIsSaidOfTheStateStandsBeneathItsRowAndNothingMovesWhenItChanges)
{
    show();
    capture();
    coordinator->startRecording();
    static_cast<void>(window->grab());
    const double before = window->root()->implicitHeight();
    menuBar.setRemarks({.progress = "0:01"});
    static_cast<void>(window->grab());
    EXPECT_TRUE(window->shows(QStringLiteral("0:01")));
    EXPECT_GT(window->root()->implicitHeight(), before);
    goTo("⏹️ Stop Clipping This Window");
    auto* current = window->window().activeFocusItem();
    const double height = window->root()->implicitHeight();
    menuBar.setRemarks({.progress = "0:02, 1 MB so far"});
    static_cast<void>(window->grab());
    EXPECT_TRUE(window->shows(QStringLiteral("0:02, 1 MB so far")));
    EXPECT_EQ(window->window().activeFocusItem(), current) << "the row is the same object";
    EXPECT_EQ(window->root()->implicitHeight(), height);
    window->expectNoTextsOverlap();
    menuBar.setRemarks({});
    static_cast<void>(window->grab());
    EXPECT_EQ(window->root()->implicitHeight(), before);
}

TEST_F(StatusViewTest, WhatEndsARecordingUnsavedSaysSoBeneathItsRowAndToAScreenReader)
{
    show();
    capture();
    const auto unsaved = QStringLiteral("Ends the recording without saving it.");
    static_cast<void>(window->grab());
    EXPECT_FALSE(window->shows(unsaved));
    coordinator->startRecording();
    static_cast<void>(window->grab());
    EXPECT_TRUE(window->shows(unsaved));
    EXPECT_TRUE(window->shows(QStringLiteral("Choosing a window ends the recording without saving it.")));
    window->expectNoTextsOverlap();
    window->forEachVisible([&](QQuickItem& item) {
        auto* accessible = QAccessible::queryAccessibleInterface(&item);
        if (accessible && accessible->text(QAccessible::Name) == QString::fromUtf8("✕ Quit Velmora")) {
            EXPECT_EQ(accessible->text(QAccessible::Description), QStringLiteral("Super+Q. ") + unsaved);
        }
    });
}

TEST_F(StatusViewTest, ALongRemarkIsWrappedInsideTheWindow)
{
    show();
    capture();
    const std::string reason = "Windows of a Wayland session cannot be captured yet; log in to an X11 session, or ask whoever looks after "
                               "this computer for a portal that can share windows.";
    menuBar.setRemarks({.problem = reason, .shortcut = reason});
    static_cast<void>(window->grab());
    window->expectNothingIsCutOff({16, 0, 368, 2000});
    menuBar.setRemarks({.notice = reason});
    static_cast<void>(window->grab());
    EXPECT_TRUE(window->shows(QString::fromStdString(reason)));
    EXPECT_TRUE(named(QAccessible::StaticText).contains(QString::fromStdString(reason)));
    window->expectNothingIsCutOff({16, 0, 368, 2000});
    window->expectNoTextsOverlap();
    for (const auto& [kind, text] : test::oddBytes()) {
        SCOPED_TRACE(kind);
        menuBar.setRemarks({.problem = text, .notice = text});
        EXPECT_FALSE(window->grab().isNull());
        window->expectNoTextsOverlap();
    }
}

TEST_F(StatusViewTest, EveryKindOfTitleTakesItsOneRow)
{
    show();
    const auto height = [this] { return window->root()->implicitHeight(); };
    capture();
    static_cast<void>(window->grab());
    const double ordinary = height();
    for (const auto& [kind, text] : test::oddBytes()) {
        SCOPED_TRACE(kind);
        content->content.windows.clear();
        capture(text);
        EXPECT_FALSE(window->grab().isNull());
        EXPECT_EQ(height(), ordinary);
        window->expectNoTextsOverlap();
        window->forEachVisible([&](QQuickItem& item) {
            if (item.inherits("QQuickText")) {
                EXPECT_LE(item.mapRectToScene({0, 0, item.width(), 1}).right(), 400 - 16);
            }
        });
    }
}

TEST_F(StatusViewTest, ALongClipsNameKeepsItsDuration)
{
    addClip(std::string(200, 'w') + ".mp4");
    show();
    bool isSeen = false;
    window->forEachVisible([&](QQuickItem& item) {
        if (!item.inherits("QQuickText") || !item.property("text").toString().endsWith(QStringLiteral("(12:34)")))
            return;
        isSeen = true;
        EXPECT_TRUE(item.property("truncated").toBool());
        EXPECT_EQ(item.property("elide").toInt(), Qt::ElideMiddle);
    });
    EXPECT_TRUE(isSeen);
}

TEST_F(StatusViewTest, ItIsAsMuchWiderAsTheTextIsLarger)
{
    window.emplace(test::appView("StatusView"), model, QSize{400, 620});
    EXPECT_EQ(window->root()->implicitWidth(), 400);
    setTextScale(window->engine(), 1.5);
    EXPECT_EQ(window->root()->implicitWidth(), 600);
}

TEST_F(StatusViewTest, LargerTextHasLargerSymbolsAndALargerNameAndNothingTouches)
{
    window.emplace(test::appView("StatusView"), model, QSize{600, 800});
    setTextScale(window->engine(), 1.5);
    static_cast<void>(window->grab());
    double words = 0;
    window->forEachVisible([&](QQuickItem& item) {
        if (item.inherits("QQuickText") && item.property("text").toString().startsWith(QStringLiteral("Settings")))
            words = item.mapToScene({0, 0}).x();
    });
    int symbols = 0;
    window->forEachVisible([&](QQuickItem& item) {
        const auto text = item.property("text").toString();
        if (!item.inherits("QQuickText"))
            return;
        if (text == QStringLiteral("VEL")) {
            EXPECT_EQ(item.property("font").value<QFont>().pixelSize(), qRound(24 * 1.5 * 0.6));
            EXPECT_NEAR(item.mapToScene({0, 0}).x(), words, 3);
        }
        if (text == QString::fromUtf8("⚙️") || text == QString::fromUtf8("📖")) {
            ++symbols;
            const double painted = item.property("contentWidth").toDouble();
            const double middle = item.mapToScene({item.width() / 2, 0}).x();
            EXPECT_LE(middle + painted / 2 + 6, words) << text.toStdString();
            EXPECT_GE(middle - painted / 2, 16 + 6) << text.toStdString();
        }
    });
    EXPECT_EQ(symbols, 2);
}

TEST_F(StatusViewTest, OnceAWindowIsChosenTheKeyboardIsWhereTheRecordingStarts)
{
    show();
    ASSERT_EQ(focused(), QString::fromUtf8("👉 Click \"Choose Video Window...\" below to start"));
    capture();
    static_cast<void>(window->grab());
    EXPECT_EQ(focused(), QString::fromUtf8("⏺️ Start Recording Live Clip"));
    window->type(Qt::Key_Return);
    executor->runAll();
    EXPECT_TRUE(coordinator->isRecording());
}

TEST_F(StatusViewTest, WhereItDoesNotFitItScrollsToTheRowThatHasTheKeyboard)
{
    window.emplace(test::appView("StatusView"), model, QSize{400, 240});
    static_cast<void>(window->grab());
    for (int presses = 0; presses < 8; ++presses)
        window->type(Qt::Key_Down);
    static_cast<void>(window->grab());
    const auto* item = window->window().activeFocusItem();
    ASSERT_TRUE(item);
    EXPECT_EQ(focused(), QString::fromUtf8("✕ Quit Velmora"));
    EXPECT_TRUE(QRectF(0, 0, 400, 240).contains(item->mapRectToScene({0, 0, item->width(), item->height()})));
}

}  // namespace
}  // namespace velmora
