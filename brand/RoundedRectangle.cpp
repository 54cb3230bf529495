#include "brand/RoundedRectangle.h"

#include "brand/BrandPainting.h"

#include <QImage>
#include <QPainter>
#include <QQuickWindow>
#include <QSGImageNode>
#include <QSGTexture>

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

namespace velmora {

namespace {

// Pixels along one axis: where they are in the picture and where on the screen.
struct Slice {
    int from;
    int fromLength;
    int to;
    int toLength;
};

std::vector<Slice> oneSlice(int length)
{
    return {{0, length, 0, length}};
}

// Between two corners all pixels are the same, so the picture has one of them.
std::vector<Slice> slices(int length, int corner)
{
    if (length <= 2 * corner + 1)
        return oneSlice(length);
    return {{0, corner, 0, corner}, {corner, 1, corner, length - 2 * corner}, {corner + 1, corner, length - corner, corner}};
}

int pictureLength(const std::vector<Slice>& slices)
{
    return slices.back().from + slices.back().fromLength;
}

class SlicesNode final : public QSGNode {
public:
    explicit SlicesNode(QSGTexture* texture) : texture_(texture) { }

    [[nodiscard]] QSGTexture* texture() const { return texture_.get(); }

private:
    const std::unique_ptr<QSGTexture> texture_;
};

}  // namespace

RoundedSurface::RoundedSurface()
{
    setFlag(ItemHasContents);
    connect(this, &RoundedSurface::lookChanged, this, &RoundedSurface::repaint);
}

void RoundedSurface::repaint()
{
    isStale_ = true;
    update();
}

double RoundedSurface::borderPixels(double points, double scale)
{
    return std::max(1.0, std::floor(points * scale));
}

QSGNode* RoundedSurface::updatePaintNode(QSGNode* old, UpdatePaintNodeData* /*data*/)
{
    if (old && !isStale_)
        return old;
    delete old;
    isStale_ = false;
    return paintedNode();
}

void RoundedSurface::itemChange(ItemChange change, const ItemChangeData& data)
{
    if (change == ItemDevicePixelRatioHasChanged || change == ItemSceneChange)
        repaint();
    QQuickItem::itemChange(change, data);
}

void RoundedSurface::geometryChange(const QRectF& geometry, const QRectF& oldGeometry)
{
    if (geometry.size() != oldGeometry.size())
        repaint();
    QQuickItem::geometryChange(geometry, oldGeometry);
}

QSGNode* RoundedRectangle::paintedNode()
{
    // Inside something that is itself scaled, each slice would be rounded to pixels by itself.
    const double enlargement = itemTransform(nullptr, nullptr).m11();
    const bool isInSlices = qFuzzyCompare(enlargement, 1.0);
    const double scale = window()->effectiveDevicePixelRatio() * (isInSlices ? 1 : enlargement);
    const int pixelWidth = qRound(width() * scale);
    const int pixelHeight = qRound(height() * scale);
    const bool hasBorder = borderWidth_ > 0 && borderColor_.alpha() > 0;
    if (pixelWidth <= 0 || pixelHeight <= 0 || (color_.alpha() == 0 && !hasBorder))
        return nullptr;

    const double radius = std::min(radius_ * scale, std::min(pixelWidth, pixelHeight) / 2.0);
    const double border = hasBorder ? borderPixels(borderWidth_, scale) : 0;
    const int corner = static_cast<int>(std::ceil(std::max(radius, border)));
    const auto columns = isInSlices ? slices(pixelWidth, corner) : oneSlice(pixelWidth);
    const auto rows = isInSlices ? slices(pixelHeight, corner) : oneSlice(pixelHeight);

    QImage picture(pictureLength(columns), pictureLength(rows), QImage::Format_ARGB32_Premultiplied);
    picture.fill(Qt::transparent);
    {
        QPainter painter(&picture);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(hasBorder ? QPen{borderColor_, border} : QPen{Qt::NoPen});
        painter.setBrush(color_);
        const QRectF middleOfBorder = QRectF{picture.rect()}.adjusted(border / 2, border / 2, -border / 2, -border / 2);
        painter.drawRoundedRect(middleOfBorder, radius - border / 2, radius - border / 2);
    }

    auto node = std::make_unique<SlicesNode>(window()->createTextureFromImage(picture));
    for (const auto& row : rows) {
        for (const auto& column : columns) {
            auto* slice = window()->createImageNode();
            slice->setTexture(node->texture());
            slice->setFiltering(QSGTexture::Nearest);
            slice->setSourceRect(column.from, row.from, column.fromLength, row.fromLength);
            slice->setRect(column.to / scale, row.to / scale, column.toLength / scale, row.toLength / scale);
            node->appendChildNode(slice);
        }
    }
    return node.release();
}

QSGNode* RoundedShadow::paintedNode()
{
    if (margin_ <= 0 || width() <= 0 || height() <= 0)
        return nullptr;
    const double scale = window()->effectiveDevicePixelRatio();
    const QImage image = shadowImage(size(), radius_, margin_, scale);
    auto* node = window()->createImageNode();
    node->setTexture(window()->createTextureFromImage(image));
    node->setOwnsTexture(true);
    node->setRect({{-margin_, -margin_}, QSizeF{image.size()} / scale});
    return node;
}

}  // namespace velmora
