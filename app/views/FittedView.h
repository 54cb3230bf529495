// A window of a given size, as far as the screen has room for it.
#pragma once

#include <QQuickView>

namespace velmora {

/// What the desktop's panels leave free of the screen, in points.
[[nodiscard]] QSize workAreaSize(const QScreen& screen);

/// `given`, reduced in each direction in which it does not fit into the work area with its frame around it.
[[nodiscard]] QSize fittingSize(const QSize& given, const QSize& workArea, const QMargins& frame);

/// Where what has that place, frame included, is inside the area, or begins with it where it is too large.
[[nodiscard]] QPoint placeInside(const QRect& place, const QRect& area);

class FittedView : public QQuickView {
    Q_OBJECT

public:
    explicit FittedView(QQmlEngine& engine);

    /// The size that the window has, or where it is resizable, its least size. Its contents scroll where it is smaller than that.
    void setGivenSize(const QSize& size, bool isResizable);

    /// For a desktop that knows more about it than Qt does. In points. Once it has its frame, the window is brought into the area.
    void setWorkArea(const QRect& area);

    /// The same with a fixed size: that of the view that it shows, even when that changes. A window that was all inside of the area, or of
    /// what is free of its screen, is moved as far as it takes to be so when it has grown.
    void takeSizeOfContents();

protected:
    void exposeEvent(QExposeEvent* event) override;

private:
    void fit();
    void bringInside();
    void stayInside(const QRect& before);

    QRect workArea_;
    QSize given_;
    QSize fitted_;
    bool isResizable_ = false;
    bool isPlaced_ = false;  // with its frame, in this area
};

}  // namespace velmora
