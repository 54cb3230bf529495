// The picture on a tile of the clips window, for QML.
#pragma once

#include <QColor>
#include <QImage>
#include <QQuickPaintedItem>

namespace velmora {

/// Fills itself with the picture, whose shape is kept: what is left over is cut off where that is little, else it is black beside the
/// picture. Corners are round. Only `ground` without a picture.
class ClipPicture : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QImage picture READ picture WRITE setPicture NOTIFY pictureChanged)
    Q_PROPERTY(QColor ground MEMBER ground_ NOTIFY lookChanged)
    Q_PROPERTY(double radius MEMBER radius_ NOTIFY lookChanged)

public:
    explicit ClipPicture(QQuickItem* parent = nullptr);

    [[nodiscard]] const QImage& picture() const { return picture_; }
    void setPicture(const QImage& picture);

    void paint(QPainter* painter) override;

    /// Where a picture of that size lies in a place of this one.
    [[nodiscard]] static QRectF placeOf(const QSizeF& picture, const QSizeF& place);

signals:
    void pictureChanged();
    void lookChanged();

private:
    QImage picture_;
    QColor ground_;
    double radius_ = 0;
};

}  // namespace velmora
