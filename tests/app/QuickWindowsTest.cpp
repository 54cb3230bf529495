#include "app/views/QuickWindows.h"

#include "app/views/QuickEngine.h"
#include "brand/BrandColors.h"
#include "platform/fake/FakeWindowing.h"
#include "tests/brand/OddTexts.h"
#include "tests/brand/QuickTestWindow.h"
#include "tests/support/TemporaryDirectory.h"

#include <QPointer>
#include <QQuickView>
#include <QScreen>

#include <fstream>
#include <gmock/gmock.h>

namespace velmora {
namespace {

using ::testing::ElementsAre;

/// Windows that show an empty view.
class QuickWindowsTest : public testing::Test {
protected:
    QuickWindowsTest()
    {
        std::ofstream{directory.path() / "View.qml"}
            << "import QtQuick\nItem { required property QtObject model; objectName: 'view'; implicitWidth: 50; implicitHeight: 50 }\n";
        const QRect screen = QGuiApplication::primaryScreen()->geometry();
        frame = {screen.x(), screen.y(), screen.width(), screen.height()};
    }

    ~QuickWindowsTest() override
    {
        for (auto* shown : QGuiApplication::topLevelWindows())
            shown->close();
        application.processEvents();
    }

    QQuickView* open(const WindowDescription& description)
    {
        QuickWindowFactory factory{activation, [this](const WindowDescription&) {
                                       return QuickContent{
                                           .view = viewFile(),
                                           .model = std::make_shared<QObject>(),
                                           .willAppear = [this] { calls.push_back("will appear"); },
                                           .didAppear = [this] { calls.push_back("did appear"); },
                                           .didDisappear = [this] { calls.push_back("did disappear"); },
                                           .onDismiss = {},
                                       };
                                   }};
        window = factory.makeWindow(description);
        return viewTitled(description.title);
    }

    [[nodiscard]] QUrl viewFile() const { return QUrl::fromLocalFile(QString::fromStdString((directory.path() / "View.qml").string())); }

    [[nodiscard]] static QQuickView* viewTitled(const std::string& title)
    {
        for (auto* candidate : QGuiApplication::topLevelWindows()) {
            if (candidate->title() == QString::fromStdString(title))
                return qobject_cast<QQuickView*>(candidate);
        }
        return nullptr;
    }

    /// Until a frame of the window, and what waits for it, has come.
    void awaitFrame(QQuickView& view)
    {
        bool isDrawn = false;
        const auto connection = QObject::connect(
            &view, &QQuickWindow::frameSwapped, &view, [&] { isDrawn = true; }, Qt::QueuedConnection);
        while (!isDrawn)
            application.processEvents(QEventLoop::WaitForMoreEvents);
        QObject::disconnect(connection);
    }

