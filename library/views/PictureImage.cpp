#include "library/views/PictureImage.h"

#include <QPainter>

namespace velmora {

void drawFitted(const QImage& picture, const platform::PictureTarget& target)
{
    QImage canvas{reinterpret_cast<uchar*>(target.pixels), target.width, target.height, static_cast<qsizetype>(target.bytesPerRow),
        QImage::Format_RGB32};
    canvas.fill(Qt::black);
    const QSize size = picture.size().scaled(canvas.size(), Qt::KeepAspectRatio);
    const QPoint corner{(canvas.width() - size.width()) / 2, (canvas.height() - size.height()) / 2};
    QPainter painter{&canvas};
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(QRect{corner, size}, picture);
}

}  // namespace velmora
