#include "library/views/PlayerPicture.h"

#include <QQuickWindow>
#include <QSGImageNode>

#include <cstdlib>

namespace velmora {

namespace {

/// libmpv draws faster into rows that begin at multiples of this.
constexpr qsizetype rowAlignment = 64;

QImage emptyPicture(const QSize& size)
{
    const qsizetype bytesPerRow = (qsizetype{size.width()} * 4 + rowAlignment - 1) / rowAlignment * rowAlignment;
    const auto bytes = static_cast<std::size_t>(bytesPerRow) * static_cast<std::size_t>(size.height());
    auto* memory = static_cast<uchar*>(std::aligned_alloc(rowAlignment, bytes));
    if (!memory)
        return {};
    return {memory, size.width(), size.height(), bytesPerRow, QImage::Format_RGB32, [](void* buffer) { std::free(buffer); }, memory};
}

}  // namespace

PlayerPicture::PlayerPicture(QQuickItem* parent) : QQuickItem(parent)
{
    setFlag(ItemHasContents);
}

void PlayerPicture::setModel(ClipPreviewModel* model)
{
    if (model_ == model)
        return;
    if (model_)
        disconnect(model_, nullptr, this, nullptr);
    model_ = model;
    if (model_) {
        connect(model_, &ClipPreviewModel::pictureChanged, this, &QQuickItem::update);
        connect(model_, &ClipPreviewModel::playerChanged, this, &QQuickItem::update);
    }
    emit modelChanged();
    update();
}

void PlayerPicture::geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry)
{
    QQuickItem::geometryChange(newGeometry, oldGeometry);
    if (newGeometry.size() != oldGeometry.size())
        update();
}

QSGNode* PlayerPicture::updatePaintNode(QSGNode* node, UpdatePaintNodeData*)
{
    const QSize pixels = (size() * window()->effectiveDevicePixelRatio()).toSize();
    auto picture = pixels.isEmpty() ? QImage{} : emptyPicture(pixels);
    const bool isDrawn = !picture.isNull() && model_
        && model_->drawPicture({reinterpret_cast<std::byte*>(picture.bits()), picture.width(), picture.height(),
            static_cast<std::size_t>(picture.bytesPerLine())});
    if (!isDrawn) {
        delete node;
        return nullptr;
    }
    auto* image = static_cast<QSGImageNode*>(node);
    if (!image) {
        image = window()->createImageNode();
        image->setOwnsTexture(true);
    }
    image->setTexture(window()->createTextureFromImage(picture, QQuickWindow::TextureIsOpaque));
    image->setRect(boundingRect());
    return image;
}

}  // namespace velmora
