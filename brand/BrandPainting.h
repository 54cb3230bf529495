// How the application icon and the glowing mark are painted.
#pragma once

#include "brand/OrbelleShape.h"

#include <QColor>
#include <QImage>
#include <QPainter>
#include <QRectF>
#include <QRegion>

namespace velmora {

/// Fills `square`: a rounded square with a gradient, and the mark with a halo on it.
void paintAppIcon(QPainter& painter, const QRectF& square);

/// A square of `size` points shown at `scale`: the icon in the middle, with `margin` points around it for the shadow when there is one.
QImage appIconImage(double size, double margin, bool showShadow, double scale);

/// The mark on `size` points with `margin` points around it for the glow, a blurred copy of the mark behind it, when there is one.
QImage markImage(const OrbelleShape& shape, double size, double margin, const QColor& color, bool showGlow, double scale);

/// The shadow of a rounded rectangle of `size` points, shown at `scale`, with `margin` points around it, beyond which it does not reach. What
/// the rectangle itself covers is dark too.
QImage shadowImage(const QSizeF& size, double radius, double margin, double scale);

/// The pixels of a rectangle whose middles lie inside its round corners: the same at all four.
QRegion roundedRegion(const QSize& size, int radius);

}  // namespace velmora
