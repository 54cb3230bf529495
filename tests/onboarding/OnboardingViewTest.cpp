#include "brand/BrandColors.h"
#include "tests/brand/KeyboardWalk.h"
#include "tests/brand/OddTexts.h"
#include "tests/brand/ViewTestWindow.h"
#include "tests/onboarding/OnboardingFixture.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <memory>
#include <string>

namespace velmora {
namespace {

using test::ViewTestWindow;

class OnboardingViewTest : public testing::Test, protected test::OnboardingFixture {
protected:
    OnboardingViewTest()
    {
        setReducesMotion(window.engine(), true);
        appear();
        QObject::connect(&model, &OnboardingModel::dismissed, &model, [this] { ++dismissals; });
    }

    void show(int step)
    {
        model.setCurrentStep(step);
        static_cast<void>(window.grab());
    }

    /// Looks at the step's body only, which holds nothing else.
    void expectAllIsSeen(int step)
    {
        show(step);
        window.forEachVisible([&](QQuickItem& item) {
            if (!item.inherits("QQuickFlickable") || !item.isEnabled())
                return;
            EXPECT_LE(item.property("contentHeight").toDouble(), item.height()) << "step " << step + 1 << " needs no scrolling";
        });
        window.expectNothingIsCutOff({24, 0, 592, 530});
        window.expectNoTextsOverlap();
    }

    /// What is shown below the top bar, from top to bottom: pictures in brackets, and of the texts those that are asked for.
    [[nodiscard]] std::string order(const std::vector<const char*>& texts)
    {
        std::vector<std::pair<double, std::string>> found;
        window.forEachVisible([&](QQuickItem& item) {
            const auto text = item.property("text").toString().toStdString();
            const auto middle = item.mapToScene({0, item.height() / 2}).y();
            if (const auto picture = ViewTestWindow::pictureName(item); !picture.isEmpty() && middle > topBar)
                found.emplace_back(middle, "[" + picture.toStdString() + "]");
            else if (item.inherits("QQuickText") && std::find(texts.begin(), texts.end(), text) != texts.end())
                found.emplace_back(item.mapToScene({0, 0}).y(), text);
        });
        std::stable_sort(found.begin(), found.end(), [](const auto& left, const auto& right) { return left.first < right.first; });
        std::string joined;
        for (const auto& [y, what] : found)
            joined += (joined.empty() ? "" : "|") + what;
        return joined;
    }

    /// How many of the steps there are in that view.
    [[nodiscard]] static auto madeSteps(const QObject& root)
    {
        const auto items = root.findChildren<QQuickItem*>();
        return std::count_if(items.begin(), items.end(), [](const QQuickItem* item) { return item->inherits("QQuickFlickable"); });
    }

    static constexpr double topBar = 52;

