// Small pictures of a clip in a row, with its selection on them.
#pragma once

#include "library/views/ClipPreviewModel.h"

#include <QColor>
#include <QPointer>
#include <QQuickPaintedItem>

namespace velmora {

/// What lies outside the selection is dimmed; a frame surrounds the rest. What is cut out of it is dimmed too, between two sides of its
/// own. The frame's sides and those of the cut can be dragged, and the player shows the picture under the side that is.
class Filmstrip : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(velmora::ClipPreviewModel* model READ model WRITE setModel NOTIFY modelChanged REQUIRED)
    Q_PROPERTY(QColor ground MEMBER ground_ NOTIFY colorsChanged)
    Q_PROPERTY(QColor frame MEMBER frame_ NOTIFY colorsChanged)
    Q_PROPERTY(QColor groove MEMBER groove_ NOTIFY colorsChanged)

public:
    explicit Filmstrip(QQuickItem* parent = nullptr);

    [[nodiscard]] ClipPreviewModel* model() const { return model_; }
    void setModel(ClipPreviewModel* model);

    /// How far beside its edge a side can still be taken, in points.
    static constexpr double reach = 8;

    void paint(QPainter* painter) override;
    [[nodiscard]] bool contains(const QPointF& point) const override;

signals:
    void modelChanged();
    void colorsChanged();

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseUngrabEvent() override;
    void hoverMoveEvent(QHoverEvent* event) override;

private:
    enum class Side { none, start, end, cutStart, cutEnd };

    [[nodiscard]] double pointsPerSecond() const;
    [[nodiscard]] QRectF selection() const;
    [[nodiscard]] QRectF cut() const;
    [[nodiscard]] Side sideAt(double x) const;
    [[nodiscard]] double edgeOf(Side side) const;
    void paintCut(QPainter& painter, const QColor& shade) const;

    QPointer<ClipPreviewModel> model_;
    QColor ground_;
    QColor frame_;
    QColor groove_;  ///< on the frame
    Side dragged_ = Side::none;
    double taken_ = 0;  ///< how far right of its edge the side was taken
};

}  // namespace velmora
