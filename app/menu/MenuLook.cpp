#include "app/menu/MenuLook.h"

#include "brand/BrandColors.h"
#include "brand/ShownText.h"

#include <QFontMetrics>
#include <QPainter>
#include <QPainterPath>
#include <QPalette>
#include <QPolygonF>
#include <QProxyStyle>
#include <QRegion>
#include <QStyleOptionMenuItem>
#include <QTextCharFormat>
#include <QTextLayout>
#include <QTextOption>

#include <algorithm>

namespace velmora {

namespace {

constexpr int cornerRadius = 10;
constexpr int itemRadius = 6;
constexpr int frameWidth = 1;
constexpr int panelMargin = 6;
constexpr int itemMargin = 6;
constexpr int leftMargin = 8;
constexpr int iconSize = 16;
constexpr int iconGap = 9;
constexpr int rightMargin = 24;
constexpr int separatorHeight = 13;
/// A longer title is cut in its middle: the keys and the arrow after it stay on the screen, and so does the end of the title.
constexpr int widestTitle = 400;
constexpr int captionFontSize = 11;
constexpr int captionGap = 2;
constexpr int captionFlags = Qt::AlignLeft | Qt::AlignTop | Qt::TextWordWrap;

/// An item's text in its parts.
struct ItemText {
    explicit ItemText(const QString& text)
        : title(text.section(QLatin1Char('\t'), 0, 0))
        , keys(text.section(QLatin1Char('\t'), 1))
        , caption(title.section(QLatin1Char('\n'), 1))
    {
        title = shown(title.section(QLatin1Char('\n'), 0, 0));
        caption = shown(caption);
    }

    static QString shown(QString text) { return text.replace(QLatin1String("&&"), QLatin1String("&")); }

    QString title;
    QString keys;
    QString caption;
};

QFont captionFont(QFont font)
{
    font.setPixelSize(captionFontSize);
    return font;
}

QSize captionSize(const QString& caption, const QFont& font)
{
    return QFontMetrics{captionFont(font)}.boundingRect(0, 0, widestTitle, 0, captionFlags, caption).size();
}

void drawTitle(QPainter& painter, const QRect& place, const QFont& font, const QString& title)
{
    const QFontMetrics metrics{font};
    const auto shown = metrics.elidedText(title, Qt::ElideMiddle, place.width());
    QTextLayout layout{shown, font};
    if (const auto emoji = leadingEmoji(shown); !emoji.isEmpty()) {
        // The font for text may have the symbol too, in one colour.
        QTextCharFormat format;
        format.setFontFamilies({QStringLiteral("Noto Color Emoji")});
        layout.setFormats({{0, static_cast<int>(emoji.size()), format}});
    }
    QTextOption option;
    option.setWrapMode(QTextOption::NoWrap);
    // What comes after a title stays after it, in whatever direction the title reads.
    option.setTextDirection(Qt::LeftToRight);
    layout.setTextOption(option);
    layout.beginLayout();
    auto line = layout.createLine();
    layout.endLayout();
    if (!line.isValid())
        return;
    const double baseline = place.y() + (place.height() - metrics.height()) / 2.0 + metrics.ascent();
    layout.draw(&painter, {static_cast<double>(place.x()), baseline - line.ascent()});
}

void drawArrow(QPainter& painter, const QRect& item, const QColor& color)
{
    const QPointF tip{item.right() - 8.0, item.center().y() + 0.5};
    painter.setPen(Qt::NoPen);
    painter.setBrush(color);
    painter.drawPolygon(QPolygonF{tip, tip + QPointF{-4.5, -4}, tip + QPointF{-4.5, 4}});
}

void drawItem(QPainter& painter, const QStyleOptionMenuItem& item)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    const bool isEnabled = item.state.testFlag(QStyle::State_Enabled);
    const bool isSelected = isEnabled && item.state.testFlag(QStyle::State_Selected);
    if (isSelected) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(BrandColors::coral);
        painter.drawRoundedRect(item.rect, itemRadius, itemRadius);
    }
    item.icon.paint(&painter, {item.rect.x() + leftMargin, item.rect.y(), iconSize, item.rect.height()}, Qt::AlignCenter);