    QGuiApplication& application = test::application();
    std::vector<std::string> calls;
    test::TemporaryDirectory directory;
    PixelRect frame;
    std::shared_ptr<fake::FakeWindowActivation> activation = std::make_shared<fake::FakeWindowActivation>();
    std::shared_ptr<ApplicationWindow> window;
};

TEST_F(QuickWindowsTest, AWindowThatFitsHasItsGivenSizeInTheMiddleOfWhatIsFree)
{
    activation->screen = {frame, {10, 20, 700, 600}};
    auto* view = open({WindowContent::onboarding, 640, 530, true, false, "fits", {}});
    ASSERT_TRUE(view);
    EXPECT_EQ(view->geometry(), (QRect{40, 55, 640, 530}));
    EXPECT_EQ(view->minimumSize(), (QSize{640, 530}));
    EXPECT_EQ(view->maximumSize(), (QSize{640, 530}));
    ASSERT_TRUE(view->rootObject());
    EXPECT_EQ(view->rootObject()->objectName(), QStringLiteral("view")) << "nothing is between the window and its view";
}

TEST_F(QuickWindowsTest, AWindowsGroundIsThatOfThePaletteThatTheDesktopAsksForNowAndLater)
{
    auto* view = open({WindowContent::onboarding, 640, 530, true, false, "ordinary", {}});
    const auto ordinary = view->color();
    EXPECT_EQ(ordinary, BrandColors::obsidian);
    QQuickView clear;
    clear.setColor(Qt::transparent);
    setIncreasesContrast(true);
    EXPECT_EQ(view->color(), QColor{Qt::black});
    EXPECT_EQ(clear.color(), QColor{Qt::transparent}) << "there is nothing beneath it to be changed";
    const auto first = window;
    EXPECT_EQ(open({WindowContent::onboarding, 640, 530, true, false, "later", {}})->color(), QColor{Qt::black});
    setIncreasesContrast(false);
    EXPECT_EQ(view->color(), ordinary);
}

TEST_F(QuickWindowsTest, AWindowThatDoesNotFitHasTheWorkAreasSizeAndItsViewWithIt)
{
    activation->screen = {frame, {0, 0, 700, 436}};
    auto* view = open({WindowContent::onboarding, 640, 530, true, false, "too high", {}});
    ASSERT_TRUE(view);
    EXPECT_EQ(view->size(), (QSize{640, 399})) << "with room for a frame";
    EXPECT_EQ(view->minimumSize(), view->size());
    EXPECT_EQ(view->maximumSize(), view->size());
    view->show();
    application.processEvents();
    ASSERT_TRUE(view->rootObject());
    EXPECT_EQ(view->height(), 436 - view->frameMargins().top() - view->frameMargins().bottom()) << "its frame is known by now";
    EXPECT_EQ(view->rootObject()->size(), QSizeF{view->size()}) << "what does not fit is the view's to scroll";
}

TEST_F(QuickWindowsTest, AWindowThatCanBeResizedStaysUsableWhenItIsMadeLarger)
{
    activation->screen = {frame, {0, 0, 500, 436}};
    auto* view = open({WindowContent::clipPreview, 680, 600, true, true, "too large", {}});
    ASSERT_TRUE(view);
    EXPECT_EQ(view->size(), (QSize{498, 399})) << "with room for a frame";
    EXPECT_GT(view->maximumSize().width(), 1000);
    view->show();
    application.processEvents();
    view->resize(900, 700);
    application.processEvents();
    ASSERT_TRUE(view->rootObject());
    EXPECT_EQ(view->rootObject()->size(), (QSizeF{900, 700}));
}

TEST_F(QuickWindowsTest, TheButtonsOfTheTitleBarAreThoseOfTheKindOfWindow)
{
    for (const bool isMiniaturizable : {false, true}) {
        for (const bool isResizable : {false, true}) {
            auto* view = open({WindowContent::settings, 540, 500, isMiniaturizable, isResizable, "buttons", {}});
            ASSERT_TRUE(view);
            EXPECT_TRUE(view->flags().testFlag(Qt::WindowCloseButtonHint));
            EXPECT_TRUE(view->flags().testFlag(Qt::WindowTitleHint));
            EXPECT_EQ(view->flags().testFlag(Qt::WindowMinimizeButtonHint), isMiniaturizable);
            EXPECT_EQ(view->flags().testFlag(Qt::WindowMaximizeButtonHint), isResizable);
            EXPECT_EQ(view->maximumSize() == view->minimumSize(), !isResizable);
            window.reset();
        }
    }
}

TEST_F(QuickWindowsTest, EveryKindOfNameIsOneLineInTheTitleBarAndTurnsNothingAroundIt)
{
    for (const auto& [kind, name] : test::oddNames()) {
        SCOPED_TRACE(kind);
        QuickWindowFactory factory{activation, [this](const WindowDescription&) {
                                       return QuickContent{viewFile(), std::make_shared<QObject>(), {}, {}, {}, {}};
                                   }};
        window = factory.makeWindow({WindowContent::clipPreview, 200, 100, true, false, "Preview & Trim — " + name + ".mp4", {}});
        window->makeKeyAndOrderFront();
        QString title;
        for (auto* shown : QGuiApplication::topLevelWindows()) {
            if (shown->isVisible())
                title = shown->title();
        }
        EXPECT_TRUE(title.startsWith(QString::fromUtf8("Preview & Trim — "))) << title.toStdString();
        EXPECT_TRUE(title.endsWith(QStringLiteral(".mp4"))) << title.toStdString();
        EXPECT_TRUE(test::isOrderlyLine(title)) << title.toStdString();
        for (auto* shown : QGuiApplication::topLevelWindows())
            shown->close();
        application.processEvents();
    }
}

TEST_F(QuickWindowsTest, WhatWouldKeepTheFirstFrameFromTheScreenIsDoneAfterItEachTimeThatTheWindowOpens)
{
    auto* view = open({WindowContent::clipPreview, 200, 100, true, false, "first frame", {}});
    ASSERT_TRUE(view);
    for (int opening = 0; opening < 2; ++opening) {
        calls.clear();
        window->makeKeyAndOrderFront();
        EXPECT_THAT(calls, ElementsAre("will appear"));
        awaitFrame(*view);
        EXPECT_THAT(calls, ElementsAre("will appear", "did appear"));
        view->update();
        awaitFrame(*view);
        EXPECT_THAT(calls, ElementsAre("will appear", "did appear")) << "once is enough";
        view->close();
        application.processEvents();
    }
}

TEST_F(QuickWindowsTest, WhatIsClosedBeforeItsFirstFrameBeginsNothing)
{
    auto* view = open({WindowContent::clipPreview, 200, 100, true, false, "closed at once", {}});
    ASSERT_TRUE(view);
    const auto closing = QObject::connect(view, &QQuickWindow::frameSwapped, view, [view] { view->close(); });
    window->makeKeyAndOrderFront();
    awaitFrame(*view);
    application.processEvents();
    EXPECT_THAT(calls, ElementsAre("will appear", "did disappear"));
    QObject::disconnect(closing);
}

TEST_F(QuickWindowsTest, WhatWindowsBroughtGoesAfterTheLastAndAWindowThatIsShownAgainIsWhereItWas)
{
    auto* view = open({WindowContent::settings, 200, 100, false, true, "released", {}});
    ASSERT_TRUE(view);
    window->makeKeyAndOrderFront();
    awaitFrame(*view);
    const QPointer<QQmlEngine> engine{&quickEngine()};
    const QPointer<QQuickView> seen{view};
    view->setGeometry(30, 40, 250, 140);
    application.processEvents();

    releaseQuickEngine();
    EXPECT_TRUE(seen && engine) << "it is on the screen";
    view->close();
    application.processEvents();
    releaseQuickEngine();
    EXPECT_FALSE(seen);
    EXPECT_FALSE(engine);
    EXPECT_THAT(calls, ElementsAre("will appear", "did appear", "did disappear"));

    window->makeKeyAndOrderFront();
    auto* again = viewTitled("released");
    ASSERT_TRUE(again);
    awaitFrame(*again);
    EXPECT_EQ(again->geometry(), QRect(30, 40, 250, 140));
    EXPECT_TRUE(again->rootObject());
    EXPECT_THAT(calls, ElementsAre("will appear", "did appear", "did disappear", "will appear", "did appear"));
}

TEST_F(QuickWindowsTest, WhatAnOpenMenuHasPreparedStaysWhileItIsOpen)
{
    prepareView(viewFile());
    const QPointer<QQmlEngine> engine{&quickEngine()};
    QWindow menu;
    menu.setFlags(Qt::Popup);
    menu.show();
    releaseQuickEngine();
    EXPECT_TRUE(engine);
    menu.hide();
    releaseQuickEngine();
    EXPECT_FALSE(engine);
}

TEST_F(QuickWindowsTest, WhatNobodyOpensAfterAllGoesByItself)
{
    setQuickEngineStay(std::chrono::milliseconds{1});
    prepareView(viewFile());
    const QPointer<QQmlEngine> engine{&quickEngine()};
    while (engine)
        application.processEvents(QEventLoop::WaitForMoreEvents);
    setQuickEngineStay(std::chrono::seconds{10});
}

}  // namespace
}  // namespace velmora
