#include "brand/BrandAssets.h"

#include "tests/brand/MarkGeometry.h"

#include <vector>

namespace velmora {
namespace {

using test::Drawing;
using test::drawingOf;
using test::expectOnlyColor;
using test::expectShape;
using test::masterMark;
using test::smallMark;

const CaptureState capturing{CaptureState::Capturing{}};
const CaptureState savingClip{CaptureState::SavingClip{"Saving"}};
const CaptureState recordingClip{CaptureState::RecordingClip{}};
const CaptureState captureUnavailable{CaptureState::CaptureUnavailable{"gone"}};
const CaptureState notConfigured{CaptureState::NotConfigured{}};
const CaptureState waitingForWindowSelection{CaptureState::WaitingForWindowSelection{}};
const std::vector<CaptureState> allStates{
    capturing, savingClip, recordingClip, captureUnavailable, notConfigured, waitingForWindowSelection};

// The small cut and a circle in the rectangle from (left, bottom), of 18 x 18 points.
Drawing markWithDot(double left, double bottom, double diameter)
{
    const auto mark = drawingOf(smallMark);
    const QPointF middle{left + diameter / 2, bottom + diameter / 2};
    return [=](QPointF point) {
        const QPointF fromMiddle = point * 18 - middle;
        return mark(point) || std::hypot(fromMiddle.x(), fromMiddle.y()) <= diameter / 2;
    };
}

TEST(BrandColors, AreThePalette)
{
    EXPECT_EQ(BrandColors::coral.name(), "#ff3b30");
    EXPECT_EQ(BrandColors::obsidian.name(), "#0f172a");
    EXPECT_EQ(BrandColors::snowSlate.name(), "#f8fafc");
    EXPECT_EQ(BrandColors::studioWhite.name(), "#ffffff");
    EXPECT_EQ(BrandColors::cardSlate.name(), "#1e293b");
    EXPECT_EQ(BrandColors::borderSlate.name(), "#334155");
    EXPECT_FLOAT_EQ(BrandColors::coral.greenF(), 0.23137254901960785F);
    EXPECT_EQ(BrandColors::coral.alpha(), 255);
}

TEST(SymbolImage, IsTheSmallCutUpTo24PointsWhetherAskedForOrNot)
{
    expectShape(BrandAssets::symbolImage(24, BrandColors::coral, false), drawingOf(smallMark));
    expectShape(BrandAssets::symbolImage(24, BrandColors::coral, true), drawingOf(smallMark));
    expectShape(BrandAssets::symbolImage(16, BrandColors::coral, false), drawingOf(smallMark));
}

TEST(SymbolImage, IsTheMasterCutFrom25PointsUnlessTheSmallOneIsAskedFor)
{
    expectShape(BrandAssets::symbolImage(25, BrandColors::coral, false), drawingOf(masterMark));
    expectShape(BrandAssets::symbolImage(25, BrandColors::coral, true), drawingOf(smallMark));
}

TEST(SymbolImage, IsFilledWithTheColour)
{
    expectOnlyColor(BrandAssets::symbolImage(16, BrandColors::coral, true), BrandColors::coral);
    expectOnlyColor(BrandAssets::symbolImage(64, Qt::white, false), Qt::white);
}

TEST(SymbolImage, HasThePixelsOfItsScaleAndChoosesItsCutByPoints)
{
    const auto image = BrandAssets::symbolImage(24, BrandColors::coral, false, 2);
    EXPECT_EQ(image.size(), QSize(48, 48));
    EXPECT_EQ(image.devicePixelRatio(), 2);
    EXPECT_EQ(image.deviceIndependentSize(), QSizeF(24, 24));
    expectShape(image, drawingOf(smallMark));
    EXPECT_EQ(BrandAssets::symbolImage(16, BrandColors::coral, false, 1.5).size(), QSize(24, 24));
}

TEST(MenuBarImage, IsATemplateInEveryStateButRecording)
{
    for (const auto& state : allStates)
        EXPECT_EQ(BrandAssets::menuBarImage(state).isTemplate, !state.is<CaptureState::RecordingClip>()) << state.statusDescription();
}

TEST(MenuBarImage, IsDescribedAsVelmora)
{
    for (const auto& state : allStates)
        EXPECT_EQ(BrandAssets::menuBarImage(state).accessibleDescription, "Velmora");
}

TEST(MenuBarImage, WhileCapturingHasADotOf3AndAHalfPoints)
{
    const auto image = BrandAssets::menuBarImage(capturing);
    EXPECT_EQ(image.markFill, QColor(Qt::black));
    ASSERT_TRUE(image.dot);
    EXPECT_EQ(image.dot->rectangle, QRectF(13.0, 2.0, 3.5, 3.5));
    EXPECT_EQ(image.dot->fill, QColor(Qt::black));
    for (const int pixels : {18, 22, 72})
        expectShape(image.rendered(pixels), markWithDot(13.0, 2.0, 3.5));
}

TEST(MenuBarImage, WhileRecordingIsCoralWithADotOf4AndAHalfPoints)
{
    const auto image = BrandAssets::menuBarImage(recordingClip);
    EXPECT_EQ(image.markFill, BrandColors::coral);
    ASSERT_TRUE(image.dot);
    EXPECT_EQ(image.dot->rectangle, QRectF(12.5, 1.5, 4.5, 4.5));
    EXPECT_EQ(image.dot->fill, BrandColors::coral);
    for (const int pixels : {18, 22, 72}) {
        expectShape(image.rendered(pixels), markWithDot(12.5, 1.5, 4.5));
        expectOnlyColor(image.rendered(pixels, Qt::green), BrandColors::coral);
    }
}

TEST(MenuBarImage, WhileSavingIsACoralMarkThatIsShownInTheMenuBarsColour)
{
    const auto image = BrandAssets::menuBarImage(savingClip);
    EXPECT_EQ(image.markFill, BrandColors::coral);
    EXPECT_FALSE(image.dot);
    expectOnlyColor(image.rendered(36, Qt::green), Qt::green);
}

TEST(MenuBarImage, IsTheBareMarkWhenNothingIsCaptured)
{
    for (const auto& state : {captureUnavailable, notConfigured, waitingForWindowSelection}) {
        const auto image = BrandAssets::menuBarImage(state);
        EXPECT_EQ(image.markFill, QColor(Qt::black));
        EXPECT_FALSE(image.dot);
        for (const int pixels : {16, 18, 22, 24, 32, 44, 48})
            expectShape(image.rendered(pixels), drawingOf(smallMark));
    }
}

TEST(MenuBarImage, OfATemplateIsDrawnWhollyInTheMenuBarsColour)
{
    expectOnlyColor(BrandAssets::menuBarImage(capturing).rendered(36), BrandColors::snowSlate);
    expectOnlyColor(BrandAssets::menuBarImage(capturing).rendered(36, Qt::black), Qt::black);
}

}  // namespace
}  // namespace velmora
