#include "brand/BrandPainting.h"

#include "brand/BrandAppIcon.h"
#include "brand/BrandColors.h"

#include <QLinearGradient>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

namespace velmora {

namespace {

// In parts of the size.
constexpr double glowRadius = 0.07;
constexpr double glowOpacity = 0.55;
constexpr double shadowRadius = 0.06;
constexpr double shadowDrop = 0.05;
constexpr double shadowOpacity = 0.45;

// Of a floating panel's, in parts of its margin: three passes of a box blur reach three radii, and the drop comes on top.
constexpr double panelShadowRadius = 0.25;
constexpr double panelShadowDrop = 0.2;

// One pass of a box blur along a line of `count` values, `step` apart.
void blurLine(std::uint8_t* line, int count, qsizetype step, int radius, std::vector<std::uint8_t>& copy)
{
    for (int index = 0; index < count; ++index)
        copy[static_cast<std::size_t>(index)] = line[index * step];
    const auto at = [&](int index) { return index < 0 || index >= count ? 0U : copy[static_cast<std::size_t>(index)]; };
    unsigned sum = 0;
    for (int index = -radius; index <= radius; ++index)
        sum += at(index);
    const auto window = static_cast<unsigned>(2 * radius + 1);
    for (int index = 0; index < count; ++index) {
        line[index * step] = static_cast<std::uint8_t>((sum + window / 2) / window);
        sum += at(index + radius + 1);
        sum -= at(index - radius);
    }
}

// Three box blurs in a row are close to a Gaussian blur, whose standard deviation is about the radius of one.
void blur(QImage& alpha, int radius)
{
    if (radius < 1)
        return;
    std::vector<std::uint8_t> copy(static_cast<std::size_t>(std::max(alpha.width(), alpha.height())));
    for (int pass = 0; pass < 3; ++pass) {
        for (int row = 0; row < alpha.height(); ++row)
            blurLine(alpha.scanLine(row), alpha.width(), 1, radius, copy);
        for (int column = 0; column < alpha.width(); ++column)
            blurLine(alpha.bits() + column, alpha.height(), alpha.bytesPerLine(), radius, copy);
    }
}

QImage blurred(const QPainterPath& path, const QSize& pixels, const QColor& color, double radius)
{
    QImage alpha(pixels, QImage::Format_Alpha8);
    alpha.fill(0);
    {
        QPainter painter(&alpha);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.fillPath(path, Qt::black);
    }
    blur(alpha, qRound(radius));
    QImage image(pixels, QImage::Format_ARGB32_Premultiplied);
    image.fill(color);
    image.setAlphaChannel(alpha);
    return image;
}

QImage transparentImage(double side, double scale)
{
    const int pixels = static_cast<int>(std::ceil(side * scale));
    QImage image(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    return image;
}

QColor withOpacity(QColor color, double opacity)
{
    color.setAlphaF(static_cast<float>(opacity));
    return color;
}

}  // namespace

void paintAppIcon(QPainter& painter, const QRectF& square)
{
    const double side = square.width();
    const BrandAppIcon icon;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);

    const auto inSquare = [&](const QPointF& part) { return square.topLeft() + part * side; };
    QLinearGradient ground(inSquare(icon.gradientStart), inSquare(icon.gradientEnd));
    ground.setColorAt(0, icon.groundTop);
    ground.setColorAt(1, icon.groundBottom);
    painter.setBrush(ground);
    painter.drawRoundedRect(square, icon.cornerRadius * side, icon.cornerRadius * side);

    const double margin = side * (1 - icon.markSide) / 2;
    const OrbelleShape shape{OrbelleShape::cutForSize(side * icon.markSide * icon.ringShare)};
    const QPainterPath mark = shape.path(square.adjusted(margin, margin, -margin, -margin));
    for (int stroke = 0; stroke < BrandAppIcon::glowStrokes; ++stroke) {
        const QPen pen{withOpacity(BrandColors::coral, icon.strokeOpacity), icon.strokeWidth(stroke) * side, Qt::SolidLine, Qt::RoundCap,
            Qt::RoundJoin};
        painter.strokePath(mark, pen);
    }
    painter.fillPath(mark, BrandColors::coral);

    const double line = std::max(1.0, side * icon.borderWidth);
    painter.setPen(QPen{BrandColors::borderSlate, line});
    painter.setBrush(Qt::NoBrush);
    const double radius = icon.cornerRadius * side - line / 2;
    painter.drawRoundedRect(square.adjusted(line / 2, line / 2, -line / 2, -line / 2), radius, radius);
    painter.restore();
}

QImage appIconImage(double size, double margin, bool showShadow, double scale)
{
    QImage image = transparentImage(size + 2 * margin, scale);
    QPainter painter(&image);
    const QRectF square{margin * scale, margin * scale, size * scale, size * scale};
    if (showShadow) {
        QPainterPath outline;
        const double radius = BrandAppIcon{}.cornerRadius * square.width();
        outline.addRoundedRect(square.translated(0, shadowDrop * square.height()), radius, radius);
        painter.setOpacity(shadowOpacity);
        painter.drawImage(0, 0, blurred(outline, image.size(), Qt::black, shadowRadius * square.width()));
        painter.setOpacity(1);
    }
    // A pixel of the screen is the thinnest line at any scale, so the icon is painted in pixels.
    paintAppIcon(painter, square);
    return image;
}

QImage markImage(const OrbelleShape& shape, double size, double margin, const QColor& color, bool showGlow, double scale)
{
    QImage image = transparentImage(size + 2 * margin, scale);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    const QPainterPath mark = shape.path({margin * scale, margin * scale, size * scale, size * scale});
    if (showGlow) {
        painter.setOpacity(glowOpacity);
        painter.drawImage(0, 0, blurred(mark, image.size(), color, glowRadius * size * scale));
        painter.setOpacity(1);
    }
    painter.fillPath(mark, color);
    return image;
}

QImage shadowImage(const QSizeF& size, double radius, double margin, double scale)
{
    const QSize pixels{static_cast<int>(std::ceil((size.width() + 2 * margin) * scale)),
        static_cast<int>(std::ceil((size.height() + 2 * margin) * scale))};
    QImage image(pixels, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainterPath outline;
    outline.addRoundedRect(QRectF{margin * scale, (margin + panelShadowDrop * margin) * scale, size.width() * scale, size.height() * scale},
        radius * scale, radius * scale);
    QPainter painter(&image);
    painter.setOpacity(shadowOpacity);
    painter.drawImage(0, 0, blurred(outline, pixels, Qt::black, std::floor(panelShadowRadius * margin * scale)));
    return image;
}

QRegion roundedRegion(const QSize& size, int radius)
{
    QRegion region{0, radius, size.width(), size.height() - 2 * radius};
    for (int row = 0; row < radius; ++row) {
        const double height = radius - (row + 0.5);
        const int inset = static_cast<int>(std::ceil(radius - std::sqrt(radius * radius - height * height) - 0.5));
        const QSize line{size.width() - 2 * inset, 1};
        region += QRect{{inset, row}, line};
        region += QRect{{inset, size.height() - 1 - row}, line};
    }
    return region;
}

}  // namespace velmora
