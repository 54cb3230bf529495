#include "tests/brand/OddTexts.h"
#include "tests/brand/QuickTestWindow.h"

#include "brand/BrandColors.h"
#include "brand/CaptureStatus.h"

#include <QThread>

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace velmora {
namespace {

using test::QuickTestWindow;

TEST(BrandModule, EveryTypeCanBeCreatedAndDrawnWithoutAWarning)
{
    for (const auto* type :
        {"Badge { text: 'Active' }", "BrandAppIconView { }", "BrandHorizontalLockupView { }", "BrandLogoMark { }", "BusyIndicator { }",
            "Caption { text: 'Text' }", "Card { Label { text: 'x' } }", "IconButton { symbol: 'globe'; text: 'Web' }",
            "KeyCap { glyph: 'C' }", "Label { text: 'Text' }", "LineLabel { line: 'Text' }",
            "ListRow { text: 'Row'; contentItem: Label { text: 'Row' } }",
            "ScrollArea { width: 90; height: 40; contentHeight: 400; Label { text: 'Text' } }", "SearchField { placeholderText: 'Search' }",
            "StatusLine { symbol: 'globe'; text: 'Web' }", "TextField { text: 'x' }", "Slider { text: 'Start' }",
            "Symbol { name: 'globe' }", "TextButton { text: 'OK' }", "RoundedRectangle { width: 40; height: 20; color: Theme.coral }",
            "ThinScrollBar { size: 0.5; orientation: Qt.Vertical; height: 100 }", "TimeLabel { text: '00:07' }"}) {
        SCOPED_TRACE(type);
        QuickTestWindow window{QLatin1String(type)};
        const auto image = window.grab();
        ASSERT_FALSE(image.isNull());
        QImage empty(image.size(), image.format());
        empty.fill(BrandColors::obsidian);
        EXPECT_NE(image, empty);
    }
}

// What a person sees of a colour on our background.
QColor onGround(const QColor& color)
{
    const auto mixed = [&](int above, int below) { return qRound(above * color.alpha() / 255.0 + below * (255 - color.alpha()) / 255.0); };
    return {mixed(color.red(), 15), mixed(color.green(), 23), mixed(color.blue(), 42)};
}

void expectNear(const QColor& seen, const QColor& expected, int tolerance = 3)
{
    EXPECT_NEAR(seen.red(), expected.red(), tolerance);
    EXPECT_NEAR(seen.green(), expected.green(), tolerance);
    EXPECT_NEAR(seen.blue(), expected.blue(), tolerance);
}

// At the left end of the control, half way up, clear of what is in it.
QColor surfaceOf(const QuickTestWindow& window, const QQuickItem& item)
{
    return window.grab(item).pixelColor(4, qRound(item.height() / 2));
}

QColor withOpacity(QColor color, double opacity)
{
    color.setAlphaF(static_cast<float>(opacity));
    return color;
}

constexpr auto buttonQml = R"(
    property int presses: 0
    id: root
    TextButton { objectName: 'plain'; x: 20; y: 20; text: 'Cancel'; onClicked: root.presses += 1 }
    TextButton { objectName: 'prominent'; x: 140; y: 20; text: 'Start'; prominent: true; onClicked: root.presses += 10 })";

TEST(TextButton, IsSlateOrWhenProminentCoral)
{
    const QuickTestWindow window{QLatin1String(buttonQml)};
    expectNear(surfaceOf(window, *window.item("plain")), BrandColors::cardSlate);
    expectNear(surfaceOf(window, *window.item("prominent")), BrandColors::coral);
}

TEST(TextButton, IsLighterUnderThePointerAndDarkerWhileHeldDown)
{
    QuickTestWindow window{QLatin1String(buttonQml)};
    for (const auto* name : {"plain", "prominent"}) {
        const auto& button = *window.item(name);
        window.movePointer({1, 1});
        const auto rest = surfaceOf(window, button);
        window.movePointer(button);
        const auto hovered = surfaceOf(window, button);
        window.press(button);
        const auto pressed = surfaceOf(window, button);
        window.release(button);
        expectNear(hovered,
            {qRound(rest.red() + (255 - rest.red()) * 0.06), qRound(rest.green() + (255 - rest.green()) * 0.06),
                qRound(rest.blue() + (255 - rest.blue()) * 0.06)});
        expectNear(pressed, {qRound(rest.red() * 0.94), qRound(rest.green() * 0.94), qRound(rest.blue() * 0.94)});
    }
}

TEST(TextButton, ShowsARingOfTwoPointsTwoPointsOutsideForKeyboardFocusOnly)
{
    QuickTestWindow window{QLatin1String(buttonQml)};
    auto& button = *window.item("plain");
    const auto besideIt = [&](int points) {
        const auto image = window.grab(button, 6);
        return image.pixelColor(6 - points, image.height() / 2);
    };
    window.click(button);
    EXPECT_TRUE(button.hasActiveFocus());
    expectNear(besideIt(3), BrandColors::obsidian);

    window.item("prominent")->forceActiveFocus(Qt::TabFocusReason);
    button.forceActiveFocus(Qt::TabFocusReason);
    expectNear(besideIt(1), BrandColors::obsidian);
    expectNear(besideIt(2), BrandColors::obsidian);
    expectNear(besideIt(3), BrandColors::coral);
    expectNear(besideIt(4), BrandColors::coral);
    expectNear(besideIt(5), BrandColors::obsidian);
}

TEST(TextButton, IsDrawnAt45PercentWhenDisabledAndTakesNoPress)
{
    QuickTestWindow window{QLatin1String(buttonQml)};
    auto& button = *window.item("prominent");
    button.setEnabled(false);
    expectNear(surfaceOf(window, button), onGround(withOpacity(BrandColors::coral, 0.45)));
    window.click(button);
    EXPECT_EQ(window.root()->property("presses").toInt(), 0);
}

TEST(TextButton, IsPressedByClickSpaceReturnAndEnter)
{
    QuickTestWindow window{QLatin1String(buttonQml)};
    window.click(*window.item("plain"));
    EXPECT_EQ(window.root()->property("presses").toInt(), 1);
    window.item("prominent")->forceActiveFocus(Qt::TabFocusReason);
    window.type(Qt::Key_Space, QStringLiteral(" "));
    EXPECT_EQ(window.root()->property("presses").toInt(), 11);
    window.type(Qt::Key_Return);
    EXPECT_EQ(window.root()->property("presses").toInt(), 21);
    window.type(Qt::Key_Enter);
    EXPECT_EQ(window.root()->property("presses").toInt(), 31);
}

TEST(Controls, AreReachedOneAfterTheOtherWithTheTabKey)
{
    QuickTestWindow window{QLatin1String(R"(
        Column {
            SearchField { objectName: 'search'; text: 'fire' }
            TextButton { objectName: 'text'; text: 'OK' }
            IconButton { objectName: 'icon'; text: 'Share'; symbol: 'globe' }
            Slider { objectName: 'slider'; text: 'Start' }
        })")};
    window.item("search")->forceActiveFocus(Qt::TabFocusReason);
    window.type(Qt::Key_Tab);
    window.type(Qt::Key_Tab);  // past the button that clears the field
    EXPECT_TRUE(window.item("text")->hasActiveFocus());
    window.type(Qt::Key_Tab);
    EXPECT_TRUE(window.item("icon")->hasActiveFocus());
    window.type(Qt::Key_Tab);
    EXPECT_TRUE(window.item("slider")->hasActiveFocus());
}

struct Exposed {
    const char* qml;
    QAccessible::Role role;
    const char* name;
};

TEST(Controls, TellAssistiveTechnologyTheirRoleAndName)
{
    for (const auto& [qml, role, name] : {
             Exposed{"TextButton { objectName: 'it'; text: 'Cancel' }", QAccessible::Button, "Cancel"},
             Exposed{"IconButton { objectName: 'it'; text: 'Share'; symbol: 'globe' }", QAccessible::Button, "Share"},
             Exposed{"SearchField { objectName: 'it'; placeholderText: 'Search by name' }", QAccessible::EditableText, "Search by name"},
             Exposed{"Slider { objectName: 'it'; text: 'Start' }", QAccessible::Slider, "Start"},
             Exposed{"ListRow { objectName: 'it'; text: 'Firefox' }", QAccessible::ListItem, "Firefox"},
             Exposed{"MenuRow { objectName: 'it'; text: 'Settings' }", QAccessible::MenuItem, "Settings"},
             Exposed{"Label { objectName: 'it'; text: 'Selected: 00:13' }", QAccessible::StaticText, "Selected: 00:13"},
             Exposed{"Caption { objectName: 'it'; text: 'Beside' }", QAccessible::StaticText, "Beside"},
             Exposed{"StatusLine { objectName: 'it'; symbol: 'globe'; text: 'Granted' }", QAccessible::AlertMessage, "Granted"},
             Exposed{"TimeLabel { objectName: 'it'; text: '00:13' }", QAccessible::StaticText, "00:13"},
             Exposed{"Badge { objectName: 'it'; text: 'Active' }", QAccessible::StaticText, "Active"},
             Exposed{"KeyCap { objectName: 'it'; glyph: 'x'; name: 'Alt' }", QAccessible::StaticText, "Alt"},
             Exposed{"BusyIndicator { objectName: 'it'; text: 'Loading' }", QAccessible::Indicator, "Loading"},
             Exposed{"BrandHorizontalLockupView { objectName: 'it' }", QAccessible::Graphic, "Velmora"},
         }) {
        const QuickTestWindow window{QLatin1String(qml)};
        auto* accessible = QAccessible::queryAccessibleInterface(window.item("it"));
        ASSERT_TRUE(accessible) << qml;
        EXPECT_EQ(accessible->role(), role) << qml;
        EXPECT_EQ(accessible->text(QAccessible::Name), QLatin1String(name)) << qml;
    }
}

TEST(Controls, TellAssistiveTechnologyInWordsThatTheyAreDisabledSinceTheirStateDoesNot)
{
    for (const auto* qml :
        {"TextButton { objectName: 'it'; text: 'Start' }", "IconButton { objectName: 'it'; text: 'Share'; symbol: 'globe' }",
            "Slider { objectName: 'it'; text: 'Position' }", "Switch { objectName: 'it'; text: 'Start at log-in' }"}) {
        const QuickTestWindow window{QLatin1String(qml)};
        auto* accessible = QAccessible::queryAccessibleInterface(window.item("it"));
        const auto said = QStringLiteral("Not available now");
        EXPECT_FALSE(accessible->text(QAccessible::Description).contains(said)) << qml;
        window.item("it")->setEnabled(false);
        EXPECT_TRUE(accessible->text(QAccessible::Description).contains(said)) << qml;
        window.item("it")->setEnabled(true);
        EXPECT_FALSE(accessible->text(QAccessible::Description).contains(said)) << qml;
    }
}

TEST(Card, IsToldToAssistiveTechnologyOnlyWhereItHasAName)
{
    const auto namesIn = [](const QuickTestWindow& window) {
        QStringList names;
        const auto collect = [&names](const auto& self, QAccessibleInterface& node) -> void {
            for (int index = 0; index < node.childCount(); ++index) {
                auto& child = *node.child(index);
                names.append(child.text(QAccessible::Name));
                self(self, child);
            }
        };
        collect(collect, *QAccessible::queryAccessibleInterface(const_cast<QQuickWindow*>(&window.window())));
        return names.join(QLatin1Char('|')).toStdString();
    };
    const QuickTestWindow plain{QLatin1String("Card { Label { text: 'Inside' } }")};
    EXPECT_EQ(namesIn(plain), "Inside");
    const QuickTestWindow named{QLatin1String("Card { Accessible.name: 'Trim'; Label { text: 'Inside' } }")};
    EXPECT_EQ(namesIn(named), "Trim|Inside");
}

TEST(TextButton, IsPressedOnceByAssistiveTechnology)
{
    test::application();
    QAccessible::setActive(true);
    const QuickTestWindow window{QLatin1String(buttonQml)};
    auto* accessible = QAccessible::queryAccessibleInterface(window.item("plain"));
    ASSERT_TRUE(accessible && accessible->actionInterface());
    accessible->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_EQ(window.root()->property("presses").toInt(), 1);
    window.item("plain")->setEnabled(false);
    accessible->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_EQ(window.root()->property("presses").toInt(), 1);
    QAccessible::setActive(false);
}

TEST(Label, ShowsEveryKindOfTextHoweverItIsLaidOut)
{
    for (const auto* look : {"width: 120", "width: 120; elide: Text.ElideRight; wrapMode: Text.NoWrap",
             "width: 120; elide: Text.ElideMiddle; wrapMode: Text.NoWrap",
             "width: 120; height: 20; elide: Text.ElideRight; wrapMode: Text.NoWrap", "width: 120; height: 40; elide: Text.ElideRight",
             "width: 120; elide: Text.ElideRight; maximumLineCount: 2",
             "width: 120; elide: Text.ElideRight; wrapMode: Text.NoWrap; maximumLineCount: 1",
             "font: Theme.captionFont; elide: Text.ElideRight"}) {
        const QuickTestWindow window{QStringLiteral("Label { objectName: 'it'; %1 }").arg(QLatin1String(look)), {200, 60}};
        auto* label = window.item("it");
        for (const auto& [kind, text] : test::oddTexts()) {
            SCOPED_TRACE(std::string{look} + ", " + kind);
            // Set, and laid out again in another width.
            label->setProperty("text", text.left(2000));
            EXPECT_FALSE(window.grab().isNull());
            label->setWidth(60);
            EXPECT_FALSE(window.grab().isNull());
            label->setWidth(120);
        }
    }
}

double heightOf(const char* label)
{
    const QuickTestWindow window{QLatin1String(label)};
    static_cast<void>(window.grab());
    return window.item("it")->height();
}

TEST(Label, OneLineIsAsHighAsItsFontAndFurtherOnesAreApart)
{
    const double one = heightOf("Label { objectName: 'it'; text: 'Evening' }");
    EXPECT_NEAR(one, heightOf("Text { objectName: 'it'; text: 'Evening'; font: Theme.bodyFont }"), 1);
    EXPECT_NEAR(heightOf("Label { objectName: 'it'; text: 'Evening\\nNews' }"), one * 2.15, 2);
    EXPECT_NEAR(heightOf("Label { objectName: 'it'; text: 'Evening'; wrapMode: Text.NoWrap }"), one, 1);
}

TEST(LineLabel, EveryKindOfTextTakesOneLineAndNoMoreRoomThanThereIs)
{
    const QuickTestWindow window{QLatin1String("LineLabel { objectName: 'it'; width: 160 }"), {200, 60}};
    auto* label = window.item("it");
    auto* accessible = QAccessible::queryAccessibleInterface(label);
    for (const auto& [kind, text] : test::oddTexts()) {
        SCOPED_TRACE(kind);
        label->setProperty("line", text);
        static_cast<void>(window.grab());
        EXPECT_EQ(label->property("lineCount").toInt(), 1);
        EXPECT_LE(label->height(), 24);
        EXPECT_LE(label->property("contentWidth").toDouble(), 160 + 4) << "an ellipsis that reads from right to left may be a little wider";
        EXPECT_EQ(accessible->text(QAccessible::Name), label->property("text").toString());
    }
}

constexpr auto searchQml = "SearchField { objectName: 'search'; x: 20; y: 20; width: 240; placeholderText: 'Search' }";

TEST(SearchField, TakesTheKeyboardWhenItIsClickedAndShowsTheRing)
{
    QuickTestWindow window{QLatin1String(searchQml)};
    auto& field = *window.item("search");
    window.click(field);
    EXPECT_TRUE(field.hasActiveFocus());
    window.type(Qt::Key_F, QStringLiteral("f"));
    EXPECT_EQ(field.property("text"), QStringLiteral("f"));
    const auto image = window.grab(field, 6);
    expectNear(image.pixelColor(3, image.height() / 2), BrandColors::coral);
}

TEST(SearchField, HasAButtonThatClearsItWhileThereIsTextOnly)
{
    QuickTestWindow window{QLatin1String(searchQml)};
    auto& field = *window.item("search");
    auto& clear = *window.item("clear");
    EXPECT_FALSE(clear.isVisible());
    field.setProperty("text", QStringLiteral("fire"));
    EXPECT_TRUE(clear.isVisible());
    window.click(clear);
    EXPECT_EQ(field.property("text"), QString{});
    EXPECT_TRUE(field.hasActiveFocus());
    EXPECT_FALSE(clear.isVisible());
}

TEST(ListRow, IsTintedAndBorderedCoralWhenItIsTheSelectedOne)
{
    const QuickTestWindow window{QLatin1String(
        "ListRow { objectName: 'row'; x: 20; y: 20; width: 240; height: 60; highlighted: true; text: 'Firefox'; contentItem: Item { } }")};
    const auto image = window.grab(*window.item("row"));
    expectNear(image.pixelColor(120, 30), onGround(withOpacity(BrandColors::coral, 0.14)));
    EXPECT_GT(image.pixelColor(120, 0).red(), 140);
    expectNear(image.pixelColor(2, 30), BrandColors::obsidian);
    EXPECT_TRUE(QAccessible::queryAccessibleInterface(window.item("row"))->state().selected);
}

TEST(Slider, MovesWithTheArrowKeysAndIsFilledUpToItsHandle)
{
    QuickTestWindow window{
        QLatin1String("Slider { objectName: 'slider'; x: 20; y: 20; width: 216; from: 0; to: 10; stepSize: 1; value: 5; text: 'Start' }")};
    auto& slider = *window.item("slider");
    slider.forceActiveFocus(Qt::TabFocusReason);
    window.type(Qt::Key_Right);
    EXPECT_EQ(slider.property("value"), 6);
    const auto image = window.grab(slider);
    const int middle = image.height() / 2;
    expectNear(image.pixelColor(60, middle), BrandColors::coral);
    expectNear(image.pixelColor(8 + 120, middle), Qt::white);
    expectNear(image.pixelColor(190, middle), BrandColors::borderSlate);
}

TEST(Slider, HasItsHandleAndItsTintWhereTheWholeGrooveHasTheirValues)
{
    const QuickTestWindow window{
        QLatin1String("Slider { objectName: 'slider'; x: 20; y: 20; width: 216; from: 2; to: 6; value: 4; grooveFrom: 0; grooveTo: 10;"
                      "tintFrom: 4; tintTo: 9; text: 'Start' }")};
    const auto image = window.grab(*window.item("slider"));
    const int middle = image.height() / 2;
    const auto at = [](double value) { return 8 + qRound(value * 20); };
    expectNear(image.pixelColor(at(4) - 5, middle), Qt::white);
    expectNear(image.pixelColor(at(4) + 5, middle), Qt::white);
    expectNear(image.pixelColor(at(4) - 10, middle), BrandColors::borderSlate);
    expectNear(image.pixelColor(at(4) + 10, middle), BrandColors::coral);
    expectNear(image.pixelColor(at(9) - 3, middle), BrandColors::coral);
    expectNear(image.pixelColor(at(9) + 2, middle), BrandColors::borderSlate);
    expectNear(image.pixelColor(at(10) + 4, middle), BrandColors::obsidian);
}

TEST(Slider, ItsHandleCanNeitherPassItsOwnBoundsNorIsThereAnyLengthNeeded)
{
    QuickTestWindow window{
        QLatin1String("Slider { objectName: 'slider'; x: 20; y: 20; width: 216; from: 2; to: 6; value: 4; grooveFrom: 0; grooveTo: 10;"
                      "text: 'Start' }")};
    auto& slider = *window.item("slider");
    const auto& handle = *qvariant_cast<QQuickItem*>(slider.property("handle"));
    slider.setProperty("value", 6);
    EXPECT_NEAR(handle.x(), 120, 0.01);
    slider.setProperty("value", 0);
    EXPECT_NEAR(handle.x(), 40, 0.01);
    slider.setProperty("from", 6);
    EXPECT_NEAR(handle.x(), 120, 0.01) << "from one bound to the same";
}

TEST(ToolTip, ComesWhereAnIconIsPointedAtAndCanBeRead)
{
    QuickTestWindow window{
        QLatin1String("IconButton { objectName: 'icon'; x: 20; y: 80; text: 'Share'; toolTip: 'Share it'; symbol: 'globe' }")};
    auto& icon = *window.item("icon");
    EXPECT_EQ(QAccessible::queryAccessibleInterface(&icon)->text(QAccessible::Name), QStringLiteral("Share"));
    EXPECT_EQ(QAccessible::queryAccessibleInterface(&icon)->text(QAccessible::Description), QStringLiteral("Share it"));
    const auto shown = [&window]() -> QQuickItem* {
        for (auto* item : window.window().contentItem()->findChildren<QQuickItem*>()) {
            if (item->inherits("QQuickText") && item->isVisible() && item->property("text") == QStringLiteral("Share it"))
                return item;
        }
        return nullptr;
    };
    const auto waitUntil = [](const auto& condition) {
        for (int round = 0; round < 2000 && !condition(); ++round) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
            QThread::msleep(2);
        }
        return condition();
    };
    window.movePointer(icon);
    EXPECT_FALSE(shown()) << "not under a pointer that only passes";
    ASSERT_TRUE(waitUntil([&] { return shown() != nullptr; }));
    const auto* text = shown();
    const auto place = text->mapRectToScene({0, 0, text->width(), text->height()});
    EXPECT_LT(place.bottom(), icon.y());
    EXPECT_GE(place.left(), 8);
    EXPECT_EQ(text->property("color").value<QColor>(), BrandColors::snowSlate);
    expectNear(window.grab().pixelColor(qRound(place.left()) - 3, qRound(place.center().y())), BrandColors::borderSlate);
    window.movePointer({300, 180});
    EXPECT_TRUE(waitUntil([&] { return shown() == nullptr; }));
}

TEST(Card, IsSlateWithABorderOfOnePointAndRoundCorners)
{
    const QuickTestWindow window{QLatin1String("Card { objectName: 'card'; x: 20; y: 20; width: 120; height: 80 }")};
    const auto image = window.grab(*window.item("card"));
    expectNear(image.pixelColor(60, 40), BrandColors::cardSlate);
    expectNear(image.pixelColor(60, 0), BrandColors::borderSlate);
    expectNear(image.pixelColor(60, 1), BrandColors::cardSlate);
    expectNear(image.pixelColor(1, 1), BrandColors::obsidian);
}

TEST(TimeLabel, KeepsItsWidthWhenItsDigitsChange)
{
    const QuickTestWindow window{QLatin1String("TimeLabel { objectName: 'time'; text: '00:11' }")};
    const auto* label = window.item("time");
    const double width = label->width();
    window.item("time")->setProperty("text", QStringLiteral("08:47"));
    static_cast<void>(window.grab());  // lays out
    EXPECT_EQ(label->width(), width);
}

TEST(ThinScrollBar, IsThereOnlyWhenNotAllFits)
{
    const QuickTestWindow window{QLatin1String("ThinScrollBar { objectName: 'bar'; height: 100; orientation: Qt.Vertical; size: 1 }")};
    auto* bar = window.item("bar");
    EXPECT_FALSE(bar->isVisible());
    bar->setProperty("size", 0.5);
    EXPECT_TRUE(bar->isVisible());
}

TEST(ThinScrollBar, TellsAssistiveTechnologyHowFarItIsScrolled)
{
    const QuickTestWindow window{QLatin1String("ThinScrollBar { objectName: 'it'; height: 100; orientation: Qt.Vertical; size: 0.6 }")};
    auto* bar = window.item("it");
    auto* values = QAccessible::queryAccessibleInterface(bar)->valueInterface();
    ASSERT_NE(values, nullptr);
    EXPECT_EQ(values->minimumValue().toDouble(), 0);
    EXPECT_EQ(values->maximumValue().toDouble(), 1);
    for (const auto& [position, value] : {std::pair{0.0, 0.0}, {0.1, 0.25}, {0.4, 1.0}, {-0.1, 0.0}, {0.5, 1.0}}) {
        bar->setProperty("position", position);
        ASSERT_TRUE(values->currentValue().canConvert<double>());
        EXPECT_DOUBLE_EQ(values->currentValue().toDouble(), value) << position;
    }
    // Where all fits there is nowhere to scroll to.
    bar->setProperty("size", 1);
    EXPECT_EQ(values->currentValue().toDouble(), 0);
}

constexpr auto scrollQml = R"(
    ScrollArea {
        objectName: 'area'
        width: 300
        height: 100
        contentHeight: 600
        TextButton { objectName: 'top'; y: 30; text: 'Top' }
        TextButton { objectName: 'bottom'; y: 500; text: 'Bottom' }
    })";

