#include "library/views/ClipPicture.h"

#include <QPainter>
#include <QPainterPath>

namespace velmora {

namespace {

/// How much of a picture may be cut off.
constexpr double mostCut = 1.0 / 3;

}  // namespace

ClipPicture::ClipPicture(QQuickItem* parent) : QQuickPaintedItem(parent)
{
    connect(this, &ClipPicture::lookChanged, this, [this] { update(); });
}

void ClipPicture::setPicture(const QImage& picture)
{
    if (picture_.cacheKey() == picture.cacheKey())
        return;
    picture_ = picture;
    emit pictureChanged();
    update();
}

QRectF ClipPicture::placeOf(const QSizeF& picture, const QSizeF& place)
{
    auto size = picture.scaled(place, Qt::KeepAspectRatioByExpanding);
    const double shown = (place.width() * place.height()) / (size.width() * size.height());
    if (shown < 1 - mostCut)
        size = picture.scaled(place, Qt::KeepAspectRatio);
    return {QPointF{(place.width() - size.width()) / 2, (place.height() - size.height()) / 2}, size};
}

void ClipPicture::paint(QPainter* painter)
{
    painter->setRenderHint(QPainter::Antialiasing);
    const QRectF place{0, 0, width(), height()};
    QPainterPath outline;
    outline.addRoundedRect(place, radius_, radius_);
    if (picture_.isNull() || place.isEmpty()) {
        painter->fillPath(outline, ground_);
        return;
    }
    painter->setClipPath(outline);
    painter->fillRect(place, Qt::black);
    const auto target = placeOf(picture_.size(), place.size());
    // The painter's own smoothing looks at no more than four pixels for one.
    const auto pixels = painter->deviceTransform().mapRect(target).size().toSize();
    painter->drawImage(target, picture_.scaled(pixels, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
}

}  // namespace velmora
