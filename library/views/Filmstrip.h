// Small pictures of a clip in a row, with its selection on them.
#pragma once

#include "library/views/ClipPreviewModel.h"

#include <QPointer>
#include <QQuickPaintedItem>

namespace velmora {

/// What lies outside the selection is dimmed; a frame surrounds the rest.
class Filmstrip : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(velmora::ClipPreviewModel* model READ model WRITE setModel NOTIFY modelChanged REQUIRED)

public:
    explicit Filmstrip(QQuickItem* parent = nullptr);

    [[nodiscard]] ClipPreviewModel* model() const { return model_; }
    void setModel(ClipPreviewModel* model);

    void paint(QPainter* painter) override;

signals:
    void modelChanged();

private:
    [[nodiscard]] QRectF selection() const;

    QPointer<ClipPreviewModel> model_;
};

}  // namespace velmora