TEST(ScrollArea, BringsTheControlThatGetsTheKeyboardIntoSightWithRoomAroundIt)
{
    const QuickTestWindow window{QLatin1String(scrollQml)};
    const auto* area = window.item("area");
    window.item("bottom")->forceActiveFocus(Qt::TabFocusReason);
    EXPECT_EQ(area->property("contentY").toDouble(), 500 + 36 + 24 - 100);
    window.item("top")->forceActiveFocus(Qt::TabFocusReason);
    EXPECT_EQ(area->property("contentY").toDouble(), 30 - 24);
}

TEST(ScrollArea, ScrollsByKeyboardToItsEndsAndNotBeyond)
{
    QuickTestWindow window{QLatin1String(scrollQml)};
    auto* area = window.item("area");
    const auto after = [&](Qt::Key key) {
        window.type(key);
        return area->property("contentY").toDouble();
    };
    area->forceActiveFocus();
    EXPECT_EQ(after(Qt::Key_Up), 0);
    EXPECT_EQ(after(Qt::Key_Down), 40);
    EXPECT_EQ(after(Qt::Key_PageDown), 130);
    EXPECT_EQ(after(Qt::Key_End), 500);
    EXPECT_EQ(after(Qt::Key_PageDown), 500);
    EXPECT_EQ(after(Qt::Key_PageUp), 410);
    EXPECT_EQ(after(Qt::Key_Home), 0);
}

