#include "app/views/HudPanelWindow.h"

#include "app/views/QuickEngine.h"
#include "platform/fake/FakeWindowing.h"
#include "tests/brand/QuickTestWindow.h"

#include <QElapsedTimer>
#include <QPointer>
#include <QScreen>
#include <QWindow>

#include <cmath>
#include <gmock/gmock.h>
#include <set>

namespace velmora {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// No leak checker looks where QML keeps its pointers: the engine goes after the last of the tests that make windows.
class EngineOwner final : public testing::Environment {
    void TearDown() override
    {
        if (qobject_cast<QGuiApplication*>(QCoreApplication::instance()))
            delete &quickEngine();
    }
};
const testing::Environment* const engineOwner = testing::AddGlobalTestEnvironment(new EngineOwner);

class HudPanelWindowTest : public testing::Test {
protected:
    void open()
    {
        panel = makeHudPanelWindow(
            {.preview = {}, .share = {}, .reveal = {}, .drag = {}, .preparePreview = [this] { ++preparations; }}, {activation, floating});
        for (auto* candidate : QGuiApplication::topLevelWindows()) {
            if (candidate->flags().testFlag(Qt::WindowDoesNotAcceptFocus))
                window = candidate;
        }
        ASSERT_TRUE(window);
    }
    ~HudPanelWindowTest() override { setReducesMotion(false); }

    void show()
    {
        panel->place();
        panel->orderFrontAndFadeIn();
    }

