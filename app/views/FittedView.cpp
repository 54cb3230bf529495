#include "app/views/FittedView.h"

#include <QQuickItem>
#include <QScreen>

#include <algorithm>

namespace velmora {

namespace {

/// What Qt takes for no limit.
constexpr int unlimited = (1 << 24) - 1;

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

void FittedView::setWorkArea(const QSize& size)
{
    workArea_ = size;
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
    QQuickView::exposeEvent(event);
}

void FittedView::fit()
{
    if (given_.isEmpty() || !screen())
        return;
    const auto size = fittingSize(given_, workArea_.isEmpty() ? workAreaSize(*screen()) : workArea_, frameMargins());
    if (size == fitted_)
        return;
    fitted_ = size;
    setMinimumSize(size);
    setMaximumSize(isResizable_ ? QSize{unlimited, unlimited} : size);
    resize(size);
}

}  // namespace velmora
