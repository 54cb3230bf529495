#include "library/views/Filmstrip.h"

#include "brand/BrandColors.h"

#include <QPainter>
#include <QPainterPath>
#include <QPen>

#include <algorithm>

namespace velmora {

namespace {

constexpr double cornerRadius = 6;
constexpr double frameWidth = 3;
constexpr double frameCornerRadius = 5.5;
constexpr double dimming = 0.72;

/// The middle of an image that fills the cell with its shape kept.
QRectF croppedSource(const QImage& image, const QSizeF& cell)
{
    QSizeF source = cell.scaled(image.size(), Qt::KeepAspectRatio);
    return {(image.width() - source.width()) / 2, (image.height() - source.height()) / 2, source.width(), source.height()};
}

}  // namespace

Filmstrip::Filmstrip(QQuickItem* parent) : QQuickPaintedItem(parent)
{
    setAntialiasing(true);
}

void Filmstrip::setModel(ClipPreviewModel* model)
{
    if (model_ == model)
        return;
    if (model_)
        disconnect(model_, nullptr, this, nullptr);
    model_ = model;
    if (model_) {
        for (const auto changed : {&ClipPreviewModel::thumbnailsChanged, &ClipPreviewModel::trimChanged, &ClipPreviewModel::boundsChanged})
            connect(model_, changed, this, [this] { update(); });
    }
    emit modelChanged();
    update();
}

QRectF Filmstrip::selection() const
{
    if (!model_ || model_->totalDuration() <= 0)
        return {};
    const double scale = width() / model_->totalDuration();
    const double begin = model_->trimStartTime() * scale;
    return {begin, 0, std::max(0.0, model_->trimEndTime() * scale - begin), height()};
}

void Filmstrip::paint(QPainter* painter)
{
    painter->setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    const QRectF strip{0, 0, width(), height()};
    QPainterPath outline;
    outline.addRoundedRect(strip, cornerRadius, cornerRadius);
    painter->setClipPath(outline);
    painter->fillRect(strip, BrandColors::obsidian);
    if (!model_)
        return;
    const QSizeF cell{strip.width() / ClipPreviewModel::thumbnailCount, strip.height()};
    double x = 0;
    for (const auto& thumbnail : model_->thumbnails()) {
        painter->drawImage(QRectF{QPointF{x, 0}, cell}, thumbnail, croppedSource(thumbnail, cell));
        x += cell.width();
    }

    const QRectF selected = selection();
    QColor shade = BrandColors::obsidian;
    shade.setAlphaF(static_cast<float>(dimming));
    QPainterPath shaded;
    shaded.addRect(strip);
    QPainterPath hole;
    hole.addRoundedRect(selected, frameCornerRadius, frameCornerRadius);
    painter->fillPath(shaded.subtracted(hole), shade);
    if (selected.isEmpty())
        return;
    painter->setPen(QPen{BrandColors::coral, frameWidth});
    painter->setBrush(Qt::NoBrush);
    constexpr double inset = frameWidth / 2;
    painter->drawRoundedRect(selected.adjusted(inset, inset, -inset, -inset), frameCornerRadius - inset, frameCornerRadius - inset);
}

}  // namespace velmora
