#include "brand/BrandIcons.h"

#include "brand/BrandPainting.h"
#include "tests/brand/MarkGeometry.h"

#include <QPainter>
#include <QSvgRenderer>

namespace velmora {
namespace {

QImage renderedSvg(const QByteArray& svg, int side)
{
    QSvgRenderer renderer{svg};
    EXPECT_TRUE(renderer.isValid()) << svg.toStdString();
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    renderer.render(&painter);
    return image;
}

void expectSamePixels(const QImage& one, const QImage& other, int tolerance)
{
    ASSERT_EQ(one.size(), other.size());
    int worst = 0;
    QPoint where;
    for (int row = 0; row < one.height(); ++row) {
        for (int column = 0; column < one.width(); ++column) {
            // Premultiplied: how it looks, not what colour the transparent part has.
            const QRgb left = reinterpret_cast<const QRgb*>(one.constScanLine(row))[column];
            const QRgb right = reinterpret_cast<const QRgb*>(other.constScanLine(row))[column];
            for (const auto difference :
                {qRed(left) - qRed(right), qGreen(left) - qGreen(right), qBlue(left) - qBlue(right), qAlpha(left) - qAlpha(right)})
                if (std::abs(difference) > worst) {
                    worst = std::abs(difference);
                    where = {column, row};
                }
        }
    }
    EXPECT_LE(worst, tolerance) << "at column " << where.x() << ", row " << where.y() << " of " << one.width();
}

QImage icon(int side)
{
    return appIconImage(side, 0, false, 1);
}

TEST(BrandIcons, TheSvgOfTheApplicationIconIsWhatIsPainted)
{
    for (const int side : {128, 256, 512})
        expectSamePixels(renderedSvg(BrandIcons::appIconSvg(), side), icon(side), 10);
}

TEST(BrandIcons, AMacsIconSetHasEverySizeAtBothScalesAsItIsPainted)
{
    std::vector<std::pair<QString, int>> sides;
    for (const auto& file : BrandIcons::macIconSet()) {
        const auto image = QImage::fromData(file.content, "PNG").convertToFormat(QImage::Format_ARGB32_Premultiplied);
        ASSERT_FALSE(image.isNull()) << file.path.toStdString();
        ASSERT_EQ(image.width(), image.height());
        sides.emplace_back(file.path, image.width());
        expectSamePixels(image, icon(image.width()), 2);
    }
    EXPECT_EQ(sides,
        (std::vector<std::pair<QString, int>>{{"icon_16x16.png", 16}, {"icon_16x16@2x.png", 32}, {"icon_32x32.png", 32},
            {"icon_32x32@2x.png", 64}, {"icon_128x128.png", 128}, {"icon_128x128@2x.png", 256}, {"icon_256x256.png", 256},
            {"icon_256x256@2x.png", 512}, {"icon_512x512.png", 512}, {"icon_512x512@2x.png", 1024}}));
}

TEST(BrandIcons, TheSvgsOfTheItemAreWhatIsPainted)
{
    for (const auto& state : {CaptureState{CaptureState::Capturing{}}, CaptureState{CaptureState::RecordingClip{}},
             CaptureState{CaptureState::NotConfigured{}}}) {
        const auto image = BrandAssets::menuBarImage(state);
        for (const int side : {16, 48}) {
            const auto svg = renderedSvg(BrandIcons::menuBarSvg(image), side).convertToFormat(QImage::Format_Alpha8);
            const auto painted = image.rendered(side).convertToFormat(QImage::Format_Alpha8);
            expectSamePixels(
                svg.convertToFormat(QImage::Format_ARGB32_Premultiplied), painted.convertToFormat(QImage::Format_ARGB32_Premultiplied), 10);
        }
    }
}

TEST(BrandIcons, OnlyTheOneForRecordingHasAColourOfItsOwn)
{
    const auto recording = BrandIcons::menuBarSvg(BrandAssets::menuBarImage(CaptureState{CaptureState::RecordingClip{}}));
    test::expectOnlyColor(renderedSvg(recording, 48), BrandColors::coral);
    EXPECT_FALSE(recording.contains("currentColor"));
    const auto svg = BrandIcons::menuBarSvg(BrandAssets::menuBarImage(CaptureState{CaptureState::Capturing{}}));
    EXPECT_EQ(svg.count("fill="), svg.count("fill=\"currentColor\""));
}

TEST(BrandIcons, AreThereInAllSizesThatDesktopsAskFor)
{
    QStringList paths;
    for (const auto& file : BrandIcons::files()) {
        paths.append(file.path);
        if (!file.path.endsWith(QLatin1String(".png")))
            continue;
        const auto image = QImage::fromData(file.content);
        const int side = file.path.section(u'x', 0, 0).toInt();
        EXPECT_EQ(image.size(), QSize(side, side)) << file.path.toStdString();
        EXPECT_EQ(image.pixelColor(0, 0).alpha() < 255, true) << "round corners";
        EXPECT_EQ(image.pixelColor(side / 2, side / 20).alpha(), 255);
    }
    for (const auto* path :
        {"16x16/apps/com.velmora.Velmora.png", "22x22/apps/com.velmora.Velmora.png", "24x24/apps/com.velmora.Velmora.png",
            "32x32/apps/com.velmora.Velmora.png", "48x48/apps/com.velmora.Velmora.png", "64x64/apps/com.velmora.Velmora.png",
            "128x128/apps/com.velmora.Velmora.png", "256x256/apps/com.velmora.Velmora.png", "512x512/apps/com.velmora.Velmora.png",
            "scalable/apps/com.velmora.Velmora.svg", "scalable/apps/com.velmora.Velmora-recording.svg",
            "symbolic/apps/com.velmora.Velmora-symbolic.svg", "symbolic/apps/com.velmora.Velmora-capturing-symbolic.svg"})
        EXPECT_TRUE(paths.contains(QLatin1String(path))) << path;
}

TEST(AppIcon, IsARoundedSquareFromLightToDarkWithACoralMarkInTheMiddle)
{
    const auto image = icon(256);
    EXPECT_EQ(image.pixelColor(8, 8).alpha(), 0);
    EXPECT_EQ(image.pixelColor(18, 18).alpha(), 255);
    EXPECT_GT(image.pixelColor(128, 6).lightness(), image.pixelColor(128, 249).lightness() + 15);
    // On the left of the ring, and in the triangle.
    EXPECT_EQ(image.pixelColor(128 - 50, 128), BrandColors::coral);
    EXPECT_EQ(image.pixelColor(118, 128), BrandColors::coral);
    // The opening.
    EXPECT_LT(image.pixelColor(128 + 50, 128).red(), 110);
}

TEST(AppIcon, GlowsAroundTheMark)
{
    const auto image = icon(256);
    const auto redness = [&](int x) { return image.pixelColor(x, 128).red() - image.pixelColor(x, 128).blue(); };
    const int ringLeft = 128 - qRound(96 * 0.66);
    EXPECT_GT(redness(ringLeft - 4), redness(ringLeft - 14));
    EXPECT_GT(redness(ringLeft - 14), redness(12));
}

TEST(AppIcon, CastsItsShadowDownwardsAndOnlyWhenAsked)
{
    const auto withShadow = appIconImage(100, 26, true, 1);
    EXPECT_EQ(withShadow.size(), QSize(152, 152));
    const int below = withShadow.pixelColor(76, 26 + 100 + 4).alpha();
    EXPECT_GT(below, 30);
    EXPECT_GT(below, withShadow.pixelColor(76, 26 - 4).alpha());
    EXPECT_EQ(withShadow.pixelColor(76, 151).alpha(), 0) << "cut off";
    EXPECT_EQ(appIconImage(100, 26, false, 1).pixelColor(76, 26 + 100 + 4).alpha(), 0);
}

TEST(MarkImage, GlowsInItsColourOnlyWhenAsked)
{
    const OrbelleShape shape{OpticalCut::master};
    test::expectShape(markImage(shape, 64, 0, BrandColors::coral, false, 1), test::drawingOf(test::masterMark));
    const auto glowing = markImage(shape, 64, 11, BrandColors::coral, true, 2);
    EXPECT_EQ(glowing.size(), QSize(172, 172));
    // Four points to the left of the ring, then at the picture's edge.
    const auto beside = glowing.pixelColor((11 + 8 - 4) * 2, 86);
    EXPECT_GT(beside.alpha(), 20);
    EXPECT_GT(beside.red(), 200);
    EXPECT_EQ(glowing.pixelColor(0, 86).alpha(), 0) << "cut off";
}

}  // namespace
}  // namespace velmora
