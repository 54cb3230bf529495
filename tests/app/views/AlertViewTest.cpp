#include "app/views/AlertWindows.h"

#include "brand/BrandColors.h"
#include "tests/app/views/AppViews.h"
#include "tests/brand/KeyboardWalk.h"
#include "tests/brand/OddTexts.h"
#include "tests/brand/ViewTestWindow.h"

#include <gmock/gmock.h>

#include <optional>

namespace velmora {
namespace {

using test::ViewTestWindow;
using ::testing::ElementsAre;

const Alert question{Alert::Style::informational, "No Video Window Selected",
    "To start a live recording, first choose the video window you want to capture.", {"Choose Window Now", "Cancel"}};
const Alert warning{Alert::Style::warning, "Velmora", "Cannot record: Please select a video window first.", {"OK"}};

class AlertViewTest : public testing::Test {
protected:
    void show(const Alert& alert, const QSize& size = {420, 170})
    {
        window.reset();
        model = std::make_unique<AlertModel>(alert);
        QObject::connect(model.get(), &AlertModel::pressed, model.get(), [this](int button) { pressed.push_back(button); });
        window.emplace(test::appView("AlertView"), *model, size);
        static_cast<void>(window->grab());
    }

    ~AlertViewTest() override { window.reset(); }

    [[nodiscard]] int pixels(const QColor& color) const
    {
        const auto image = window->grab();
        int count = 0;
        for (int row = 0; row < image.height(); ++row)
            for (int column = 0; column < image.width(); ++column)
                count += image.pixelColor(column, row) == color ? 1 : 0;
        return count;
    }

    std::unique_ptr<AlertModel> model;
    std::optional<ViewTestWindow> window;
    std::vector<int> pressed;
};

TEST_F(AlertViewTest, SaysWhatHappenedAndOffersItsAnswersTheFirstOneOnTheRight)
{
    show(question);
    EXPECT_EQ(window->texts(),
        (QStringList{QStringLiteral("No Video Window Selected"),
            QStringLiteral("To start a live recording, first choose the video window you want to capture."),
            QStringLiteral("Choose Window Now"), QStringLiteral("Cancel")}));
    const auto& first = window->button(QStringLiteral("Choose Window Now"));
    const auto& last = window->button(QStringLiteral("Cancel"));
    EXPECT_TRUE(first.property("prominent").toBool());
    EXPECT_FALSE(last.property("prominent").toBool());
    EXPECT_GT(first.mapToScene({0, 0}).x(), last.mapToScene({last.width(), 0}).x());
    EXPECT_NEAR(first.mapToScene({first.width(), 0}).x(), 420 - 24, 1);
    auto* accessible = QAccessible::queryAccessibleInterface(window->root());
    EXPECT_EQ(accessible->role(), QAccessible::AlertMessage);
    EXPECT_EQ(accessible->text(QAccessible::Name), QStringLiteral("No Video Window Selected"));
    EXPECT_EQ(accessible->text(QAccessible::Description), QString::fromStdString(question.informativeText));
    window->expectNothingIsCutOff({24, 20, 374, 130});
    window->expectNoTextsOverlap();
}

TEST_F(AlertViewTest, AWarningHasItsSignAndAQuestionHasNone)
{
    show(question);
    EXPECT_EQ(pixels(BrandColors::amber), 0);
    show(warning);
    EXPECT_GT(pixels(BrandColors::amber), 40);
}

TEST_F(AlertViewTest, ReturnPressesTheFirstButtonAsLongAsNoOtherHasTheKeyboard)
{
    show(question);
    EXPECT_EQ(window->focusedButton(), QStringLiteral("Choose Window Now"));
    window->type(Qt::Key_Return);
    EXPECT_THAT(pressed, ElementsAre(0));
    window->type(Qt::Key_Enter);
    EXPECT_THAT(pressed, ElementsAre(0, 0));
}

TEST_F(AlertViewTest, ReturnPressesTheButtonThatHasTheKeyboard)
{
    show(question);
    for (const auto key : {Qt::Key_Return, Qt::Key_Enter}) {
        show(question);
        pressed.clear();
        window->type(Qt::Key_Tab);
        EXPECT_EQ(window->focusedButton(), QStringLiteral("Cancel"));
        window->type(key);
        EXPECT_THAT(pressed, ElementsAre(1));
    }
}

TEST_F(AlertViewTest, TheKeyboardGoesRoundItsButtons)
{
    show({Alert::Style::informational, "No Video Window Selected", "Choose one.", {"Choose Window Now", "Cancel"}});
    EXPECT_THAT(test::walkWithTab(*window), ::testing::UnorderedElementsAre("Choose Window Now", "Cancel"));
    test::expectAllIsSaid(*window);
}

TEST_F(AlertViewTest, EscapePressesTheLastButton)
{
    show(question);
    window->type(Qt::Key_Escape);
    EXPECT_THAT(pressed, ElementsAre(1));
}

TEST_F(AlertViewTest, EveryKindOfTextIsShownAsPlainTextBesideTheButtons)
{
    for (const auto& [kind, text] : test::oddBytes()) {
        SCOPED_TRACE(kind);
        Alert alert = warning;
        alert.messageText = text;
        alert.informativeText = text;
        show(alert, {420, 300});
        window->forEachVisible([&](QQuickItem& item) {
            if (item.inherits("QQuickText")) {
                EXPECT_EQ(item.property("textFormat").toInt(), Qt::PlainText);
            }
        });
        EXPECT_TRUE(window->hasButton(QStringLiteral("OK")));
        pressed.clear();
        window->press(QStringLiteral("OK"));
        EXPECT_THAT(pressed, ElementsAre(0)) << "the button is in the window";
    }
}

TEST_F(AlertViewTest, WhatDoesNotFitScrollsAndTheButtonsStay)
{
    Alert alert = warning;
    for (int line = 0; line < 60; ++line)
        alert.informativeText += "\nA line of a long story.";
    show(alert, {420, 260});
    const auto& button = window->button(QStringLiteral("OK"));
    EXPECT_LE(button.mapToScene({0, button.height()}).y(), 260 - 20);
    const auto top = window->grab();
    window->type(Qt::Key_Tab);
    window->type(Qt::Key_End);
    EXPECT_NE(window->grab(), top);
    EXPECT_GT(window->root()->implicitHeight(), 1000) << "what it would need";
}

}  // namespace
}  // namespace velmora
