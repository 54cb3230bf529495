// The marks and controls on a screen with one and a half pixels per point.

#include "brand/BrandAssets.h"
#include "brand/BrandColors.h"
#include "brand/Symbols.h"
#include "tests/brand/QuickTestWindow.h"

#include <QPainter>

#include <cstdlib>

namespace velmora {
namespace {

using test::QuickTestWindow;

// Before there is an application.
[[maybe_unused]] const bool isScaled = qputenv("QT_SCALE_FACTOR", "1.5");

QImage onGround(const QImage& picture, const QSize& size)
{
    QImage image{size, QImage::Format_RGB32};
    image.fill(BrandColors::obsidian);
    QPainter painter{&image};
    painter.drawImage(QRect{{}, size}, picture, picture.rect());
    return image;
}

/// The mean difference of all colours, out of 255.
double difference(const QImage& one, const QImage& other)
{
    double sum = 0;
    for (int row = 0; row < one.height(); ++row) {
        for (int column = 0; column < one.width(); ++column) {
            const QColor left = one.pixelColor(column, row);
            const QColor right = other.pixelColor(column, row);
            sum += std::abs(left.red() - right.red()) + std::abs(left.green() - right.green()) + std::abs(left.blue() - right.blue());
        }
    }
    return sum / (3.0 * one.width() * one.height());
}

/// Of that part of the window, in pixels.
QImage grabbed(const QuickTestWindow& window, int points)
{
    auto image = window.grab().copy(0, 0, points * 3 / 2, points * 3 / 2);
    image.setDevicePixelRatio(1);
    return image;
}

TEST(AScaledScreen, HasOneAndAHalfPixelsAPoint)
{
    const QuickTestWindow window{QStringLiteral("Rectangle { }"), {200, 100}};
    EXPECT_EQ(window.window().effectiveDevicePixelRatio(), 1.5);
    EXPECT_EQ(window.grab().size(), QSize(300, 150));
}

TEST(AScaledScreen, ShowsTheMarkInItsOwnPixelsAndNotEnlarged)
{
    const QuickTestWindow window{QStringLiteral("BrandLogoMark { size: 40; color: Theme.coral }"), {100, 100}};
    const auto seen = grabbed(window, 40);
    const auto sharp = onGround(BrandAssets::symbolImage(40, BrandColors::coral, false, 1.5), {60, 60});
    const auto enlarged = onGround(BrandAssets::symbolImage(40, BrandColors::coral, false, 1), {60, 60});
    EXPECT_LT(difference(seen, sharp), 1);
    EXPECT_GT(difference(seen, enlarged), 2 * difference(seen, sharp));
}

TEST(AScaledScreen, ShowsSymbolsInTheirOwnPixelsAndNotEnlarged)
{
    const QuickTestWindow window{QStringLiteral("Symbol { name: 'globe'; size: 40; color: Theme.coral }"), {100, 100}};
    const auto seen = grabbed(window, 40);
    const auto sharp = onGround(Symbols::image(QStringLiteral("globe"), BrandColors::coral, {60, 60}), {60, 60});
    const auto enlarged = onGround(Symbols::image(QStringLiteral("globe"), BrandColors::coral, {40, 40}), {60, 60});
    EXPECT_LT(difference(seen, sharp), 1);
    EXPECT_GT(difference(seen, enlarged), 2 * difference(seen, sharp));
}

TEST(AScaledScreen, HasControlsOfTheSamePoints)
{
    const QuickTestWindow window{QStringLiteral("TextButton { objectName: 'it'; x: 20; y: 20; text: 'Start' }"), {200, 100}};
    const auto image = window.grab();
    EXPECT_EQ(window.item("it")->height(), 36);
    // Above, in and below the button: at 20 and at 56 points.
    const auto at = [&](double y) { return image.pixelColor(qRound(26 * 1.5), qRound(y * 1.5)); };
    EXPECT_EQ(at(18), BrandColors::obsidian);
    EXPECT_EQ(at(24), BrandColors::cardSlate);
    EXPECT_EQ(at(52), BrandColors::cardSlate);
    EXPECT_EQ(at(58), BrandColors::obsidian);
}

}  // namespace
}  // namespace velmora