TEST(TextField, TakesTheKeyboardShowsTheRingAndAnswersReturn)
{
    QuickTestWindow window{QLatin1String(
        "id: root; property string entered; TextField { objectName: 'it'; x: 20; y: 20; width: 240; label: 'Name'; onAccepted: "
        "root.entered = text }")};
    auto& field = *window.item("it");
    window.click(field);
    window.type(Qt::Key_A, QStringLiteral("a"));
    window.type(Qt::Key_Return);
    EXPECT_EQ(window.root()->property("entered"), QStringLiteral("a"));
    const auto image = window.grab(field, 6);
    expectNear(image.pixelColor(3, image.height() / 2), BrandColors::coral);
    auto* accessible = QAccessible::queryAccessibleInterface(window.window().activeFocusItem());
    EXPECT_EQ(accessible->role(), QAccessible::EditableText);
    EXPECT_EQ(accessible->text(QAccessible::Name), QStringLiteral("Name"));
}

TEST(BusyIndicator, ShowsNothingWhenItDoesNotRun)
{
    const QuickTestWindow window{QLatin1String("BusyIndicator { objectName: 'busy'; x: 20; y: 20 }")};
    const auto running = window.grab(*window.item("busy"));
    window.item("busy")->setProperty("running", false);
    const auto still = window.grab(*window.item("busy"));
    EXPECT_NE(running, still);
    for (int x = 0; x < still.width(); ++x)
        expectNear(still.pixelColor(x, still.height() / 2), BrandColors::obsidian);
}