    ViewTestWindow window{view, model, size};
    int dismissals = 0;
};

TEST_F(OnboardingViewTest, TheFirstStepSaysWhatItIsAbout)
{
    for (const auto* text : {"First-Time User Walkthrough • Step 1 of 5",
             "Instant video capture for your Mac — you decide exactly what to capture.", "Pick Your Video Window",
             "Watch a video in Brave, Chrome, Safari, Netflix, QuickTime, or VLC. Tell Velmora which window to watch.",
             "Start Recording When Ready",
             "Press ⌥⌘C (or click the menu icon) when the moment starts. Press again when it ends — Velmora saves your clip instantly!",
             "Your Clip is Saved",
             "The clip is saved to your Mac in MP4 format, ready to share or rewatch. Open the clips folder from the menu bar anytime."})
        EXPECT_TRUE(window.shows(QString::fromUtf8(text))) << text;
}

TEST_F(OnboardingViewTest, TheSecondStepSaysWhereTheProgramIsAndWhereItIsHere)
{
    show(1);
    for (const auto* text : {"First-Time User Walkthrough • Step 2 of 5", "Where to Find Velmora",
             "Velmora lives up in your macOS Menu Bar — not in your Dock.", "Look for this Orbelle icon in your menu bar!",
             "Using a MacBook with a notch?",
             "Velmora will show in the menu bar to the right of the notch. If your menu bar is crowded, it will be alongside your other "
             "status icons.",
             "Always 1 click away",
             "Click the Orbelle icon at any time to choose a video window, save clips, view recent clips, or open settings.",
             "Why no Dock icon?", "To stay completely out of your way while you watch videos full-screen or switch between work apps.",
             "On this desktop the menu bar is your panel's tray, and the Dock is its task bar or launcher.",
             "Without a notch: among the other icons of the tray."})
        EXPECT_TRUE(window.shows(QString::fromUtf8(text))) << text;
    hasTray = false;
    appear();
    EXPECT_TRUE(window.shows(model.captions().place));
    EXPECT_TRUE(window.shows(QStringLiteral("Without a tray: in the small window's title bar.")));
}

TEST_F(OnboardingViewTest, TheCaptionsNameTheShortcutAsTheKeyboardHasIt)
{
    EXPECT_TRUE(window.shows(QStringLiteral("“Your Mac” is this computer, the menu bar is your panel's tray, and ⌥⌘C is Alt+Super+C.")));
    hotKeyCenter->texts[8] = "J";
    hotKeyCenter->textsChanged();
    EXPECT_TRUE(window.shows(QStringLiteral("“Your Mac” is this computer, the menu bar is your panel's tray, and ⌥⌘C is Alt+Super+J.")));
    show(2);
    EXPECT_TRUE(window.shows(QStringLiteral("On this keyboard: Alt+Super+J.")));
    EXPECT_TRUE(window.shows(QStringLiteral("C"))) << "what is given stays";
}

TEST_F(OnboardingViewTest, TheThirdStepSaysTheCommandsWithTheMenusWordsEmphasised)
{
    show(2);
    for (const auto* text :
        {"Simple & Obvious Commands", "Choose whichever method is easiest for you — keyboard or mouse.", "METHOD 1: Fast Keyboard Shortcut",
            "Press once to START recording — the Orbelle mark lights up in coral. Press again to STOP and save instantly! (Tip: 'C' "
            "stands for Capture and matches the Orbelle mark!)",
            "METHOD 2: One-Click Menu Bar (No Keys to Memorize)",
            "You're always in control — recording only happens when you choose to start it.", "Alt", "Super"})
        EXPECT_TRUE(window.shows(QString::fromUtf8(text))) << text;
    EXPECT_EQ(OnboardingModel::menuMethodText().plain(),
        QStringLiteral("Don't want to memorize shortcuts? Just click the Orbelle icon in the top menu bar anytime and click 'Start "
                       "Recording Live Clip'. Click again to stop and save."));
    int emphasized = 0;
    window.forEachVisible([&](QQuickItem& item) {
        if (!item.inherits("QQuickText")
            || item.property("text").toString() != OnboardingModel::menuMethodText().styled(BrandColors::snowSlate))
            return;
        ++emphasized;
        const auto image = window.grab(item);
        bool isBright = false;
        for (int row = 0; row < image.height(); ++row)
            for (int column = 0; column < image.width(); ++column)
                isBright |= image.pixelColor(column, row).lightness() > 240;
        EXPECT_TRUE(isBright) << "no word is as bright as emphasis is";
    });
    EXPECT_EQ(emphasized, 1);
}

TEST_F(OnboardingViewTest, TheFourthStepWithoutPermissionSaysHowToGiveIt)
{
    withdrawPermission("There is no display.");
    show(3);
    for (const auto* text : {"macOS Screen Recording Permission",
             "Velmora needs your approval to capture the specific video window you choose.", "Permission Required by macOS",
             "Click the button below to open macOS System Settings and allow Velmora under Screen & System Audio Recording.",
             "Your Privacy is 100% Guaranteed", "There is no display."})
        EXPECT_TRUE(window.shows(QString::fromUtf8(text))) << text;
    EXPECT_TRUE(window.hasButton(QStringLiteral("Open System Settings")));
    EXPECT_TRUE(window.hasButton(QString::fromUtf8("I've Granted It — Check Status")));
    EXPECT_FALSE(window.shows(QString::fromUtf8("Permission is Granted! ✅")));
    QString privacy;
    for (const auto& line : OnboardingModel::privacyLines()) {
        EXPECT_TRUE(window.shows(line.value<EmphasizedText>().styled(BrandColors::snowSlate)));
        privacy += QStringLiteral("• ") + line.value<EmphasizedText>().plain() + u'\n';
    }
    EXPECT_EQ(privacy,
        QString::fromUtf8("• Velmora only captures the single window you pick — never your desktop, private tabs, or other apps.\n"
                          "• Zero cloud or internet access — all encoding and saving happens offline directly on your Mac.\n"
                          "• Microphone capture is completely disabled by default.\n"));
}

TEST_F(OnboardingViewTest, GrantingThePermissionAndCheckingTheStatusSwitchesTheFourthStep)
{
    withdrawPermission();
    show(3);
    window.press(QString::fromUtf8("I've Granted It — Check Status"));
    EXPECT_FALSE(window.shows(QString::fromUtf8("Permission is Granted! ✅"))) << "not yet";
    access->isGranted = true;
    window.press(QString::fromUtf8("I've Granted It — Check Status"));
    EXPECT_TRUE(window.shows(QString::fromUtf8("Permission is Granted! ✅")));
    EXPECT_TRUE(window.shows(QStringLiteral("Velmora is fully authorized to capture your chosen video window.")));
    EXPECT_TRUE(window.shows(QStringLiteral("On this computer: the desktop's permission to record the screen.")));
    EXPECT_FALSE(window.hasButton(QStringLiteral("Open System Settings")));
    EXPECT_TRUE(window.hasAlert(QString::fromUtf8("Permission is Granted! ✅")));
    EXPECT_EQ(window.focusedButton(), QString::fromUtf8("Next →")) << "the button that had the keyboard is gone";
}

TEST_F(OnboardingViewTest, OpenSystemSettingsAsksAndOpens)
{
    withdrawPermission();
    show(3);
    window.press(QStringLiteral("Open System Settings"));
    EXPECT_EQ(access->requestCount, 1);
    EXPECT_EQ(workspace->openedURLs.size(), 1U);
}

TEST_F(OnboardingViewTest, TheFifthStepLeadsToThePicker)
{
    show(4);
    for (const auto* text : {"Select your first video window to begin clipping.", "No video window selected yet.",
             "Then press Alt+Super+C to record it, and again to save the clip.", "Done opens the list of windows and records nothing yet.",
             "Play a video in your browser or media player, then click below to choose it:",
             "💡 Tip: You can reopen this guide anytime by clicking the Orbelle in your menu bar and selecting 'How to Use & "
             "Walkthrough...'."})
        EXPECT_TRUE(window.shows(QString::fromUtf8(text))) << text;
    window.press(QStringLiteral("Choose Video Window to Clip..."));
    EXPECT_EQ(pickers, 1);
    EXPECT_EQ(dismissals, 0);
}

TEST_F(OnboardingViewTest, TheChosenWindowIsNamedAsPlainText)
{
    show(4);
    chooseWindow("<img src='http://127.0.0.1/x'> & film");
    EXPECT_TRUE(window.shows(QStringLiteral("Active Video Window:")));
    EXPECT_TRUE(window.shows(model.selectedWindowName()));
    EXPECT_TRUE(model.selectedWindowName().contains(QStringLiteral("<img")));
    window.forEachVisible([&](QQuickItem& item) {
        if (item.inherits("QQuickText") && item.property("text").toString() == model.selectedWindowName()) {
            EXPECT_EQ(item.property("textFormat").toInt(), Qt::PlainText);
        }
    });
    EXPECT_FALSE(window.shows(QStringLiteral("No video window selected yet.")));
    EXPECT_TRUE(window.shows(QStringLiteral("Press Alt+Super+C to record it, and again to save the clip.")));
    EXPECT_TRUE(window.shows(QStringLiteral("Done closes this guide and records nothing yet.")));
    window.press(QStringLiteral("Change Window..."));
    EXPECT_EQ(pickers, 1);
}

TEST_F(OnboardingViewTest, NoStepHasACutOffTextOrNeedsScrolling)
{
    hasTray = false;
    refuseShortcut();
    appear();
    withdrawPermission("Windows of a Wayland session cannot be captured yet; log in to an X11 session.");
    for (int step = 0; step < 5; ++step)
        expectAllIsSeen(step);
    chooseWindow("Film");
    expectAllIsSeen(4);
    access->isGranted = true;
    hasTray = true;
    appear();
    for (int step = 0; step < 5; ++step)
        expectAllIsSeen(step);
    show(4);
    window.expectNothingIsCutOff({24, 0, 592, 530});
}

TEST_F(OnboardingViewTest, TheLargestTextLeavesNeitherItsCardNorItsBar)
{
    ViewTestWindow large{view, model, size, 1.5};
    setReducesMotion(large.engine(), true);
    const auto placeOf = [](const QQuickItem& item) { return item.mapRectToScene({0, 0, item.width(), item.height()}); };
    const auto expectAllInside = [&](const char* state) {
        for (int step = 0; step < 5; ++step) {
            SCOPED_TRACE(std::string{state} + ", step " + std::to_string(step + 1));
            model.setCurrentStep(step);
            static_cast<void>(large.grab());
            static_cast<void>(large.grab());
            large.expectNoTextsOverlap();
            large.forEachVisible([&](QQuickItem& item) {
                const bool isText = item.inherits("QQuickText") && !item.property("text").toString().isEmpty();
                if (!isText && !item.inherits("QQuickAbstractButton"))
                    return;
                const auto text = item.property("text").toString().toStdString();
                const auto place = placeOf(item);
                EXPECT_GE(place.left(), 16) << text;
                EXPECT_LE(place.right(), 640 - 16) << text;
                const QQuickItem* card = &item;
                while (card && !card->inherits("QQuickPane") && !card->inherits("QQuickFlickable"))
                    card = card->parentItem();
                if (!card) {
                    EXPECT_LE(place.bottom(), 530 - 4) << text << " in the bar";
                } else if (card->inherits("QQuickPane")) {
                    EXPECT_TRUE(placeOf(*card).contains(place)) << text << " ends at " << place.right() << ", " << place.bottom();
                }
            });
        }
    };
    expectAllInside("ordinary");
    withdrawPermission("Windows of a Wayland session cannot be captured yet; log in to an X11 session.");
    hasTray = false;
    refuseShortcut();
    model.viewWillAppear();
    expectAllInside("nothing is granted");
}

TEST_F(OnboardingViewTest, TheCardsOfTheFirstStepAreInOrderEachWithItsSymbol)
{
    EXPECT_EQ(order({"Pick Your Video Window", "Start Recording When Ready", "Your Clip is Saved"}),
        "[icon 52]|Pick Your Video Window|[play.display]|Start Recording When Ready|[record.circle.fill]|Your Clip is "
        "Saved|[checkmark.circle.fill]");
    QStringList numbers;
    for (const auto& text : window.texts()) {
        if (text.size() == 1)
            numbers.append(text);
    }
    EXPECT_EQ(numbers, QStringList({QStringLiteral("1"), QStringLiteral("2"), QStringLiteral("3")}));
}

TEST_F(OnboardingViewTest, TheBulletsOfTheSecondStepAreInOrderEachWithItsSymbol)
{
    show(1);
    EXPECT_EQ(order({"Where to Find Velmora", "Look for this Orbelle icon in your menu bar!", "Using a MacBook with a notch?",
                  "Always 1 click away", "Why no Dock icon?"}),
        "Where to Find Velmora|Look for this Orbelle icon in your menu bar!|[mark 28]|Using a MacBook with a "
        "notch?|[laptopcomputer]|Always 1 click "
        "away|[cursorarrow.click]|Why no Dock icon?|[eye.slash]");
}

TEST_F(OnboardingViewTest, TheCardsOfTheThirdStepAreInOrderWithKeysAndSymbol)
{
    show(2);
    EXPECT_EQ(order({"METHOD 1: Fast Keyboard Shortcut", "METHOD 2: One-Click Menu Bar (No Keys to Memorize)",
                  "You're always in control — recording only happens when you choose to start it."}),
        "METHOD 1: Fast Keyboard Shortcut|METHOD 2: One-Click Menu Bar (No Keys to Memorize)|[cursorarrow.rays]|You're always in control — "
        "recording only happens when you choose to start it.");
    const auto texts = window.texts();
    EXPECT_LT(texts.indexOf(QString::fromUtf8("⌥")), texts.indexOf(QString::fromUtf8("⌘")));
    EXPECT_LT(texts.indexOf(QString::fromUtf8("⌘")), texts.indexOf(QStringLiteral("C")));
}

TEST_F(OnboardingViewTest, TheFourthStepHasItsSymbolsAndItsLinesInOrder)
{
    withdrawPermission();
    show(3);
    EXPECT_EQ(order({"Permission Required by macOS", "Your Privacy is 100% Guaranteed"}),
        "Permission Required by macOS|[lock.shield.fill]|Your Privacy is 100% Guaranteed|[shield.lefthalf.filled]");
    qsizetype before = -1;
    for (const auto& line : OnboardingModel::privacyLines()) {
        const auto at = window.texts().indexOf(line.value<EmphasizedText>().styled(BrandColors::snowSlate));
        EXPECT_GT(at, before);
        before = at;
    }
    access->isGranted = true;
    appear();
    static_cast<void>(window.grab());
    EXPECT_EQ(order({}), "[shield.lefthalf.filled]") << "the lock goes with the request";
}

TEST_F(OnboardingViewTest, TheFifthStepHasTheMarkAboveItsHeading)
{
    show(4);
    EXPECT_EQ(order({"Select your first video window to begin clipping.", "No video window selected yet."}),
        "[mark 72]|Select your first video window to begin clipping.|No video window selected yet.");
}

TEST_F(OnboardingViewTest, TheTopBarHasTheMarkInCoralOnEveryStep)
{
    for (int step = 0; step < 5; ++step) {
        show(step);
        int marks = 0;
        window.forEachVisible([&](QQuickItem& item) {
            if (ViewTestWindow::pictureName(item) == QStringLiteral("mark 20") && item.mapToScene({0, item.height()}).y() < topBar) {
                ++marks;
                EXPECT_EQ(item.property("color").value<QColor>(), BrandColors::coral);
            }
        });
        EXPECT_EQ(marks, 1) << step;
    }
}

TEST_F(OnboardingViewTest, EveryKindOfWindowsNameTakesOneLine)
{
    show(4);
    chooseWindow("Film");
    static_cast<void>(window.grab());
    const auto buttonsPlace = [this] { return window.button(QStringLiteral("Change Window...")).mapToScene({0, 0}).y(); };
    const double ordinary = buttonsPlace();
    for (const auto& [kind, text] : test::oddBytes()) {
        SCOPED_TRACE(kind);
        content->content.windows.clear();
        chooseWindow(text.c_str());
        EXPECT_FALSE(window.grab().isNull());
        EXPECT_EQ(buttonsPlace(), ordinary);
        window.expectNoTextsOverlap();
    }
}

TEST_F(OnboardingViewTest, WhereTheWindowIsTooLowTheStepsScrollAndTheBarsStay)
{
    withdrawPermission("There is no display.");
    ViewTestWindow low{view, model, QSize{640, 420}};
    setReducesMotion(low.engine(), true);
    model.setCurrentStep(3);
    static_cast<void>(low.grab());
    const QRectF all{0, 0, 640, 420};
    for (const auto* text : {"← Back", "Skip Walkthrough", "Next →"}) {
        const auto& button = low.button(QString::fromUtf8(text));
        EXPECT_TRUE(all.contains(button.mapRectToScene({0, 0, button.width(), button.height()}))) << text;
    }
    auto& check = low.button(QString::fromUtf8("I've Granted It — Check Status"));
    check.forceActiveFocus(Qt::TabFocusReason);
    static_cast<void>(low.grab());
    EXPECT_TRUE(QRectF(0, 53, 640, 420 - 53 - 69).contains(check.mapRectToScene({0, 0, check.width(), check.height()})));
}

TEST_F(OnboardingViewTest, TheBarBelowHasTheButtonsOfItsStep)
{
    const auto buttons = [this](int step) {
        show(step);
        QStringList all;
        for (const auto* text : {"← Back", "Skip Walkthrough", "Next →", "Done & Start Clipping"}) {
            if (window.hasButton(QString::fromUtf8(text)))
                all.append(QString::fromUtf8(text));
        }
        return all.join(u'|').toStdString();
    };
    EXPECT_EQ(buttons(0), "Skip Walkthrough|Next →");
    for (int step = 1; step < 4; ++step)
        EXPECT_EQ(buttons(step), "← Back|Skip Walkthrough|Next →");
    EXPECT_EQ(buttons(4), "← Back|Done & Start Clipping");
}

TEST_F(OnboardingViewTest, TheButtonsLeadThroughTheSteps)
{
    window.press(QString::fromUtf8("Next →"));
    window.press(QString::fromUtf8("Next →"));
    EXPECT_EQ(model.currentStep(), 2);
    window.press(QString::fromUtf8("← Back"));
    EXPECT_EQ(model.currentStep(), 1);
    window.press(QStringLiteral("Skip Walkthrough"));
    EXPECT_TRUE(model.hasCompletedWalkthrough());
    EXPECT_EQ(dismissals, 1);
}

TEST_F(OnboardingViewTest, ReturnAloneLeadsFromTheFirstStepToTheEnd)
{
    for (int step = 0; step < 4; ++step) {
        EXPECT_EQ(model.currentStep(), step);
        EXPECT_EQ(window.focusedButton(), QString::fromUtf8("Next →"));
        window.type(Qt::Key_Return);
    }
    EXPECT_EQ(window.focusedButton(), QStringLiteral("Done & Start Clipping"));
    EXPECT_FALSE(model.hasCompletedWalkthrough());
    window.type(Qt::Key_Return);
    EXPECT_TRUE(model.hasCompletedWalkthrough());
    EXPECT_EQ(dismissals, 1);
}

TEST_F(OnboardingViewTest, GoingBackToTheFirstStepLeavesTheKeyboardToNext)
{
    show(1);
    auto& back = window.button(QString::fromUtf8("← Back"));
    back.forceActiveFocus(Qt::TabFocusReason);
    window.type(Qt::Key_Space, QStringLiteral(" "));
    EXPECT_EQ(model.currentStep(), 0);
    EXPECT_EQ(window.focusedButton(), QString::fromUtf8("Next →"));
    EXPECT_TRUE(window.window().activeFocusItem()->property("visualFocus").toBool());
}

TEST_F(OnboardingViewTest, TabReachesEveryButtonOfAStepAndNoneOfAnother)
{
    withdrawPermission();
    show(3);
    QStringList reached;
    for (int presses = 0; presses < 5; ++presses) {
        window.type(Qt::Key_Tab);
        reached.append(window.focusedButton());
    }
    EXPECT_EQ(reached.join(u'|').toStdString(), "Open System Settings|I've Granted It — Check Status|← Back|Skip Walkthrough|Next →");
}

TEST_F(OnboardingViewTest, TheKeyboardGoesRoundEachStepAndAllOfItHasAName)
{
    withdrawPermission();
    for (int step = 0; step < OnboardingModel::totalSteps(); ++step) {
        SCOPED_TRACE(step + 1);
        show(step);
        test::walkWithTab(window);
        test::expectAllIsSaid(window);
    }
}

TEST_F(OnboardingViewTest, TheStepIsPartOfWhatAssistiveTechnologySaysOfTheButtonInUse)
{
    show(1);
    auto* next = QAccessible::queryAccessibleInterface(&window.button(QString::fromUtf8("Next →")));
    EXPECT_EQ(next->text(QAccessible::Description), model.stepText());
    EXPECT_EQ(next->role(), QAccessible::Button);
}

TEST_F(OnboardingViewTest, EscapeClosesAndRemembersNothing)
{
    window.type(Qt::Key_Escape);
    EXPECT_EQ(dismissals, 1);
    EXPECT_FALSE(model.hasCompletedWalkthrough());
}

TEST_F(OnboardingViewTest, TheFirstFrameWaitsForTheStepThatItShowsOnlyAndTheOthersAreMadeBehindIt)
{
    model.setCurrentStep(2);
    QQmlComponent component{&window.engine(), view};
    const std::unique_ptr<QObject> notShown{
        component.createWithInitialProperties({{QStringLiteral("model"), QVariant::fromValue(&model)}})};
    ASSERT_TRUE(notShown);
    EXPECT_EQ(madeSteps(*notShown), 1);
    static_cast<void>(window.grab());
    window.settle([&] { return madeSteps(*window.root()) == 5; });
    EXPECT_TRUE(window.shows(QStringLiteral("Simple & Obvious Commands")));
}

TEST_F(OnboardingViewTest, TheDotsTellTheStep)
{
    const auto coralWidth = [this] {
        const auto image = window.grab();
        int count = 0;
        for (int column = 500; column < 640; ++column)
            count += image.pixelColor(column, 26) == BrandColors::coral ? 1 : 0;
        return count;
    };
    for (int step = 0; step < 5; ++step) {
        show(step);
        EXPECT_NEAR(coralWidth(), 22, 2) << step;
    }
}

TEST_F(OnboardingViewTest, AStepFadesInUnlessTheDesktopAsksForLessMotion)
{
    const auto fading = [this] {
        bool isFading = false;
        window.forEachVisible(
            [&](QQuickItem& item) { isFading |= item.inherits("QQuickFlickable") && item.opacity() > 0.01 && item.opacity() < 0.99; });
        return isFading;
    };
    show(1);
    EXPECT_FALSE(fading());
    EXPECT_TRUE(window.shows(QStringLiteral("Where to Find Velmora")));
    EXPECT_FALSE(window.shows(QStringLiteral("Pick Your Video Window")));

    setReducesMotion(window.engine(), false);
    window.settle([&] { return madeSteps(*window.root()) == 5; });
    model.next();
    window.settle(fading);
    window.settle([&] { return !fading() && !window.shows(QStringLiteral("Where to Find Velmora")); });
    EXPECT_TRUE(window.shows(QStringLiteral("Simple & Obvious Commands")));
}

}  // namespace
}  // namespace velmora
