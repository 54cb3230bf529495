// The mark, the application's icon and the word mark as items of a view.
#pragma once

#include "brand/OrbelleShape.h"

#include <QColor>
#include <QQuickPaintedItem>
#include <QtQmlIntegration>

namespace velmora {

/// The mark in a square. `opticalCut`: "", chosen by the size, or "small" or "master".
class BrandLogoMark : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(double size READ size WRITE setSize NOTIFY changed)
    Q_PROPERTY(QColor color READ color WRITE setColor NOTIFY changed)
    Q_PROPERTY(QString opticalCut READ opticalCut WRITE setOpticalCut NOTIFY changed)
    Q_PROPERTY(bool showGlow READ showGlow WRITE setShowGlow NOTIFY changed)

public:
    explicit BrandLogoMark(QQuickItem* parent = nullptr);

    [[nodiscard]] double size() const { return size_; }
    void setSize(double size);
    [[nodiscard]] QColor color() const { return color_; }
    void setColor(const QColor& color);
    [[nodiscard]] QString opticalCut() const { return opticalCut_; }
    void setOpticalCut(const QString& cut);
    [[nodiscard]] bool showGlow() const { return showGlow_; }
    void setShowGlow(bool shows);

    void paint(QPainter* painter) override;

signals:
    void changed();

private:
    void update();

    double size_ = 32;
    QColor color_;
    QString opticalCut_;
    bool showGlow_ = false;
};

/// The application's icon: a rounded square with the mark on it.
class BrandAppIconView : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(double size READ size WRITE setSize NOTIFY changed)
    Q_PROPERTY(bool showShadow READ showShadow WRITE setShowShadow NOTIFY changed)

public:
    explicit BrandAppIconView(QQuickItem* parent = nullptr);

    [[nodiscard]] double size() const { return size_; }
    void setSize(double size);
    [[nodiscard]] bool showShadow() const { return showShadow_; }
    void setShowShadow(bool shows);

    void paint(QPainter* painter) override;

signals:
    void changed();

private:
    double size_ = 64;
    bool showShadow_ = false;
};

/// Paints the application's icon into a square.
void paintAppIcon(QPainter& painter, const QRectF& square);

}  // namespace velmora
