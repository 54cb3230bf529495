// The program's windows and views on a screen with one and a half pixels per point.

#include "app/views/HudPanelWindow.h"
#include "app/views/Placement.h"
#include "app/views/QuickEngine.h"
#include "app/views/QuickWindows.h"
#include "platform/fake/FakeWindowing.h"
#include "tests/brand/ViewTestWindow.h"
#include "tests/library/views/PreviewFixture.h"
#include "tests/library/views/PreviewView.h"
#include "tests/support/TemporaryDirectory.h"

#include <QPointer>
#include <QScreen>
#include <QWindow>

#include <gmock/gmock.h>

#include <fstream>

namespace velmora {
namespace {

using ::testing::ElementsAre;

// Before there is an application.
[[maybe_unused]] const bool isScaled = qputenv("QT_SCALE_FACTOR", "1.5");

/// No leak checker looks where QML keeps its pointers.
class EngineOfScaledWindows final : public testing::Environment {
    void TearDown() override { delete &quickEngine(); }
};
const testing::Environment* const engineOfScaledWindows = testing::AddGlobalTestEnvironment(new EngineOfScaledWindows);

class ScaledWindowsTest : public testing::Test {
protected:
    ScaledWindowsTest()
    {
        const auto* screen = QGuiApplication::primaryScreen();
        EXPECT_EQ(screen->devicePixelRatio(), 1.5);
        // In pixels; and what a panel of 30 pixels at its top leaves of 900 x 630.
        activation->screen = {{screen->geometry().x(), screen->geometry().y(), 900, 660}, {0, 30, 900, 630}};
    }

    QGuiApplication& application = test::application();
    std::shared_ptr<fake::FakeWindowActivation> activation = std::make_shared<fake::FakeWindowActivation>();
    std::shared_ptr<fake::FakeFloatingWindows> floating = std::make_shared<fake::FakeFloatingWindows>();
};

TEST_F(ScaledWindowsTest, TheMainScreensFreeAreaIsToldInPixelsAndUsedInPoints)
{
    const auto workArea = mainWorkArea(*activation);
    ASSERT_TRUE(workArea);
    EXPECT_EQ(workArea->area, (QRect{0, 20, 600, 420}));
}

TEST_F(ScaledWindowsTest, AWindowHasItsSizeInPointsOrWhatIsFreeInPoints)
{
    const test::TemporaryDirectory directory;
    const auto view = directory.path() / "View.qml";
    std::ofstream{view} << "import QtQuick\nItem { required property QtObject model }\n";
    QuickWindowFactory factory{
        activation, [&](const WindowDescription&) {
            return QuickContent{QUrl::fromLocalFile(QString::fromStdString(view.string())), std::make_shared<QObject>(), {}, {}, {}, {}};
        }};
    const auto geometry = [&](int width, int height) {
        const auto window = factory.makeWindow({WindowContent::settings, width, height, false, false, "scaled", {}});
        for (const auto* candidate : QGuiApplication::topLevelWindows()) {
            if (candidate->title() == QStringLiteral("scaled"))
                return candidate->geometry();
        }
        return QRect{};
    };
    EXPECT_EQ(geometry(400, 300), (QRect{100, 80, 400, 300}));
    EXPECT_EQ(geometry(540, 500), (QRect{30, 38, 540, 383})) << "the work area's height, with room for a frame";
}

TEST_F(ScaledWindowsTest, ThePanelIsPlacedInPointsAndKeptUsableInPixels)
{
    const auto panel =
        makeHudPanelWindow({.preview = {}, .share = {}, .reveal = {}, .drag = {}, .preparePreview = [] {}}, {activation, floating});
    const auto show = [&](bool isComposited) {
        floating->isComposited = isComposited;
        panel->place();
        panel->orderFrontAndFadeIn();
        for (const auto* candidate : QGuiApplication::topLevelWindows()) {
            if (candidate->flags().testFlag(Qt::WindowDoesNotAcceptFocus))
                return candidate->geometry();
        }
        return QRect{};
    };
    EXPECT_EQ(show(false), (QRect{600 - 360, 20 + 10, 340, 110}));
    EXPECT_EQ(floating->clickableArea, std::nullopt);
    EXPECT_THAT(floating->keptParts, ElementsAre(PixelRect{0, 0, 510, 165}));
    EXPECT_EQ(show(true), (QRect{600 - 360 - 20, 20 + 10 - 20, 380, 150}));
    EXPECT_EQ(floating->clickableArea, (PixelRect{30, 30, 510, 165}));
    EXPECT_THAT(floating->keptParts, ElementsAre(PixelRect{30, 30, 510, 165}));
}

class ScaledPreviewTest : public testing::Test, protected test::PreviewFixture {
protected:
    ScaledPreviewTest()
    {
        test::linkPreviewView();
        window.emplace(test::clipPreviewView, *model, test::clipPreviewSize);
    }
    ~ScaledPreviewTest() override { window.reset(); }

    [[nodiscard]] QQuickItem& picture() const
    {
        QQuickItem* found = nullptr;
        window->forEachVisible([&](QQuickItem& item) {
            if (item.inherits("velmora::PlayerPicture"))
                found = &item;
        });
        if (!found)
            throw std::runtime_error("there is no picture");
        return *found;
    }

    std::optional<test::ViewTestWindow> window;
};

TEST_F(ScaledPreviewTest, ThePlayerDrawsAPixelForEachOfTheScreens)
{
    appear();
    player().showPicture(std::byte{0x80});
    const auto grabbed = window->grab();
    EXPECT_EQ(grabbed.size(), test::clipPreviewSize * 1.5);
    ASSERT_FALSE(player().drawn.empty());
    const auto place = picture().size();
    EXPECT_EQ(player().drawn.back().width, qRound(place.width() * 1.5));
    EXPECT_EQ(player().drawn.back().height, qRound(place.height() * 1.5));
    EXPECT_EQ(grabbed.pixelColor(grabbed.width() / 2, 100), (QColor{0x80, 0x80, 0x80}));
}

TEST_F(ScaledPreviewTest, NothingIsCutOffOrOverlaps)
{
    appear();
    static_cast<void>(window->grab());
    window->expectNothingIsCutOff({QPointF{}, test::clipPreviewSize});
    window->expectNoTextsOverlap();
}

}  // namespace
}  // namespace velmora
