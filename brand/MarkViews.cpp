#include "brand/MarkViews.h"

#include "brand/BrandColors.h"

#include <QLinearGradient>
#include <QPainter>
#include <QtMath>

namespace velmora {

namespace {

constexpr double iconCornerShare = 0.225;
constexpr double iconMarkShare = 0.66;
constexpr double shadowShare = 0.10;

// Software rendering has no blur: the glow is the mark's outline drawn wider and wider, each time fainter.
void paintGlow(QPainter& painter, const QPainterPath& mark, const QColor& color, double size)
{
    constexpr int steps = 8;
    constexpr double reach = 0.16;
    constexpr float strength = 0.055F;
    QColor faint = color;
    faint.setAlphaF(strength);
    for (int step = 1; step <= steps; ++step)
        painter.strokePath(mark, QPen{faint, size * reach * step / steps, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin});
}

void paintShadow(QPainter& painter, const QRectF& square)
{
    constexpr int steps = 6;
    const double reach = square.width() * shadowShare;
    for (int step = steps; step >= 1; --step) {
        const double grow = reach * step / steps;
        const auto shape = square.adjusted(-grow, -grow, grow, grow).translated(0, reach / 3);
        const double radius = square.width() * iconCornerShare + grow;
        painter.setBrush(QColor{0, 0, 0, 18});
        painter.drawRoundedRect(shape, radius, radius);
    }
}

}  // namespace

void paintAppIcon(QPainter& painter, const QRectF& square)
{
    const double side = square.width();
    const double radius = side * iconCornerShare;
    constexpr double angle = 160;  // degrees clockwise from upwards, as style sheets count
    const QPointF half{std::sin(qDegreesToRadians(angle)) * side / 2, -std::cos(qDegreesToRadians(angle)) * side / 2};
    QLinearGradient gradient{square.center() - half, square.center() + half};
    gradient.setColorAt(0, QColor{0x26, 0x34, 0x4D});
    gradient.setColorAt(1, BrandColors::obsidian);
    painter.setPen(Qt::NoPen);
    painter.setBrush(gradient);
    painter.drawRoundedRect(square, radius, radius);
    painter.setPen(QPen{QColor{255, 255, 255, 26}, std::max(1.0, side / 128)});
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(square.adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);

    const double markSide = side * iconMarkShare;
    const QRectF markSquare{square.center() - QPointF{markSide / 2, markSide / 2}, QSizeF{markSide, markSide}};
    const auto mark = OrbelleShape{OrbelleShape::cutForSize(markSide)}.path(markSquare);
    paintGlow(painter, mark, BrandColors::coral, markSide);
    painter.fillPath(mark, BrandColors::coral);
}

BrandLogoMark::BrandLogoMark(QQuickItem* parent) : QQuickPaintedItem(parent), color_(BrandColors::coral)
{
    setAntialiasing(true);
    update();
}

void BrandLogoMark::setSize(double size)
{
    size_ = size;
    update();
}

void BrandLogoMark::setColor(const QColor& color)
{
    color_ = color;
    update();
}

void BrandLogoMark::setOpticalCut(const QString& cut)
{
    opticalCut_ = cut;
    update();
}

void BrandLogoMark::setShowGlow(bool shows)
{
    showGlow_ = shows;
    update();
}

void BrandLogoMark::update()
{
    setImplicitSize(size_, size_);
    QQuickPaintedItem::update();
    emit changed();
}

void BrandLogoMark::paint(QPainter* painter)
{
    painter->setRenderHint(QPainter::Antialiasing);
    const auto cut = opticalCut_.isEmpty() ? OrbelleShape::cutForSize(size_)
                                           : (opticalCut_ == QLatin1String("small") ? OpticalCut::small : OpticalCut::master);
    const auto mark = OrbelleShape{cut}.path({0, 0, size_, size_});
    if (showGlow_)
        paintGlow(*painter, mark, color_, size_);
    painter->fillPath(mark, color_);
}

BrandAppIconView::BrandAppIconView(QQuickItem* parent) : QQuickPaintedItem(parent)
{
    setAntialiasing(true);
    setImplicitSize(size_, size_);
}

void BrandAppIconView::setSize(double size)
{
    size_ = size;
    setImplicitSize(size, size);
    update();
    emit changed();
}

void BrandAppIconView::setShowShadow(bool shows)
{
    showShadow_ = shows;
    update();
    emit changed();
}

void BrandAppIconView::paint(QPainter* painter)
{
    painter->setRenderHint(QPainter::Antialiasing);
    QRectF square{0, 0, size_, size_};
    if (showShadow_) {
        const double margin = size_ * shadowShare;
        square.adjust(margin, margin, -margin, -margin);
        painter->setPen(Qt::NoPen);
        paintShadow(*painter, square);
    }
    paintAppIcon(*painter, square);
}

}  // namespace velmora