int largestDifference(const QImage& one, const QImage& other)
{
    int largest = 0;
    for (int row = 0; row < one.height(); ++row) {
        for (int column = 0; column < one.width(); ++column) {
            const QColor left = one.pixelColor(column, row);
            const QColor right = other.pixelColor(column, row);
            largest = std::max({largest, std::abs(left.red() - right.red()), std::abs(left.green() - right.green()),
                std::abs(left.blue() - right.blue())});
        }
    }
    return largest;
}

TEST(RoundedRectangle, LooksTheSameFromAllSides)
{
    for (const auto* shape : {"width: 41; height: 23; radius: 9", "width: 40; height: 24; radius: 12", "width: 7; height: 7; radius: 3.5",
             "width: 30; height: 30", "width: 90; height: 4; radius: 2"}) {
        const QuickTestWindow window{QStringLiteral("RoundedRectangle { objectName: 'it'; x: 10; y: 10; %1; color: Theme.cardSlate; "
                                                    "borderWidth: 1; borderColor: Theme.coral }")
                                         .arg(QLatin1String(shape))};
        const auto image = window.grab(*window.item("it"), 2);
        // The rasterizer's own corners differ a little.
        EXPECT_LE(largestDifference(image, image.mirrored(true, false)), 40) << shape;
        EXPECT_LE(largestDifference(image, image.mirrored(false, true)), 40) << shape;
        expectNear(image.pixelColor(image.width() / 2, 1), BrandColors::obsidian);
        EXPECT_GT(image.pixelColor(image.width() / 2, 2).red(), 180) << shape;
    }
}

