#include "brand/BrandPicture.h"

#include "brand/BrandColors.h"
#include "brand/BrandPainting.h"

#include <QQuickWindow>
#include <QSGImageNode>
#include <QSGTexture>

#include <cmath>
#include <memory>

namespace velmora {

namespace {

// What the glow and the shadow need around the square, in parts of its side.
constexpr double glowMargin = 0.16;
constexpr double shadowMargin = 0.26;

// Whole points, so that the picture's pixels meet the screen's at whole scales.
QRectF withMargin(double size, double margin)
{
    const double points = std::ceil(margin * size);
    return {-points, -points, size + 2 * points, size + 2 * points};
}

}  // namespace

BrandPicture::BrandPicture(double size) : size_(size)
{
    setFlag(ItemHasContents);
    setImplicitSize(size, size);
}

void BrandPicture::setPoints(double size)
{
    if (size == size_)
        return;
    size_ = size;
    setImplicitSize(size, size);
    pictureChanged();
    emit pointsChanged();
}

void BrandPicture::pictureChanged()
{
    isStale_ = true;
    update();
}

QSGNode* BrandPicture::updatePaintNode(QSGNode* old, UpdatePaintNodeData* /*data*/)
{
    if (old && !isStale_)
        return old;
    if (size_ <= 0) {
        delete old;
        return nullptr;
    }
    std::unique_ptr<QSGImageNode> node{old ? static_cast<QSGImageNode*>(old) : window()->createImageNode()};
    const double scale = window()->effectiveDevicePixelRatio();
    const QImage image = picture(scale);
    node->setTexture(window()->createTextureFromImage(image));
    node->setOwnsTexture(true);
    node->setRect({pictureBounds().topLeft(), QSizeF{image.size()} / scale});
    isStale_ = false;
    return node.release();
}

void BrandPicture::itemChange(ItemChange change, const ItemChangeData& data)
{
    if (change == ItemDevicePixelRatioHasChanged || change == ItemSceneChange)
        pictureChanged();
    QQuickItem::itemChange(change, data);
}

BrandLogoMark::BrandLogoMark() : BrandPicture(64), color_(BrandColors::coral)
{
    connect(this, &BrandLogoMark::lookChanged, this, &BrandLogoMark::pictureChanged);
}

template <typename T>
void BrandLogoMark::change(T& member, const T& value)
{
    if (member == value)
        return;
    member = value;
    emit lookChanged();
}

void BrandLogoMark::setColor(const QColor& color)
{
    change(color_, color);
}

void BrandLogoMark::setOpticalCut(Cut cut)
{
    change(opticalCut_, cut);
}

void BrandLogoMark::setShowGlow(bool showGlow)
{
    change(showGlow_, showGlow);
}

QRectF BrandLogoMark::pictureBounds() const
{
    return withMargin(points(), showGlow_ ? glowMargin : 0);
}

QImage BrandLogoMark::picture(double scale) const
{
    OrbelleShape shape{OrbelleShape::cutForSize(points())};
    if (opticalCut_ != BySize)
        shape.opticalCut = opticalCut_ == Small ? OpticalCut::small : OpticalCut::master;
    return markImage(shape, points(), -pictureBounds().left(), color_, showGlow_, scale);
}

BrandAppIconView::BrandAppIconView() : BrandPicture(64) { }

void BrandAppIconView::setShowShadow(bool showShadow)
{
    if (showShadow == showShadow_)
        return;
    showShadow_ = showShadow;
    pictureChanged();
    emit showShadowChanged();
}

QRectF BrandAppIconView::pictureBounds() const
{
    return withMargin(points(), showShadow_ ? shadowMargin : 0);
}

QImage BrandAppIconView::picture(double scale) const
{
    return appIconImage(points(), -pictureBounds().left(), showShadow_, scale);
}

}  // namespace velmora
