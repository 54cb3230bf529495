#include "brand/OrbelleShape.h"

#include "tests/brand/MarkGeometry.h"

#include <QPainter>

namespace velmora {
namespace {

using test::drawingOf;
using test::expectShape;
using test::masterMark;
using test::smallMark;

QImage drawn(OpticalCut cut, int side)
{
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(OrbelleShape{cut}.path(image.rect()), Qt::black);
    return image;
}

TEST(OrbelleShape, TheMasterCutIsARingOpenBy60DegreesAroundATriangle)
{
    expectShape(drawn(OpticalCut::master, 160), drawingOf(masterMark));
}

TEST(OrbelleShape, TheSmallCutHasTheThickerRingTheWiderOpeningAndTheLargerTriangle)
{
    expectShape(drawn(OpticalCut::small, 160), drawingOf(smallMark));
}

TEST(OrbelleShape, BothCutsScaleToAnySide)
{
    for (const int side : {16, 18, 33, 100}) {
        expectShape(drawn(OpticalCut::master, side), drawingOf(masterMark));
        expectShape(drawn(OpticalCut::small, side), drawingOf(smallMark));
    }
}

TEST(OrbelleShape, TheOutlineTouchesTheGivenRadiiAndOpensToTheRight)
{
    for (const auto& [cut, mark] : {std::pair{OpticalCut::master, masterMark}, std::pair{OpticalCut::small, smallMark}}) {
        const auto path = OrbelleShape{cut}.path({0, 0, 256, 256});
        const auto bounds = path.boundingRect();
        EXPECT_NEAR(bounds.left(), 128 - mark.outerRadius, 0.1);
        EXPECT_NEAR(bounds.top(), 128 - mark.outerRadius, 0.1);
        EXPECT_NEAR(bounds.bottom(), 128 + mark.outerRadius, 0.1);
        const double halfOpening = mark.halfOpeningDegrees * std::numbers::pi / 180;
        EXPECT_NEAR(bounds.right(), 128 + mark.outerRadius * std::cos(halfOpening), 0.1);
        EXPECT_FALSE(path.contains(QPointF{128 + (mark.outerRadius + mark.innerRadius) / 2, 128}));
    }
}

TEST(OrbelleShape, TheRingAndTheTriangleAreClosedSubpaths)
{
    for (const auto cut : {OpticalCut::master, OpticalCut::small}) {
        const auto polygons = OrbelleShape{cut}.path({0, 0, 256, 256}).toSubpathPolygons();
        ASSERT_EQ(polygons.size(), 2);
        for (const auto& polygon : polygons)
            EXPECT_TRUE(polygon.isClosed());
        EXPECT_EQ(polygons[1].size(), 4);
    }
}

TEST(OrbelleShape, InARectangleThatIsNoSquareTheMarkIsCentredAndKeepsItsProportions)
{
    const auto square = OrbelleShape{OpticalCut::master}.path({0, 0, 100, 100});
    EXPECT_EQ(OrbelleShape{OpticalCut::master}.path({10, 20, 300, 100}), square.translated(110, 20));
    EXPECT_EQ(OrbelleShape{OpticalCut::master}.path({0, 0, 100, 140}), square.translated(0, 20));
}

TEST(OrbelleShape, TheSmallCutServesUpTo24Points)
{
    EXPECT_EQ(OrbelleShape::cutForSize(16), OpticalCut::small);
    EXPECT_EQ(OrbelleShape::cutForSize(24), OpticalCut::small);
    EXPECT_EQ(OrbelleShape::cutForSize(24.5), OpticalCut::master);
    EXPECT_EQ(OrbelleShape::cutForSize(25), OpticalCut::master);
}

}  // namespace
}  // namespace velmora