    /// Lets the fading go on until the condition holds; false when it never does.
    bool waitUntil(const std::function<bool()>& condition)
    {
        QElapsedTimer time;
        time.start();
        while (!condition()) {
            if (time.hasExpired(60'000))
                return false;
            application.processEvents(QEventLoop::WaitForMoreEvents, 1000);
        }
        return true;
    }

    QGuiApplication& application = test::application();
    std::shared_ptr<fake::FakeWindowActivation> activation = std::make_shared<fake::FakeWindowActivation>();
    std::shared_ptr<fake::FakeFloatingWindows> floating = std::make_shared<fake::FakeFloatingWindows>();
    std::unique_ptr<HudPanel> panel;
    QWindow* window = nullptr;
    int preparations = 0;
};

TEST_F(HudPanelWindowTest, ThePointerOnItHasAPreviewPreparedAndNothingElseDoes)
{
    open();
    show();
    ASSERT_TRUE(waitUntil([&] { return window->opacity() == 1.0; }));
    EXPECT_EQ(preparations, 0);
    for (const QPointF at : {QPointF{150, 20}, QPointF{152, 22}}) {
        QMouseEvent move{QEvent::MouseMove, at, window->mapToGlobal(at), Qt::NoButton, Qt::NoButton, Qt::NoModifier};
        QCoreApplication::sendEvent(window, &move);
    }
    EXPECT_TRUE(waitUntil([&] { return preparations > 0; }));
    EXPECT_EQ(preparations, 1);
}

TEST_F(HudPanelWindowTest, ItFadesInAndOut)
{
    open();
    show();
    EXPECT_EQ(window->opacity(), 0.0);
    EXPECT_TRUE(window->isVisible());
    bool wasBetween = false;
    EXPECT_TRUE(waitUntil([&] {
        wasBetween = wasBetween || (window->opacity() > 0 && window->opacity() < 1);
        return window->opacity() == 1.0;
    }));
    EXPECT_TRUE(window->isVisible());
    panel->fadeOutAndOrderOut(250ms);
    EXPECT_TRUE(window->isVisible()) << "not before it has faded";
    EXPECT_EQ(window->opacity(), 1.0);
    EXPECT_TRUE(waitUntil([&] {
        wasBetween = wasBetween || (window->opacity() > 0 && window->opacity() < 1);
        return !window->isVisible();
    }));
    EXPECT_EQ(window->opacity(), 0.0);
    EXPECT_TRUE(wasBetween);
}

TEST_F(HudPanelWindowTest, ASaveWhileItFadesOutShowsItAgain)
{
    open();
    show();
    ASSERT_TRUE(waitUntil([&] { return window->opacity() == 1.0; }));
    panel->fadeOutAndOrderOut(250ms);
    ASSERT_TRUE(waitUntil([&] { return window->opacity() < 1.0; }));
    show();
    EXPECT_TRUE(waitUntil([&] { return window->opacity() == 1.0; }));
    EXPECT_TRUE(window->isVisible());
}

TEST_F(HudPanelWindowTest, WhereLessMotionIsAskedForItIsThereAndGoneAtOnce)
{
    setReducesMotion(true);  // before there is an engine, if this test runs alone
    open();
    show();
    EXPECT_EQ(window->opacity(), 1.0);
    panel->fadeOutAndOrderOut(250ms);
    EXPECT_FALSE(window->isVisible());
}

TEST_F(HudPanelWindowTest, ItFloatsWithoutFrameAndFocus)
{
    open();
    show();
    EXPECT_EQ(window->type(), Qt::ToolTip) << "a kind that no window manager touches";
    for (const auto flag : {Qt::FramelessWindowHint, Qt::WindowStaysOnTopHint, Qt::WindowDoesNotAcceptFocus})
        EXPECT_TRUE(window->flags().testFlag(flag)) << flag;
    EXPECT_NE(QGuiApplication::focusWindow(), window);
}

TEST_F(HudPanelWindowTest, ItStandsInTheCornerOfTheMainScreensFreeArea)
{
    open();
    const auto* screen = QGuiApplication::primaryScreen();
    ASSERT_TRUE(screen);
    const QRect frame = screen->geometry();
    const PixelRect whole{frame.x(), frame.y(), frame.width(), frame.height()};
    activation->screen = {whole, {30, 40, 700, 500}};
    show();
    EXPECT_EQ(window->geometry(), (QRect{30 + 700 - 360, 40 + 10, 340, 110}));
    activation->screen.reset();
    show();
    const QRect available = screen->availableGeometry();
    EXPECT_EQ(window->geometry(), (QRect{available.x() + available.width() - 360, available.y() + 10, 340, 110}));
}

TEST_F(HudPanelWindowTest, WithoutCompositingItsMaskCutsTheCornersAndThereIsNoShadow)
{
    open();
    show();
    EXPECT_EQ(window->size(), (QSize{340, 110}));
    EXPECT_FALSE(window->mask().isEmpty());
    EXPECT_FALSE(window->mask().contains(QPoint{0, 0}));
    EXPECT_TRUE(window->mask().contains(QPoint{170, 0}));
    EXPECT_EQ(floating->clickableArea, std::nullopt);
    EXPECT_THAT(floating->keptParts, ElementsAre(PixelRect{0, 0, 340, 110}));
}

TEST_F(HudPanelWindowTest, WithoutCompositingItsCornersAreAlikeAndNothingOfThemLiesOutsideItsEdge)
{
    setReducesMotion(true);
    open();
    show();
    const auto mask = window->mask();
    auto picture = qobject_cast<QQuickWindow*>(window)->grabWindow();
    picture.setDevicePixelRatio(1);
    int outside = 0;
    for (int y = 0; y < 14; ++y) {
        for (int x = 0; x < 14; ++x) {
            const bool isIn = mask.contains(QPoint{x, y});
            EXPECT_EQ(mask.contains(QPoint{339 - x, y}), isIn) << x << ", " << y;
            EXPECT_EQ(mask.contains(QPoint{x, 109 - y}), isIn) << x << ", " << y;
            EXPECT_EQ(mask.contains(QPoint{339 - x, 109 - y}), isIn) << x << ", " << y;
            // What is in the mask, but not in the panel: it has the colour of the panel's edge and not that of its ground.
            if (isIn && std::hypot(14 - (x + 0.5), 14 - (y + 0.5)) > 13.5) {
                ++outside;
                EXPECT_GT(picture.pixelColor(x, y).lightness(), 50) << x << ", " << y;
            }
        }
    }
    EXPECT_GT(outside, 4);
}

TEST_F(HudPanelWindowTest, WithCompositingTheWindowHasAMarginForTheShadowWhichLetsClicksThroughAndThePanelStaysWhereItIs)
{
    floating->isComposited = true;
    open();
    const QRect frame = QGuiApplication::primaryScreen()->geometry();
    activation->screen = {{frame.x(), frame.y(), frame.width(), frame.height()}, {30, 40, 700, 500}};
    show();
    ASSERT_TRUE(floating->clickableArea);
    const auto area = *floating->clickableArea;
    EXPECT_EQ(area.width, 340);
    EXPECT_EQ(area.height, 110);
    EXPECT_GT(area.x, 0);
    EXPECT_EQ(window->geometry().topLeft() + QPoint(area.x, area.y), (QPoint{30 + 700 - 360, 40 + 10}));
    EXPECT_EQ(window->size(), (QSize{340 + 2 * area.x, 110 + 2 * area.y}));
    EXPECT_TRUE(window->mask().isEmpty());
    EXPECT_TRUE(window->requestedFormat().hasAlpha());
    EXPECT_THAT(floating->keptParts, ElementsAre(area));

    // No opacity can be seen on this screen: what would be below is white.
    auto* view = qobject_cast<QQuickWindow*>(window);
    view->setColor(Qt::white);
    application.processEvents();
    const auto picture = view->grabWindow();
    const auto lightness = [&](int x, int y) { return picture.pixelColor(x, y).lightness(); };
    const int middle = area.x + 170;
    EXPECT_EQ(lightness(0, 0), 255);
    EXPECT_EQ(lightness(middle, 0), 255) << "the shadow ends inside the window";
    EXPECT_EQ(lightness(middle, picture.height() - 1), 255) << "the shadow ends inside the window";
    EXPECT_LT(lightness(middle, area.y + 110 + 3), 230);
    EXPECT_GT(lightness(middle, area.y + 110 + 3), 100);
    EXPECT_EQ(picture.pixelColor(middle, area.y + 8), (QColor{15, 23, 42}));
    // The panel's edge is a line of one shade; a corner has shades between that and the shadow.
    std::set<int> shades;
    for (int x = 0; x < 5; ++x) {
        for (int y = 0; y < 5; ++y)
            shades.insert(lightness(area.x + x, area.y + y));
    }
    EXPECT_GT(shades.size(), 6U);
    EXPECT_GT(lightness(area.x, area.y), 100) << "nothing of the panel is in its corner";

    floating->isComposited = false;
    show();
    EXPECT_EQ(window->size(), (QSize{340, 110})) << "the compositing manager has gone";
    EXPECT_FALSE(window->mask().isEmpty());
    EXPECT_EQ(floating->clickableArea, std::nullopt);
}

TEST_F(HudPanelWindowTest, ItIsKeptInFrontOnlyWhileItIsShown)
{
    setReducesMotion(true);
    open();
    EXPECT_THAT(floating->keptParts, IsEmpty());
    show();
    show();
    EXPECT_EQ(floating->keptParts.size(), 1U);
    panel->fadeOutAndOrderOut(250ms);
    EXPECT_THAT(floating->keptParts, IsEmpty());
}

TEST_F(HudPanelWindowTest, AfterItsViewWasLetGoItShowsWhatItIsGiven)
{
    open();
    show();
    panel->fadeOutAndOrderOut(1ms);
    EXPECT_TRUE(waitUntil([&] { return !window->isVisible(); }));
    const QPointer<QWindow> before{window};
    releaseQuickEngine();
    EXPECT_FALSE(before);
    panel->fadeOutAndOrderOut(1ms);
    panel->setContent({.clip = "/a/clip.mp4", .title = "Another", .caption = {}, .onDismiss = [] {}});
    show();
    const auto windows = QGuiApplication::topLevelWindows();
    const auto again = std::find_if(windows.begin(), windows.end(), [](const QWindow* one) { return one->isVisible(); });
    ASSERT_NE(again, windows.end());
    EXPECT_TRUE(waitUntil([&] { return (*again)->opacity() == 1.0; }));
    EXPECT_EQ((*again)->findChildren<QObject*>().isEmpty(), false);
}

}  // namespace
}  // namespace velmora
