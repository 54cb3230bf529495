#include "library/views/Filmstrip.h"

#include <QCursor>
#include <QHoverEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QPen>

#include <algorithm>
#include <cmath>

namespace velmora {

namespace {

constexpr double cornerRadius = 6;
constexpr double frameWidth = 3;
constexpr double sideWidth = 8;
constexpr double grooveWidth = 2;
constexpr double frameCornerRadius = 5.5;
constexpr double dimming = 0.72;

/// The middle of an image that fills the cell with its shape kept.
QRectF croppedSource(const QImage& image, const QSizeF& cell)
{
    QSizeF source = cell.scaled(image.size(), Qt::KeepAspectRatio);
    return {(image.width() - source.width()) / 2, (image.height() - source.height()) / 2, source.width(), source.height()};
}

}  // namespace

Filmstrip::Filmstrip(QQuickItem* parent) : QQuickPaintedItem(parent)
{
    setAntialiasing(true);
    setAcceptedMouseButtons(Qt::LeftButton);
    setAcceptHoverEvents(true);
    connect(this, &Filmstrip::colorsChanged, this, [this] { update(); });
}

void Filmstrip::setModel(ClipPreviewModel* model)
{
    if (model_ == model)
        return;
    if (model_)
        disconnect(model_, nullptr, this, nullptr);
    if (model_)
        disconnect(model_->cut(), nullptr, this, nullptr);
    model_ = model;
    if (model_) {
        for (const auto changed : {&ClipPreviewModel::thumbnailsChanged, &ClipPreviewModel::trimChanged, &ClipPreviewModel::boundsChanged})
            connect(model_, changed, this, [this] { update(); });
        connect(model_->cut(), &PreviewCut::changed, this, [this] { update(); });
    }
    emit modelChanged();
    update();
}

double Filmstrip::pointsPerSecond() const
{
    return model_ && model_->totalDuration() > 0 ? width() / model_->totalDuration() : 0;
}

QRectF Filmstrip::selection() const
{
    const double scale = pointsPerSecond();
    if (scale <= 0)
        return {};
    const double begin = model_->trimStartTime() * scale;
    return {begin, 0, std::max(0.0, model_->trimEndTime() * scale - begin), height()};
}

QRectF Filmstrip::cut() const
{
    const double scale = pointsPerSecond();
    if (scale <= 0 || !model_->cut()->isThere())
        return {};
    const double begin = model_->cut()->start() * scale;
    return {begin, 0, std::max(0.0, model_->cut()->end() * scale - begin), height()};
}

double Filmstrip::edgeOf(Side side) const
{
    switch (side) {
    case Side::start:
        return selection().left();
    case Side::end:
        return selection().right();
    case Side::cutStart:
        return cut().left();
    case Side::cutEnd:
        return cut().right();
    case Side::none:
        break;
    }
    return 0;
}

Filmstrip::Side Filmstrip::sideAt(double x) const
{
    if (pointsPerSecond() <= 0)
        return Side::none;
    // The cut lies on the selection, so its sides are taken first; outside each other, where both can be.
    if (model_->cut()->isThere()) {
        const QRectF middle = cut();
        const auto side = x < middle.center().x() ? Side::cutStart : Side::cutEnd;
        if (std::abs(x - edgeOf(side)) <= reach)
            return side;
    }
    const QRectF selected = selection();
    // Of a selection so short that both can be taken, each half has its own.
    if (x < selected.center().x())
        return std::abs(x - selected.left()) <= reach ? Side::start : Side::none;
    return std::abs(x - selected.right()) <= reach ? Side::end : Side::none;
}

bool Filmstrip::contains(const QPointF& point) const
{
    return QRectF{-reach, 0, width() + 2 * reach, height()}.contains(point);
}

void Filmstrip::mousePressEvent(QMouseEvent* event)
{
    dragged_ = sideAt(event->position().x());
    event->setAccepted(dragged_ != Side::none);
    if (dragged_ == Side::none)
        return;
    taken_ = event->position().x() - edgeOf(dragged_);
    // What scrolls a low window would take the drag over.
    setKeepMouseGrab(true);
}

void Filmstrip::mouseMoveEvent(QMouseEvent* event)
{
    const double scale = pointsPerSecond();
    if (scale <= 0)
        return;
    const double seconds = (event->position().x() - taken_) / scale;
    if (dragged_ == Side::start)
        model_->dragTrimStart(seconds);
    else if (dragged_ == Side::end)
        model_->dragTrimEnd(seconds);
    else if (dragged_ == Side::cutStart)
        model_->dragCutStart(seconds);
    else if (dragged_ == Side::cutEnd)
        model_->dragCutEnd(seconds);
}

void Filmstrip::mouseReleaseEvent(QMouseEvent* /*event*/)
{
    dragged_ = Side::none;
    setKeepMouseGrab(false);
}

void Filmstrip::mouseUngrabEvent()
{
    dragged_ = Side::none;
    setKeepMouseGrab(false);
}

void Filmstrip::hoverMoveEvent(QHoverEvent* event)
{
    if (sideAt(event->position().x()) == Side::none)
        unsetCursor();
    else
        setCursor(Qt::SizeHorCursor);
}

void Filmstrip::paint(QPainter* painter)
{
    painter->setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    const QRectF strip{0, 0, width(), height()};
    QPainterPath outline;
    outline.addRoundedRect(strip, cornerRadius, cornerRadius);
    painter->setClipPath(outline);
    painter->fillRect(strip, ground_);
    if (!model_)
        return;
    const QSizeF cell{strip.width() / ClipPreviewModel::thumbnailCount, strip.height()};
    double x = 0;
    for (const auto& thumbnail : model_->thumbnails()) {
        painter->drawImage(QRectF{QPointF{x, 0}, cell}, thumbnail, croppedSource(thumbnail, cell));
        x += cell.width();
    }

    const QRectF selected = selection();
    QColor shade = ground_;
    shade.setAlphaF(static_cast<float>(dimming));
    QPainterPath shaded;
    shaded.addRect(strip);
    QPainterPath hole;
    hole.addRoundedRect(selected, frameCornerRadius, frameCornerRadius);
    painter->fillPath(shaded.subtracted(hole), shade);
    if (selected.isEmpty())
        return;
    const double side = std::min(sideWidth, selected.width() / 2);
    QPainterPath window;
    window.addRoundedRect(selected.adjusted(side, frameWidth, -side, -frameWidth), 2, 2);
    painter->fillPath(hole.subtracted(window), frame_);
    paintCut(*painter, shade);
    if (side < sideWidth)
        return;
    // Each side has a groove to take it by.
    painter->setPen(QPen{groove_, grooveWidth, Qt::SolidLine, Qt::RoundCap});
    for (const double middle : {selected.left() + side / 2, selected.right() - side / 2})
        painter->drawLine(QPointF{middle, height() * 0.36}, QPointF{middle, height() * 0.64});
}

void Filmstrip::paintCut(QPainter& painter, const QColor& shade) const
{
    const QRectF middle = cut();
    if (!model_->cut()->isThere())
        return;
    painter.fillRect(middle, shade);
    // Its sides stand on what is kept, as those of the selection do.
    for (const bool isStart : {true, false}) {
        const double edge = isStart ? middle.left() - sideWidth : middle.right();
        QPainterPath side;
        side.addRoundedRect(QRectF{edge, 0, sideWidth, height()}, 2, 2);
        painter.fillPath(side, frame_);
        painter.setPen(QPen{groove_, grooveWidth, Qt::SolidLine, Qt::RoundCap});
        painter.drawLine(QPointF{edge + sideWidth / 2, height() * 0.36}, QPointF{edge + sideWidth / 2, height() * 0.64});
    }
}

}  // namespace velmora
