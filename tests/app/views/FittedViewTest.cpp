#include "app/views/FittedView.h"

#include "tests/brand/QuickTestWindow.h"

#include <QQmlComponent>
#include <QScreen>

#include <gtest/gtest.h>

namespace velmora {
namespace {

TEST(FittingSize, IsTheGivenOneWhereItFitsAndElseWhatThereIsRoomFor)
{
    // 1366 x 768 pixels at one and a half per point, and a panel of 24 points.
    const QSize small{910, 488};
    const QMargins frame{1, 28, 1, 1};
    EXPECT_EQ(fittingSize({560, 400}, small, frame), QSize(560, 400));
    EXPECT_EQ(fittingSize({680, 600}, small, frame), QSize(680, 488 - 29)) << "the other direction stays as it is";
    EXPECT_EQ(fittingSize({640, 530}, small, {}), QSize(640, 488));
    EXPECT_EQ(fittingSize({1000, 300}, small, frame), QSize(908, 300));
    EXPECT_EQ(fittingSize({680, 600}, {1366, 740}, frame), QSize(680, 600));
}

TEST(PlaceInside, IsWhereItIsUnlessThatIsOutsideOfTheArea)
{
    const QRect area{100, 20, 900, 500};
    EXPECT_EQ(placeInside({150, 40, 640, 300}, area), QPoint(150, 40));
    EXPECT_EQ(placeInside({150, -14, 640, 500}, area), QPoint(150, 20)) << "its title bar can be reached";
    EXPECT_EQ(placeInside({80, 40, 640, 300}, area), QPoint(100, 40));
    EXPECT_EQ(placeInside({500, 400, 640, 300}, area), QPoint(360, 220));
    EXPECT_EQ(placeInside({150, 100, 640, 600}, area), QPoint(150, 20)) << "the lower end gives way";
}

class FittedViewTest : public testing::Test {
protected:
    void load(const char* qml)
    {
        component.setData(QByteArray{"import QtQuick\n"} + qml, {});
        root = qobject_cast<QQuickItem*>(component.create());
        ASSERT_TRUE(root) << component.errorString().toStdString();
        view.setContent({}, &component, root);
    }

