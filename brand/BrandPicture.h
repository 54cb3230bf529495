// The items that show the mark, for QML: painted once per size and screen, then drawn from memory.
#pragma once

#include <QQuickItem>
#include <QtQml/qqmlregistration.h>

namespace velmora {

/// A square of `size` points that shows a picture, which may extend beyond the square. Takes neither focus nor pointer.
class BrandPicture : public QQuickItem {
    Q_OBJECT
    QML_ANONYMOUS
    Q_PROPERTY(double size READ points WRITE setPoints NOTIFY pointsChanged)

public:
    [[nodiscard]] double points() const { return size_; }
    void setPoints(double size);

signals:
    void pointsChanged();

protected:
    explicit BrandPicture(double size);

    /// In points; the square begins at (0, 0).
    [[nodiscard]] virtual QRectF pictureBounds() const = 0;
    [[nodiscard]] virtual QImage picture(double scale) const = 0;

    /// To be called when it would look different.
    void pictureChanged();

    QSGNode* updatePaintNode(QSGNode* old, UpdatePaintNodeData* data) override;
    void itemChange(ItemChange change, const ItemChangeData& data) override;

private:
    double size_;
    bool isStale_ = true;
};

class BrandLogoMark : public velmora::BrandPicture {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QColor color READ color WRITE setColor NOTIFY lookChanged)
    Q_PROPERTY(Cut opticalCut READ opticalCut WRITE setOpticalCut NOTIFY lookChanged)
    Q_PROPERTY(bool showGlow READ showGlow WRITE setShowGlow NOTIFY lookChanged)

public:
    enum Cut { BySize, Master, Small };
    Q_ENUM(Cut)

    BrandLogoMark();

    [[nodiscard]] QColor color() const { return color_; }
    void setColor(const QColor& color);
    [[nodiscard]] Cut opticalCut() const { return opticalCut_; }
    void setOpticalCut(Cut cut);
    [[nodiscard]] bool showGlow() const { return showGlow_; }
    void setShowGlow(bool showGlow);

signals:
    void lookChanged();

protected:
    [[nodiscard]] QRectF pictureBounds() const override;
    [[nodiscard]] QImage picture(double scale) const override;

private:
    template <typename T>
    void change(T& member, const T& value);

    QColor color_;
    Cut opticalCut_ = BySize;
    bool showGlow_ = false;
};

class BrandAppIconView : public velmora::BrandPicture {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(bool showShadow READ showShadow WRITE setShowShadow NOTIFY showShadowChanged)

public:
    BrandAppIconView();

    [[nodiscard]] bool showShadow() const { return showShadow_; }
    void setShowShadow(bool showShadow);

signals:
    void showShadowChanged();

protected:
    [[nodiscard]] QRectF pictureBounds() const override;
    [[nodiscard]] QImage picture(double scale) const override;

private:
    bool showShadow_ = true;
};

}  // namespace velmora