TEST(RoundedRectangle, FollowsItsSizeAndColour)
{
    const QuickTestWindow window{
        QLatin1String("RoundedRectangle { objectName: 'it'; width: 30; height: 20; radius: 6; color: Theme.coral }")};
    auto* rectangle = window.item("it");
    expectNear(window.grab().pixelColor(60, 10), BrandColors::obsidian);
    rectangle->setWidth(100);
    expectNear(window.grab().pixelColor(60, 10), BrandColors::coral);
    rectangle->setProperty("color", BrandColors::cardSlate);
    expectNear(window.grab().pixelColor(60, 10), BrandColors::cardSlate);
    rectangle->setProperty("color", QColor{Qt::transparent});
    expectNear(window.grab().pixelColor(60, 10), BrandColors::obsidian);
}

TEST(RoundedRectangle, IsInOnePieceWhereWhatItIsInIsMadeSmaller)
{
    for (const double scale : {0.67, 0.74, 0.79, 0.83, 0.91}) {
        for (const int width : {121, 150, 181}) {
            const QuickTestWindow window{
                QStringLiteral("Item { scale: %1; transformOrigin: Item.TopLeft; RoundedRectangle { objectName: 'it'; "
                               "x: 13; y: 7; width: %2; height: 54; radius: 9; color: 'white'; opacity: 0.45 } }")
                    .arg(scale)
                    .arg(width)};
            const auto image = window.grab(*window.item("it"));
            const auto ground = image.pixelColor(image.width() / 2, image.height() / 2);
            EXPECT_GT(ground.lightness(), 110);
            // At its edges the pixels of the screen are only partly its own.
            for (int x = 10; x < image.width() - 10; ++x) {
                for (int y = 3; y < image.height() - 3; ++y)
                    ASSERT_EQ(image.pixelColor(x, y), ground) << x << ", " << y << " of " << width << " at " << scale;
            }
        }
    }
}

