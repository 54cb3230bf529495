#include "library/views/PlayerPicture.h"

#include "base/Mutex.h"

#include <QQuickWindow>
#include <QSGImageNode>

#include <cstdlib>
#include <utility>

namespace velmora {

namespace {

/// libmpv draws faster into rows that begin at multiples of this.
constexpr qsizetype rowAlignment = 64;

struct Freed {
    void operator()(uchar* memory) const { std::free(memory); }
};

}  // namespace

/// The memory of a picture that is no longer shown: while a clip plays, the same two blocks take turns.
class PlayerPicture::Memory {
public:
    /// Its content is undefined; null when there is no memory.
    static QImage picture(const std::shared_ptr<Memory>& memory, const QSize& size)
    {
        const qsizetype bytesPerRow = (qsizetype{size.width()} * 4 + rowAlignment - 1) / rowAlignment * rowAlignment;
        auto used = std::make_unique<Used>();
        used->owner = memory;
        used->size = static_cast<std::size_t>(bytesPerRow) * static_cast<std::size_t>(size.height());
        used->bytes = memory->take(used->size);
        auto* bytes = used->bytes.get();
        if (!bytes)
            return {};
        return {bytes, size.width(), size.height(), bytesPerRow, QImage::Format_RGB32, giveBack, used.release()};
    }

private:
    using Bytes = std::unique_ptr<uchar, Freed>;

    struct Used {
        std::weak_ptr<Memory> owner;
        std::size_t size = 0;
        Bytes bytes;
    };

    Bytes take(std::size_t size)
    {
        const MutexLock lock(mutex_);
        if (spare_ && spareSize_ == size)
            return std::move(spare_);
        spare_.reset();
        return Bytes{static_cast<uchar*>(std::aligned_alloc(rowAlignment, size))};
    }

    /// Called by whichever thread lets go of the picture last.
    static void giveBack(void* info)
    {
        const std::unique_ptr<Used> used{static_cast<Used*>(info)};
        if (const auto owner = used->owner.lock()) {
            const MutexLock lock(owner->mutex_);
            owner->spare_ = std::move(used->bytes);
            owner->spareSize_ = used->size;
        }
    }

    Mutex mutex_;
    Bytes spare_ GUARDED_BY(mutex_);
    std::size_t spareSize_ GUARDED_BY(mutex_) = 0;
};

PlayerPicture::~PlayerPicture() = default;

PlayerPicture::PlayerPicture(QQuickItem* parent) : QQuickItem(parent), memory_(std::make_shared<Memory>())
{
    setFlag(ItemHasContents);
}

void PlayerPicture::setModel(ClipPreviewModel* model)
{
    if (model_ == model)
        return;
    if (model_)
        disconnect(model_, nullptr, this, nullptr);
    model_ = model;
    if (model_) {
        connect(model_, &ClipPreviewModel::pictureChanged, this, &QQuickItem::update);
        connect(model_, &ClipPreviewModel::playerChanged, this, &QQuickItem::update);
    }
    tellSize();
    emit modelChanged();
    update();
}

QSize PlayerPicture::pixels() const
{
    return window() ? (size() * window()->effectiveDevicePixelRatio()).toSize() : QSize{};
}

void PlayerPicture::tellSize() const
{
    if (model_)
        model_->setPictureSize(pixels());
}

void PlayerPicture::itemChange(ItemChange change, const ItemChangeData& data)
{
    QQuickItem::itemChange(change, data);
    if (change == ItemSceneChange || change == ItemDevicePixelRatioHasChanged)
        tellSize();
}

void PlayerPicture::geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry)
{
    QQuickItem::geometryChange(newGeometry, oldGeometry);
    if (newGeometry.size() == oldGeometry.size())
        return;
    tellSize();
    update();
}

QSGNode* PlayerPicture::updatePaintNode(QSGNode* node, UpdatePaintNodeData*)
{
    const QSize size = pixels();
    auto picture = size.isEmpty() ? QImage{} : Memory::picture(memory_, size);
    const bool isDrawn = !picture.isNull() && model_
        && model_->drawPicture({reinterpret_cast<std::byte*>(picture.bits()), picture.width(), picture.height(),
            static_cast<std::size_t>(picture.bytesPerLine())});
    if (!isDrawn) {
        delete node;
        return nullptr;
    }
    auto* image = static_cast<QSGImageNode*>(node);
    if (!image) {
        image = window()->createImageNode();
        image->setOwnsTexture(true);
    }
    image->setTexture(window()->createTextureFromImage(picture, QQuickWindow::TextureIsOpaque));
    image->setRect(boundingRect());
    return image;
}

}  // namespace velmora
