// The mark as inequalities, independent of how it is drawn, and what an image of it must then look like.
#pragma once

#include <QImage>
#include <QPointF>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <functional>
#include <numbers>

namespace velmora::test {

/// On the 256 x 256 design square, y up.
struct MarkGeometry {
    double outerRadius;
    double innerRadius;
    double halfOpeningDegrees;
    double triangleLeft;
    double triangleTip;
    double triangleHalfHeight;

    [[nodiscard]] bool contains(QPointF point) const { return ringContains(point) || triangleContains(point); }

    [[nodiscard]] bool ringContains(QPointF point) const
    {
        const double x = point.x() - 128;
        const double y = point.y() - 128;
        const double radius = std::hypot(x, y);
        const double degrees = std::abs(std::atan2(y, x)) * 180 / std::numbers::pi;
        return radius >= innerRadius && radius <= outerRadius && degrees >= halfOpeningDegrees;
    }

    [[nodiscard]] bool triangleContains(QPointF point) const
    {
        const double toTip = (triangleTip - point.x()) / (triangleTip - triangleLeft);
        return point.x() >= triangleLeft && std::abs(point.y() - 128) <= triangleHalfHeight * toTip;
    }
};

inline constexpr MarkGeometry masterMark{96, 56, 30, 102, 143.57, 24};
inline constexpr MarkGeometry smallMark{100, 48, 34.75, 98, 146.5, 28};

/// Is the point, in fractions of the square's side with y up, part of what is drawn?
using Drawing = std::function<bool(QPointF)>;

inline Drawing drawingOf(const MarkGeometry& mark)
{
    return [mark](QPointF point) { return mark.contains(point * 256); };
}

/// Holds every pixel's opacity to the share of it that the drawing covers, and the opacity of the whole to the drawing's area. Painting takes
/// chords for arcs, which moves an edge by up to a sixth of a pixel.
inline void expectShape(const QImage& image, const Drawing& drawing)
{
    constexpr int samples = 12;
    constexpr int tolerance = 255 / 6;
    int worst = 0;
    double expectedArea = 0;
    double area = 0;
    QPoint where;
    for (int row = 0; row < image.height(); ++row) {
        for (int column = 0; column < image.width(); ++column) {
            int inside = 0;
            for (int sample = 0; sample < samples * samples; ++sample) {
                const double x = column + (sample % samples + 0.5) / samples;
                const double y = row + (sample / samples + 0.5) / samples;  // NOLINT(bugprone-integer-division)
                inside += drawing({x / image.width(), 1 - y / image.height()}) ? 1 : 0;
            }
            const int alpha = image.pixelColor(column, row).alpha();
            const int difference = std::abs(alpha - 255 * inside / (samples * samples));
            expectedArea += inside / double{samples * samples};
            area += alpha / 255.0;
            if (difference > worst) {
                worst = difference;
                where = {column, row};
            }
        }
    }
    EXPECT_NEAR(area, expectedArea, expectedArea * 0.012) << image.width() << " x " << image.height();
    EXPECT_LE(worst, tolerance) << "at column " << where.x() << ", row " << where.y() << " of " << image.width() << " x " << image.height();
}

/// Every opaque pixel has the colour.
inline void expectOnlyColor(const QImage& image, const QColor& color)
{
    int opaque = 0;
    for (int row = 0; row < image.height(); ++row) {
        for (int column = 0; column < image.width(); ++column) {
            const QColor pixel = image.pixelColor(column, row);
            if (pixel.alpha() < 255)
                continue;
            ++opaque;
            ASSERT_EQ(pixel.name().toStdString(), color.name().toStdString()) << "at column " << column << ", row " << row;
        }
    }
    EXPECT_GT(opaque, 0);
}

}  // namespace velmora::test