    QGuiApplication& application = test::application();
    QQmlEngine engine;
    QQmlComponent component{&engine};
    FittedView view{engine};
    QQuickItem* root = nullptr;
};

TEST_F(FittedViewTest, AFixedWindowHasTheGivenSizeAndNoOther)
{
    view.setGivenSize({640, 530}, false);
    EXPECT_EQ(view.size(), QSize(640, 530));
    EXPECT_EQ(view.minimumSize(), view.maximumSize());
    EXPECT_EQ(view.minimumSize(), QSize(640, 530));
}

TEST_F(FittedViewTest, AResizableWindowHasTheGivenSizeAtLeast)
{
    view.setGivenSize({680, 600}, true);
    EXPECT_EQ(view.size(), QSize(680, 600));
    EXPECT_EQ(view.minimumSize(), QSize(680, 600));
    EXPECT_GT(view.maximumSize().width(), 10'000);
    view.resize(700, 650);
    view.show();
    QCoreApplication::processEvents();
    EXPECT_EQ(view.size(), QSize(700, 650)) << "a person's own size stays";
}

TEST_F(FittedViewTest, OnAScreenThatIsTooSmallItHasTheWorkAreasSize)
{
    const auto area = workAreaSize(*view.screen());
    for (const bool isResizable : {false, true}) {
        FittedView large{engine};
        large.setGivenSize({area.width() + 100, area.height() + 100}, isResizable);
        large.show();
        QCoreApplication::processEvents();
        const auto frame = large.frameMargins();
        EXPECT_EQ(large.size(), area.shrunkBy(frame));
        EXPECT_EQ(large.minimumSize(), large.size());
    }
}

TEST_F(FittedViewTest, ItLeavesRoomForAFrameBeforeItHasOneAndTakesWhatThatLeavesThen)
{
    view.setWorkArea({0, 0, 700, 500});
    view.setGivenSize({680, 600}, true);
    EXPECT_EQ(view.size(), QSize(680, 463));
    view.show();
    QCoreApplication::processEvents();
    ASSERT_FALSE(view.frameMargins().isNull());
    EXPECT_EQ(view.size(), QSize(680, 500 - view.frameMargins().top() - view.frameMargins().bottom()));
    EXPECT_TRUE(QRect(0, 0, 700, 500).contains(view.frameGeometry()));
}

TEST_F(FittedViewTest, WhereNothingIsPutRoundItItTakesAllOfTheWorkArea)
{
    view.setFlags(Qt::FramelessWindowHint);
    view.setWorkArea({0, 0, 700, 500});
    view.setGivenSize({680, 600}, true);
    view.show();
    QCoreApplication::processEvents();
    ASSERT_TRUE(view.frameMargins().isNull());
    EXPECT_EQ(view.size(), QSize(680, 500));
}

TEST_F(FittedViewTest, AFixedWindowFollowsTheSizeOfItsContents)
{
    load("Rectangle { implicitWidth: 300; implicitHeight: 200 }");
    view.takeSizeOfContents();
    EXPECT_EQ(view.size(), QSize(300, 200));
    EXPECT_EQ(view.maximumSize(), QSize(300, 200));
    root->setImplicitHeight(260);
    EXPECT_EQ(view.size(), QSize(300, 260));
    EXPECT_EQ(view.minimumSize(), QSize(300, 260));
    EXPECT_EQ(view.maximumSize(), QSize(300, 260));
}

class GrowingWindowTest : public FittedViewTest {
protected:
    void showAt(const QPoint& frame)
    {
        load("Rectangle { implicitWidth: 300; implicitHeight: 200 }");
        view.takeSizeOfContents();
        view.setWorkArea(area);
        view.show();
        QCoreApplication::processEvents();
        ASSERT_FALSE(view.frameMargins().isNull());
        view.setFramePosition(frame);
        QCoreApplication::processEvents();
        ASSERT_EQ(view.frameGeometry().topLeft(), frame);
    }

    QRect frameAfterGrowingTo(double height)
    {
        root->setImplicitHeight(height);
        QCoreApplication::processEvents();
        EXPECT_EQ(view.size().height(), height);
        return view.frameGeometry();
    }

    const QRect area{0, 0, 700, 500};
};

TEST_F(GrowingWindowTest, AWindowThatGrowsBeyondTheWorkAreaMovesUpAsFarAsItHasTo)
{
    showAt({150, 200});
    EXPECT_EQ(frameAfterGrowingTo(220).topLeft(), QPoint(150, 200)) << "there is room for that";
    const auto frame = frameAfterGrowingTo(400);
    EXPECT_EQ(frame.left(), 150);
    EXPECT_EQ(frame.bottom(), area.bottom());
    EXPECT_EQ(frameAfterGrowingTo(200).top(), frame.top()) << "it does not jump about when it shrinks";
}

TEST_F(GrowingWindowTest, AWindowThatWasPutAcrossTheEdgeOfTheScreenStaysThere)
{
    const auto screen = view.screen()->availableGeometry();
    const QPoint across{screen.right() - 100, screen.bottom() - 150};
    showAt(across);
    EXPECT_EQ(frameAfterGrowingTo(300).topLeft(), across);
}

TEST_F(GrowingWindowTest, AWindowThatWasMovedElsewhereOnItsScreenStaysInsideOfThat)
{
    const auto screen = view.screen()->availableGeometry();
    ASSERT_GT(screen.height(), area.height() + 100);
    showAt({150, screen.bottom() - 280});
    EXPECT_EQ(frameAfterGrowingTo(400).bottom(), screen.bottom());
}

}  // namespace
}  // namespace velmora
