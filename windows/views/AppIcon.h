// The item that shows an application's icon, for QML.
#pragma once

#include <QImage>
#include <QQuickPaintedItem>

namespace velmora {

/// Fills itself with the picture, smoothed to the pixels that it has on its screen. Nothing without one.
class AppIcon : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QImage picture READ picture WRITE setPicture NOTIFY pictureChanged)

public:
    explicit AppIcon(QQuickItem* parent = nullptr);

    [[nodiscard]] const QImage& picture() const { return picture_; }
    void setPicture(const QImage& picture);

    void paint(QPainter* painter) override;

signals:
    void pictureChanged();

private:
    QImage picture_;
};

}  // namespace velmora
