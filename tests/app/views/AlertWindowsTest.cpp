#include "app/views/AlertWindows.h"

#include "platform/fake/FakeWindowing.h"
#include "tests/brand/OddTexts.h"
#include "tests/brand/QuickTestWindow.h"

#include <QQuickView>
#include <QScreen>

#include <gmock/gmock.h>

#include <limits>

namespace velmora {
namespace {

using ::testing::ElementsAre;

constexpr auto unanswered = std::numeric_limits<std::size_t>::max();

class AlertWindowsTest : public testing::Test {
protected:
    ~AlertWindowsTest() override
    {
        while (auto* one = shown())
            close(*one);
    }

    /// Its number in `answers`.
    std::size_t present(Alert alert)
    {
        answers.push_back(unanswered);
        const auto number = answers.size() - 1;
        alerts->present(std::move(alert), [this, number](std::size_t button) { answers[number] = button; });
        application.processEvents();
        return number;
    }

    /// Expects no more than one.
    [[nodiscard]] static QQuickView* shown()
    {
        QQuickView* found = nullptr;
        for (auto* candidate : QGuiApplication::topLevelWindows()) {
            if (!candidate->isVisible())
                continue;
            EXPECT_FALSE(found) << "two at once";
            found = qobject_cast<QQuickView*>(candidate);
        }
        return found;
    }

    void close(QQuickView& view)
    {
        view.close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        application.processEvents();
    }

    static void press(QQuickView& view, Qt::Key key)
    {
        for (const auto kind : {QEvent::KeyPress, QEvent::KeyRelease})
            qt_handleKeyEvent(&view, kind, key, Qt::NoModifier);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCoreApplication::processEvents();
    }

    QGuiApplication& application = test::application();
    std::shared_ptr<fake::FakeWindowActivation> activation = std::make_shared<fake::FakeWindowActivation>();
    std::shared_ptr<AlertPresenter> alerts = makeAlertWindows(activation);
    std::vector<std::size_t> answers;
    const Alert question{Alert::Style::informational, "No Video Window Selected", "First choose one.", {"Choose Window Now", "Cancel"}};
    const Alert warning{Alert::Style::warning, "Velmora", "The disk is full.", {"OK"}};
};

TEST_F(AlertWindowsTest, IsAboveOtherWindowsBlocksOursAndCanOnlyBeAnsweredOrClosed)
{
    present(question);
    auto* view = shown();
    ASSERT_TRUE(view);
    EXPECT_EQ(view->title(), QStringLiteral("No Video Window Selected"));
    EXPECT_EQ(view->modality(), Qt::ApplicationModal);
    EXPECT_EQ(view->type(), Qt::Dialog);
    for (const auto flag : {Qt::WindowStaysOnTopHint, Qt::WindowTitleHint, Qt::WindowCloseButtonHint})
        EXPECT_TRUE(view->flags().testFlag(flag)) << flag;
    for (const auto flag : {Qt::WindowMinimizeButtonHint, Qt::WindowMaximizeButtonHint, Qt::FramelessWindowHint})
        EXPECT_FALSE(view->flags().testFlag(flag)) << flag;
    EXPECT_EQ(view->minimumSize(), view->maximumSize());
    EXPECT_EQ(view->size(), view->minimumSize());
    ASSERT_TRUE(view->rootObject());
    EXPECT_EQ(view->width(), 420);
    EXPECT_EQ(view->height(), view->rootObject()->implicitHeight());
    EXPECT_THAT(activation->activated, ElementsAre(view->winId()));
}

TEST_F(AlertWindowsTest, StandsInTheMiddleOfWhatIsFreeOfTheMainScreen)
{
    const QRect screen = QGuiApplication::primaryScreen()->geometry();
    activation->screen = {{screen.x(), screen.y(), screen.width(), screen.height()}, {100, 60, 600, 400}};
    present(warning);
    ASSERT_TRUE(shown());
    EXPECT_NEAR(shown()->geometry().center().x(), 400, 1);
    EXPECT_NEAR(shown()->geometry().center().y(), 260, 1);
}

TEST_F(AlertWindowsTest, TellsWhichButtonWasPressed)
{
    const auto first = present(question);
    ASSERT_TRUE(shown());
    press(*shown(), Qt::Key_Return);
    EXPECT_EQ(answers[first], 0U);
    const auto second = present(question);
    ASSERT_TRUE(shown());
    press(*shown(), Qt::Key_Tab);
    press(*shown(), Qt::Key_Return);
    EXPECT_EQ(answers[second], 1U);
    EXPECT_FALSE(shown());
}

TEST_F(AlertWindowsTest, ClosedByItsTitleBarItWasTheLastButton)
{
    const auto asked = present(question);
    ASSERT_TRUE(shown());
    close(*shown());
    EXPECT_EQ(answers[asked], 1U);
}

TEST_F(AlertWindowsTest, OneIsShownAfterTheOtherInTheirOrder)
{
    const auto first = present(warning);
    const auto second = present(question);
    const auto third = present(warning);
    ASSERT_TRUE(shown());
    EXPECT_EQ(shown()->title(), QStringLiteral("Velmora"));
    close(*shown());
    EXPECT_THAT(answers, ElementsAre(0U, unanswered, unanswered));
    ASSERT_TRUE(shown());
    EXPECT_EQ(shown()->title(), QStringLiteral("No Video Window Selected"));
    close(*shown());
    ASSERT_TRUE(shown());
    close(*shown());
    EXPECT_FALSE(shown());
    EXPECT_EQ(answers[first], 0U);
    EXPECT_EQ(answers[second], 1U);
    EXPECT_EQ(answers[third], 0U);
}

TEST_F(AlertWindowsTest, EveryKindOfTextFitsTheWorkAreaAndIsOneLineInTheTitleBar)
{
    const QRect screen = QGuiApplication::primaryScreen()->geometry();
    const PixelRect free{0, 0, 700, 500};
    activation->screen = {{screen.x(), screen.y(), screen.width(), screen.height()}, free};
    for (const auto& [kind, text] : test::oddBytes()) {
        SCOPED_TRACE(kind);
        const auto number = present({Alert::Style::warning, text, text, {"OK"}});
        auto* view = shown();
        ASSERT_TRUE(view);
        EXPECT_FALSE(view->grabWindow().isNull());
        EXPECT_EQ(view->width(), 420);
        EXPECT_LE(view->height(), 500);
        EXPECT_LE(view->title().size(), 2048);
        EXPECT_TRUE(test::isOrderlyLine(view->title()));
        press(*view, Qt::Key_Return);
        EXPECT_EQ(answers[number], 0U);
    }
}

}  // namespace
}  // namespace velmora
