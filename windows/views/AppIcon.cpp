#include "windows/views/AppIcon.h"

#include <QPainter>

namespace velmora {

AppIcon::AppIcon(QQuickItem* parent) : QQuickPaintedItem(parent) { }

void AppIcon::setPicture(const QImage& picture)
{
    if (picture_.cacheKey() == picture.cacheKey())
        return;
    picture_ = picture;
    emit pictureChanged();
    update();
}

void AppIcon::paint(QPainter* painter)
{
    if (picture_.isNull())
        return;
    const QRectF place{0, 0, width(), height()};
    const auto pixels = painter->deviceTransform().mapRect(place).size().toSize();
    // The painter's own smoothing looks at no more than four pixels for one.
    painter->drawImage(place, picture_.scaled(pixels, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
}

}  // namespace velmora
