#include "brand/BrandAssets.h"

#include "brand/OrbelleShape.h"

#include <QPainter>

namespace velmora {

namespace {

QImage transparentSquare(int pixels)
{
    QImage image(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    return image;
}

}  // namespace

QImage MenuBarImage::rendered(int pixels, const QColor& templateColor) const
{
    QImage image = transparentSquare(pixels);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.scale(pixels / side, pixels / side);

    const auto paintedIn = [&](const QColor& fill) { return isTemplate ? templateColor : fill; };
    painter.fillPath(OrbelleShape{OpticalCut::small}.path({0, 0, side, side}), paintedIn(markFill));
    if (dot) {
        QRectF fromTop = dot->rectangle;
        fromTop.moveTop(side - dot->rectangle.y() - dot->rectangle.height());
        painter.setBrush(paintedIn(dot->fill));
        painter.drawEllipse(fromTop);
    }
    return image;
}

QImage BrandAssets::symbolImage(double size, const QColor& color, bool isSmallCut, double scale)
{
    QImage image = transparentSquare(qRound(size * scale));
    {
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        const OpticalCut cut = isSmallCut ? OpticalCut::small : OrbelleShape::cutForSize(size);
        painter.fillPath(OrbelleShape{cut}.path(image.rect()), color);
    }
    image.setDevicePixelRatio(scale);
    return image;
}

MenuBarImage BrandAssets::menuBarImage(const CaptureState& state)
{
    const QColor black{0, 0, 0};
    if (state.is<CaptureState::Capturing>())
        return {.markFill = black, .dot = MenuBarImage::Dot{{13.0, 2.0, 3.5, 3.5}, black}};
    if (state.is<CaptureState::RecordingClip>())
        return {.markFill = BrandColors::coral, .dot = MenuBarImage::Dot{{12.5, 1.5, 4.5, 4.5}, BrandColors::coral}, .isTemplate = false};
    // Coral in a template image would not be seen; only a recording is to be coral.
    if (state.is<CaptureState::SavingClip>())
        return {.markFill = BrandColors::coral, .dot = {}};
    return {.markFill = black, .dot = {}};
}

}  // namespace velmora