    // The header is not a command, but should be no less readable for that.
    const bool isHeader = item.font.bold();
    const auto color = isSelected ? BrandColors::studioWhite : isEnabled || isHeader ? BrandColors::snowSlate : BrandColors::secondarySlate;
    painter.setPen(color);
    const ItemText text{item.text};
    auto place = item.rect.adjusted(leftMargin + iconSize + iconGap, 0, -rightMargin, 0);
    if (!text.caption.isEmpty()) {
        const auto size = captionSize(text.caption, item.font);
        place.setHeight(place.height() - size.height() - captionGap);
        painter.save();
        painter.setFont(captionFont(item.font));
        painter.setPen(isSelected ? BrandColors::studioWhite : BrandColors::secondarySlate);
        // At the width that its height was made for, however wide the menu has become.
        painter.drawText(QRect{{place.x(), place.bottom() + 1 + captionGap - itemMargin}, QSize{widestTitle, size.height()}}, captionFlags,
            text.caption);
        painter.restore();
    }
    if (!text.keys.isEmpty()) {
        const QRect keys{place.right() + 1 - item.reservedShortcutWidth, place.y(), item.reservedShortcutWidth, place.height()};
        painter.setFont(item.font);
        painter.drawText(keys, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, text.keys);
    }
    place.setWidth(std::max(0, place.width() - item.reservedShortcutWidth));
    drawTitle(painter, place, item.font, text.title);
    if (item.menuItemType == QStyleOptionMenuItem::SubMenu)
        drawArrow(painter, item.rect, color);
    painter.restore();
}

void drawPanel(QPainter& painter, const QRect& panel)
{
    painter.save();
    painter.fillRect(panel, BrandColors::cardSlate);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen{BrandColors::borderSlate, frameWidth});
    painter.drawRoundedRect(QRectF{panel}.adjusted(0.5, 0.5, -0.5, -0.5), cornerRadius, cornerRadius);
    painter.restore();
}

class MenuStyle final : public QProxyStyle {
public:
    MenuStyle() : QProxyStyle(QStringLiteral("Fusion")) { }

    int pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const override
    {
        switch (metric) {
        case PM_MenuPanelWidth:
            return frameWidth;
        case PM_MenuHMargin:
        case PM_MenuVMargin:
            return panelMargin;
        default:
            return QProxyStyle::pixelMetric(metric, option, widget);
        }
    }

    int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget, QStyleHintReturn* data) const override
    {
        return hint == SH_Menu_Scrollable ? 1 : QProxyStyle::styleHint(hint, option, widget, data);
    }

    QSize sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& contents, const QWidget* widget) const override
    {
        const auto* item = qstyleoption_cast<const QStyleOptionMenuItem*>(option);
        if (type != CT_MenuItem || !item)
            return QProxyStyle::sizeFromContents(type, option, contents, widget);
        if (item->menuItemType == QStyleOptionMenuItem::Separator)
            return {leftMargin + iconSize, separatorHeight};
        // There is as much room between a title and its keys as after them.
        const int behind = item->text.contains(QLatin1Char('\t')) ? 2 * rightMargin : rightMargin;
        auto title = contents;
        int beneath = 0;
        if (const ItemText text{item->text}; !text.caption.isEmpty()) {
            const auto caption = captionSize(text.caption, item->font);
            const QFontMetrics metrics{item->font};
            title = {std::max(metrics.horizontalAdvance(text.title), caption.width()), metrics.height()};
            beneath = captionGap + caption.height();
            if (text.title.isEmpty())
                return {leftMargin + iconSize + iconGap + std::min(title.width(), widestTitle) + behind, beneath + 2 * itemMargin};
        }
        return {leftMargin + iconSize + iconGap + std::min(title.width(), widestTitle) + behind,
            std::max(title.height(), iconSize) + beneath + 2 * itemMargin};
    }

    void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter, const QWidget* widget) const override
    {
        if (element == PE_PanelMenu)
            drawPanel(*painter, option->rect);
        else if (element != PE_FrameMenu)
            QProxyStyle::drawPrimitive(element, option, painter, widget);
    }

    void drawControl(ControlElement element, const QStyleOption* option, QPainter* painter, const QWidget* widget) const override
    {
        const auto* item = qstyleoption_cast<const QStyleOptionMenuItem*>(option);
        if (element == CE_MenuEmptyArea || element == CE_MenuHMargin || element == CE_MenuVMargin)
            return;
        if (element != CE_MenuItem || !item)
            return QProxyStyle::drawControl(element, option, painter, widget);
        if (item->menuItemType == QStyleOptionMenuItem::Separator)
            painter->fillRect(
                item->rect.adjusted(leftMargin, separatorHeight / 2, -leftMargin, -(separatorHeight / 2)), BrandColors::borderSlate);
        else
            drawItem(*painter, *item);
    }
};

}  // namespace

StyledMenu::StyledMenu(QWidget* parent) : QMenu(parent)
{
    // One for all menus, as long as the program runs.
    static auto* style = new MenuStyle;
    setStyle(style);
    QPalette colors;
    colors.setColor(QPalette::Window, BrandColors::cardSlate);
    colors.setColor(QPalette::ButtonText, BrandColors::snowSlate);
    setPalette(colors);
}

void StyledMenu::resizeEvent(QResizeEvent* event)
{
    QMenu::resizeEvent(event);
    QPainterPath outline;
    outline.addRoundedRect(rect(), cornerRadius, cornerRadius);
    setMask(QRegion{outline.toFillPolygon().toPolygon()});
}

}  // namespace velmora