TEST(StatusLine, ItsSymbolStandsBesideTheFirstLineOfItsTextHoweverLargeThatIs)
{
    QuickTestWindow window{
        QLatin1String("StatusLine { width: 300; symbol: 'checkmark.circle.fill'; tint: Theme.granted; text: 'Granted' }")};
    for (const double scale : {1.0, 1.25, 1.5}) {
        setTextScale(window.engine(), scale);
        static_cast<void>(window.grab());
        const auto image = window.grab();
        QRect symbol;
        QRect text;
        for (int y = 0; y < 40; ++y) {
            for (int x = 0; x < 300; ++x) {
                const auto pixel = image.pixelColor(x, y);
                if (pixel.green() > pixel.red() + 60)
                    symbol = symbol.united({x, y, 1, 1});
                // The first letter, which has no part beneath the line.
                else if (pixel.lightness() > 150 && x > 16 * scale + 4 && x < 32 * scale + 4)
                    text = text.united({x, y, 1, 1});
            }
        }
        EXPECT_NEAR(symbol.center().y(), text.center().y(), 2) << scale;
        EXPECT_NEAR(symbol.height(), 14 * scale, 2) << scale;
    }
}

TEST(BrandLogoMark, ChoosesItsCutBySizeUnlessItIsGiven)
{
    const auto drawn = [](const char* mark) { return QuickTestWindow{QLatin1String(mark)}.grab(); };
    EXPECT_EQ(drawn("BrandLogoMark { size: 24 }"), drawn("BrandLogoMark { size: 24; opticalCut: BrandLogoMark.Small }"));
    EXPECT_EQ(drawn("BrandLogoMark { size: 25 }"), drawn("BrandLogoMark { size: 25; opticalCut: BrandLogoMark.Master }"));
    EXPECT_NE(drawn("BrandLogoMark { size: 25 }"), drawn("BrandLogoMark { size: 25; opticalCut: BrandLogoMark.Small }"));
    EXPECT_NE(drawn("BrandLogoMark { size: 25 }"), drawn("BrandLogoMark { size: 25; color: Theme.snowSlate }"));
    EXPECT_NE(drawn("BrandLogoMark { size: 25 }"), drawn("BrandLogoMark { size: 25; showGlow: true }"));
}

