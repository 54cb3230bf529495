#include "brand/Hairline.h"

#include <QImage>
#include <QQuickWindow>
#include <QSGImageNode>
#include <QSGTexture>

namespace velmora {

QSGNode* Hairline::paintedNode()
{
    if (width() <= 0 || height() <= 0 || color_.alpha() == 0)
        return nullptr;
    QImage pixel{1, 1, QImage::Format_ARGB32_Premultiplied};
    pixel.fill(color_);
    const double scale = window()->effectiveDevicePixelRatio();
    const double thickness = borderPixels(1, scale) / scale;
    // A picture, because a rectangle is smoothed where its edges are between two of the screen's pixels: there it is thicker and fainter.
    auto* node = window()->createImageNode();
    node->setTexture(window()->createTextureFromImage(pixel));
    node->setOwnsTexture(true);
    node->setFiltering(QSGTexture::Nearest);
    node->setRect(width() >= height() ? QRectF{0, 0, width(), thickness} : QRectF{0, 0, thickness, height()});
    return node;
}

}  // namespace velmora
