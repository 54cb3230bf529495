#include "app/views/Placement.h"

#include "platform/fake/FakeWindowing.h"
#include "tests/brand/QuickTestWindow.h"

#include <QScreen>
#include <QWindow>
#include <gtest/gtest.h>

namespace velmora {
namespace {

TEST(Placement, PixelsArePointsWhereNothingIsEnlarged)
{
    EXPECT_EQ(inPoints({1920, 32, 1280, 992}, {1920, 0, 1280, 1024}, 1), (QRect{1920, 32, 1280, 992}));
}

TEST(Placement, AnEnlargedScreenKeepsItsCornerAndHasFewerPoints)
{
    EXPECT_EQ(inPoints({1920, 64, 2560, 1376}, {1920, 0, 1280, 720}, 2), (QRect{1920, 32, 1280, 688}));
    EXPECT_EQ(inPoints({0, 0, 1366, 768}, {0, 0, 910, 512}, 1.5), (QRect{0, 0, 910, 512}));
}

TEST(Placement, APointThatAPanelCoversInPartIsNotFree)
{
    // 31 pixels are 20.7 points, and the 767th pixel is in the middle of a point.
    EXPECT_EQ(inPoints({1, 31, 1364, 736}, {0, 0, 910, 512}, 1.5), (QRect{1, 21, 909, 490}));
}

TEST(Placement, AWindowIsCentredInWhatIsFreeOfTheMainScreen)
{
    auto& application = test::application();
    static_cast<void>(application);
    const QRect screen = QGuiApplication::primaryScreen()->geometry();
    fake::FakeWindowActivation activation;
    activation.screen = {{screen.x(), screen.y(), screen.width(), screen.height()}, {100, 50, 400, 300}};
    QWindow window;
    window.resize(200, 100);
    centre(window, activation);
    EXPECT_EQ(window.geometry(), (QRect{200, 150, 200, 100}));
}

TEST(Placement, AScreenThatQtDoesNotKnowIsNotBelieved)
{
    auto& application = test::application();
    static_cast<void>(application);
    fake::FakeWindowActivation activation;
    activation.screen = {{5000, 5000, 100, 100}, {5000, 5000, 100, 100}};
    const auto workArea = mainWorkArea(activation);
    ASSERT_TRUE(workArea);
    EXPECT_EQ(workArea->area, QGuiApplication::primaryScreen()->availableGeometry());
}

TEST(RemainingTextScale, IsWhatTheScreensScaleDoesNotHaveAlready)
{
    EXPECT_DOUBLE_EQ(remainingTextScale(1.25, 1), 1.25);
    EXPECT_DOUBLE_EQ(remainingTextScale(1.25, 1.25), 1) << "windows are larger as a whole";
    EXPECT_DOUBLE_EQ(remainingTextScale(1.5, 2), 1);
    EXPECT_DOUBLE_EQ(remainingTextScale(1.5, 1.25), 1.2);
    EXPECT_DOUBLE_EQ(remainingTextScale(0.8, 1), 1);
    EXPECT_DOUBLE_EQ(remainingTextScale(1, 0.5), 1);
}

}  // namespace
}  // namespace velmora
