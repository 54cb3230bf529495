#include "app/views/FittedView.h"

#include <QQuickItem>
#include <QScreen>

#include <algorithm>
#include <utility>

namespace velmora {

namespace {

/// What Qt takes for no limit.
constexpr int unlimited = (1 << 24) - 1;

/// Until the window manager has put one round it: KWin makes no window smaller that was as high as the work area when it came.
constexpr QMargins usualFrame{1, 32, 1, 5};

QSize sizeOf(const QQuickItem& contents)
{
    return QSizeF{contents.implicitWidth(), contents.implicitHeight()}.toSize();
}

}  // namespace

QSize workAreaSize(const QScreen& screen)
{
    return screen.availableGeometry().size();
}

QSize fittingSize(const QSize& given, const QSize& workArea, const QMargins& frame)
{
    return given.boundedTo(workArea.shrunkBy(frame));
}

QPoint placeInside(const QRect& place, const QRect& area)
{
    const auto inside = [](int begin, int length, int from, int room) { return std::max(from, std::min(begin, from + room - length)); };
    return {inside(place.x(), place.width(), area.x(), area.width()), inside(place.y(), place.height(), area.y(), area.height())};
}

FittedView::FittedView(QQmlEngine& engine) : QQuickView(&engine, nullptr)
{
    setResizeMode(QQuickView::SizeRootObjectToView);
}

void FittedView::setGivenSize(const QSize& size, bool isResizable)
{
    given_ = size;
    isResizable_ = isResizable;
    fit();
}

void FittedView::setWorkArea(const QRect& area)
{
    workArea_ = area;
    isPlaced_ = false;
    fit();
}

void FittedView::takeSizeOfContents()
{
    auto* contents = rootObject();
    if (!contents)
        return;
    for (const auto changed : {&QQuickItem::implicitWidthChanged, &QQuickItem::implicitHeightChanged})
        connect(contents, changed, this, [this, contents] { setGivenSize(sizeOf(*contents), false); });
    setGivenSize(sizeOf(*contents), false);
}

void FittedView::exposeEvent(QExposeEvent* event)
{
    // What the window manager puts round it is known once it is on the screen.
    fit();
    bringInside();
    QQuickView::exposeEvent(event);
}

void FittedView::bringInside()
{
    // From then on it is where a person wants it.
    if (workArea_.isEmpty() || !isExposed() || std::exchange(isPlaced_, true))
        return;
    const auto frame = QRect{position(), size()}.marginsAdded(frameMargins());
    if (const auto inside = placeInside(frame, workArea_); inside != frame.topLeft())
        setFramePosition(inside);
}

void FittedView::fit()
{
    if (given_.isEmpty() || !screen())
        return;
    const auto frame = frameMargins().isNull() && !isExposed() ? usualFrame : frameMargins();
    const auto size = fittingSize(given_, workArea_.isEmpty() ? workAreaSize(*screen()) : workArea_.size(), frame);
    if (size == fitted_)
        return;
    const auto before = QRect{position(), this->size()}.marginsAdded(frameMargins());
    fitted_ = size;
    setMinimumSize(size);
    setMaximumSize(isResizable_ ? QSize{unlimited, unlimited} : size);
    resize(size);
    if (isPlaced_ && isExposed())
        stayInside(before);
}

void FittedView::stayInside(const QRect& before)
{
    // Whoever has put it across an edge wants it there. The other area is for a window that was moved to another monitor.
    for (const auto& area : {workArea_, screen()->availableGeometry()}) {
        if (!area.contains(before))
            continue;
        const QRect grown{before.topLeft(), size().grownBy(frameMargins())};
        if (const auto inside = placeInside(grown, area); inside != grown.topLeft())
            setPosition(position() + inside - grown.topLeft());
        return;
    }
}

}  // namespace velmora
