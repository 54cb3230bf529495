#include "app/views/ClipDrags.h"

#include "brand/BrandColors.h"
#include "brand/BrandPainting.h"
#include "library/views/PictureImage.h"

#include <QFont>
#include <QFontMetrics>
#include <QGuiApplication>
#include <QPainter>
#include <QQuickItem>
#include <QQuickWindow>

#include <algorithm>
#include <cmath>
#include <utility>

namespace velmora {

namespace {

constexpr int longerSide = 144;  // in points

PixelBufferRef shared(const QImage& picture)
{
    const auto pixels = std::make_shared<const QImage>(picture.convertToFormat(QImage::Format_RGB32));
    auto buffer = std::make_shared<PixelBuffer>();
    buffer->width = pixels->width();
    buffer->height = pixels->height();
    buffer->bytesPerRow = static_cast<std::size_t>(pixels->bytesPerLine());
    buffer->baseAddress = reinterpret_cast<const std::byte*>(pixels->constBits());
    buffer->owner = pixels;
    return buffer;
}

// The desktop has the pointer from now on: where the drag is given up, no window of ours hears that the button goes up.
void letGoOfThePointer()
{
    for (auto* window : QGuiApplication::topLevelWindows()) {
        auto* const view = qobject_cast<QQuickWindow*>(window);
        if (auto* const holder = view ? view->mouseGrabberItem() : nullptr)
            holder->ungrabMouse();
    }
}

void paintCount(QPainter& painter, const QSizeF& size, std::size_t count)
{
    auto font = QGuiApplication::font();
    font.setPixelSize(13);
    font.setWeight(QFont::DemiBold);
    painter.setFont(font);
    const auto text = QString::number(count);
    const double height = 22;
    const double width = std::max(height, QFontMetrics{font}.horizontalAdvance(text) + 12.0);
    const QRectF badge{size.width() - width - 6, size.height() - height - 6, width, height};
    painter.setPen(Qt::NoPen);
    painter.setBrush(BrandColors::coral);
    painter.drawRoundedRect(badge, height / 2, height / 2);
    painter.setPen(BrandColors::studioWhite);
    painter.drawText(badge, Qt::AlignCenter, text);
}

}  // namespace

QImage draggedPicture(const QImage& picture, std::size_t count, double scale)
{
    const auto size = picture.isNull() ? QSize{longerSide, longerSide * 9 / 16}
                                       : picture.size().scaled(longerSide, longerSide, Qt::KeepAspectRatio).expandedTo({24, 24});
    QImage drawn{(QSizeF{size} * scale).toSize(), QImage::Format_RGB32};
    drawn.setDevicePixelRatio(scale);
    drawn.fill(BrandColors::cardSlate);
    QPainter painter{&drawn};
    painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    const QRectF whole{QPointF{}, QSizeF{size}};
    if (picture.isNull()) {
        QRectF square{0, 0, 40, 40};
        square.moveCenter(whole.center());
        paintAppIcon(painter, square);
    } else {
        painter.drawImage(whole, picture);
    }
    painter.setPen(QPen{BrandColors::borderSlate, 1});
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(whole.adjusted(0.5, 0.5, -0.5, -0.5));
    if (count > 1)
        paintCount(painter, whole.size(), count);
    return drawn;
}

DragClips makeClipDrags(const SharedServices& services)
{
    return [drags = services.platform.fileDrags, thumbnails = services.platform.thumbnails, executor = services.mainExecutor](
               std::vector<std::filesystem::path> clips) {
        if (clips.empty())
            return;
        letGoOfThePointer();
        const double scale = qGuiApp->devicePixelRatio();
        const auto first = clips.front();
        const int side = static_cast<int>(std::lround(longerSide * scale));
        thumbnails->find(first, side, [drags, executor, clips = std::move(clips), scale](Result<PixelBufferRef> found) mutable {
            executor->async([drags, clips = std::move(clips), scale, found = std::move(found)]() mutable {
                const auto picture = found && *found ? image(*found) : QImage{};
                const auto count = clips.size();
                drags->begin(std::move(clips), shared(draggedPicture(picture, count, scale)));
            });
        });
    };
}

}  // namespace velmora
