// The picture that a preview plays.
#pragma once

#include "library/views/ClipPreviewModel.h"

#include <QImage>
#include <QPointer>
#include <QQuickItem>

#include <memory>

namespace velmora {

/// Draws what the model's player shows, at the resolution of the screen, black around it.
class PlayerPicture : public QQuickItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(velmora::ClipPreviewModel* model READ model WRITE setModel NOTIFY modelChanged REQUIRED)

public:
    explicit PlayerPicture(QQuickItem* parent = nullptr);
    ~PlayerPicture() override;

    [[nodiscard]] ClipPreviewModel* model() const { return model_; }
    void setModel(ClipPreviewModel* model);

signals:
    void modelChanged();

protected:
    QSGNode* updatePaintNode(QSGNode* node, UpdatePaintNodeData* data) override;
    void geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) override;
    void itemChange(ItemChange change, const ItemChangeData& data) override;

private:
    class Memory;

    [[nodiscard]] QSize pixels() const;
    void tellSize() const;

    const std::shared_ptr<Memory> memory_;
    QPointer<ClipPreviewModel> model_;
};

}  // namespace velmora