TEST(StatusBadge, ShowsEachStateWithAColourAndALabelOfItsOwn)
{
    const auto expectLook = [](const CaptureState::Case& state, const char* label, const char* color) {
        const CaptureStatus status{CaptureState{state}};
        EXPECT_EQ(status.label(), QLatin1String(label));
        EXPECT_EQ(status.color().name(), QLatin1String(color));
        const QuickTestWindow window{
            QLatin1String("id: root; property var given; StatusBadge { objectName: 'badge'; x: 10; y: 10; status: root.given }"),
            {400, 200}, {{QStringLiteral("given"), QVariant::fromValue(status)}}};
        const auto image = window.grab(*window.item("badge"));
        expectNear(image.pixelColor(13, image.height() / 2), status.color(), 8);
        expectNear(image.pixelColor(4, image.height() / 2), onGround(withOpacity(status.color(), 0.15)));
    };
    expectLook(CaptureState::Capturing{}, "Ready", "#30d158");
    expectLook(CaptureState::RecordingClip{}, "Recording", "#ff3b30");
    expectLook(CaptureState::SavingClip{}, "Saving", "#f8fafc");
    expectLook(CaptureState::CaptureUnavailable{}, "Unavailable", "#fbbf24");
    expectLook(CaptureState::NotConfigured{}, "Not Configured", "#fbbf24");
    expectLook(CaptureState::WaitingForWindowSelection{}, "No Window", "#b0bbca");
}

TEST(Theme, TakesMotionAwayWhenTheDesktopAsksForLess)
{
    QuickTestWindow window{QLatin1String("property int duration: Theme.motionDuration")};
    EXPECT_EQ(window.root()->property("duration").toInt(), 200);
    setReducesMotion(window.engine(), true);
    EXPECT_EQ(window.root()->property("duration").toInt(), 0);
}

}  // namespace
}  // namespace velmora
