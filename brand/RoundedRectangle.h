// Surfaces with round corners, and their shadow, for QML.
#pragma once

#include <QColor>
#include <QQuickItem>
#include <QtQml/qqmlregistration.h>

namespace velmora {

/// What both have in common: painted when the look, the size or the screen's scale has changed, else kept.
class RoundedSurface : public QQuickItem {
    Q_OBJECT
    QML_ANONYMOUS

signals:
    void lookChanged();

protected:
    RoundedSurface();

    /// None where there is nothing to be seen. As updatePaintNode().
    [[nodiscard]] virtual QSGNode* paintedNode() = 0;

    /// How many of the screen's pixels a border or a line of that many points has: whole ones, and at least one.
    [[nodiscard]] static double borderPixels(double points, double scale);

    QSGNode* updatePaintNode(QSGNode* old, UpdatePaintNodeData* data) final;
    void itemChange(ItemChange change, const ItemChangeData& data) final;
    void geometryChange(const QRectF& geometry, const QRectF& oldGeometry) final;

private:
    void repaint();

    bool isStale_ = true;
};

/// Like Qt's Rectangle, whose corners come apart from its edges when the screen's scale is not whole. Corners are as round as the item has
/// room for; a border is inside and at least one of the screen's pixels wide.
class RoundedRectangle : public velmora::RoundedSurface {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QColor color MEMBER color_ NOTIFY lookChanged)
    Q_PROPERTY(double radius MEMBER radius_ NOTIFY lookChanged)
    Q_PROPERTY(double borderWidth MEMBER borderWidth_ NOTIFY lookChanged)
    Q_PROPERTY(QColor borderColor MEMBER borderColor_ NOTIFY lookChanged)

protected:
    [[nodiscard]] QSGNode* paintedNode() override;

private:
    QColor color_ = Qt::transparent;
    double radius_ = 0;
    double borderWidth_ = 0;
    QColor borderColor_ = Qt::transparent;
};

/// The shadow that a rounded rectangle of the item's size and `radius` casts, at most `margin` points beyond the item.
class RoundedShadow : public velmora::RoundedSurface {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(double radius MEMBER radius_ NOTIFY lookChanged)
    Q_PROPERTY(double margin MEMBER margin_ NOTIFY lookChanged)

protected:
    [[nodiscard]] QSGNode* paintedNode() override;

private:
    double radius_ = 0;
    double margin_ = 0;
};

}  // namespace velmora
