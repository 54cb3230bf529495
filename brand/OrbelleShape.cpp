#include "brand/OrbelleShape.h"

#include <QTransform>

#include <algorithm>

namespace velmora {

namespace {

constexpr QPointF center{128, 128};

// On the design square, y up; angles in degrees, counter-clockwise from the x axis.
struct Geometry {
    double outerRadius;
    double innerRadius;
    double openingStart;
    double openingEnd;
    QPointF innerArcStart;
    QPointF triangle[3];
};

constexpr Geometry masterGeometry{96, 56, 330, 30, {176.5, 100.0}, {{102, 152}, {143.57, 128}, {102, 104}}};
constexpr Geometry smallGeometry{100, 48, 325.25, 34.75, {167.43905302122386, 100.64015539537746}, {{98, 156}, {146.5, 128}, {98, 100}}};

QRectF circle(double radius)
{
    return {center.x() - radius, center.y() - radius, 2 * radius, 2 * radius};
}

// With y pointing down, as QPainterPath takes it, whose angles are counter-clockwise all the same.
QPointF flipped(const QPointF& point)
{
    return {point.x(), designSide - point.y()};
}

QPainterPath designPath(const Geometry& geometry)
{
    const double sweep = geometry.openingStart - geometry.openingEnd;
    QPainterPath path;
    path.arcMoveTo(circle(geometry.outerRadius), geometry.openingEnd);
    path.arcTo(circle(geometry.outerRadius), geometry.openingEnd, sweep);
    path.lineTo(flipped(geometry.innerArcStart));
    path.arcTo(circle(geometry.innerRadius), geometry.openingStart, -sweep);
    path.closeSubpath();

    path.moveTo(flipped(geometry.triangle[0]));
    path.lineTo(flipped(geometry.triangle[1]));
    path.lineTo(flipped(geometry.triangle[2]));
    path.closeSubpath();
    return path;
}

}  // namespace

QPainterPath OrbelleShape::path(const QRectF& rectangle) const
{
    static const QPainterPath master = designPath(masterGeometry);
    static const QPainterPath small = designPath(smallGeometry);
    const double scale = std::min(rectangle.width(), rectangle.height()) / designSide;
    const QPointF middle = rectangle.center();
    const QTransform toRectangle(scale, 0, 0, scale, middle.x() - center.x() * scale, middle.y() - center.y() * scale);
    return toRectangle.map(opticalCut == OpticalCut::master ? master : small);
}

}  // namespace velmora
