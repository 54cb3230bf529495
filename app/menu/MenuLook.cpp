#include "app/menu/MenuLook.h"

#include "brand/BrandPainting.h"
#include "brand/Palette.h"
#include "brand/ShownText.h"
#include "brand/Theme.h"

#include <QAction>
#include <QApplication>
#include <QFontMetrics>
#include <QPainter>
#include <QPalette>
#include <QPolygonF>
#include <QProxyStyle>
#include <QRegion>
#include <QStyleOptionMenuItem>
#include <QTextLayout>
#include <QTextOption>

#include <algorithm>
#include <cmath>
#include <utility>

namespace velmora {

namespace {

constexpr int cornerRadius = 10;
constexpr int itemRadius = 6;
constexpr int frameWidth = 1;
constexpr int panelMargin = 6;
constexpr int itemMargin = 6;
constexpr int leftMargin = 8;
/// A column for the header's mark and the titles' symbols, and the gap between it and the words.
constexpr int usualSymbolSize = 16;
constexpr int usualSymbolGap = 9;
constexpr int rightMargin = 24;
constexpr int separatorHeight = 13;
/// A longer title is cut in its middle: the keys and the arrow after it stay on the screen, and so does the end of the title.
constexpr int usualWidestTitle = 400;
constexpr float selectionTint = 0.14F;
constexpr float selectionEdge = 0.85F;
constexpr int titleFontSize = 13;
constexpr int captionFontSize = 11;
constexpr int captionGap = 2;
constexpr int captionFlags = Qt::AlignLeft | Qt::AlignTop | Qt::TextWordWrap;

struct MenuWishes {
    bool increasesContrast = false;
    double textScale = 1;
};

MenuWishes& menuWishes()
{
    static MenuWishes instance;
    return instance;
}

int widestTitle()
{
    return qRound(usualWidestTitle * menuWishes().textScale);
}

int symbolGap()
{
    return qRound(usualSymbolGap * menuWishes().textScale);
}

const Palette& colors()
{
    return Palette::of(menuWishes().increasesContrast);
}

/// An item's text in its parts.
struct ItemText {
    explicit ItemText(const QString& text)
        : words(text.section(QLatin1Char('\t'), 0, 0))
        , keys(text.section(QLatin1Char('\t'), 1))
        , caption(shown(words.section(QLatin1Char('\n'), 1)))
    {
        const auto title = shown(words.section(QLatin1Char('\n'), 0, 0)).trimmed();
        symbol = leadingSymbol(title);
        words = title.mid(symbol.size()).trimmed();
    }

    static QString shown(QString text) { return text.replace(QLatin1String("&&"), QLatin1String("&")); }

    QString symbol;
    QString words;
    QString keys;
    QString caption;
};

/// Where the words begin. A menu that has symbols nowhere keeps no column for them.
int wordsColumn(const QWidget* menu)
{
    const auto* styled = qobject_cast<const StyledMenu*>(menu);
    return styled && !styled->hasSymbols() ? leftMargin : leftMargin + menuSymbolSize() + symbolGap();
}

double scaleOf(const QPainter& painter)
{
    return painter.deviceTransform().m11();
}

/// One point, at least a pixel of the screen, and no part of one.
double lineWidth(const QPainter& painter)
{
    return std::max(1.0, std::floor(scaleOf(painter))) / scaleOf(painter);
}

/// With its edges between pixels of the screen, so that they are sharp at every scale.
QRectF onPixels(const QPainter& painter, const QRectF& rectangle)
{
    const auto transform = painter.deviceTransform();
    const auto mapped = transform.mapRect(rectangle);
    const QPointF topLeft{std::round(mapped.left()), std::round(mapped.top())};
    const QPointF bottomRight{std::round(mapped.right()), std::round(mapped.bottom())};
    return transform.inverted().mapRect(QRectF{topLeft, bottomRight});
}

QFont captionFont(QFont font)
{
    font.setPixelSize(qRound(captionFontSize * menuWishes().textScale));
    return font;
}

QSize captionSize(const QString& caption, const QFont& font)
{
    return QFontMetrics{captionFont(font)}.boundingRect(0, 0, widestTitle(), 0, captionFlags, caption).size();
}

void drawPanelShape(QPainter& painter, const QRect& place, double radius, const QColor& surface, const QColor& edge)
{
    const double line = lineWidth(painter);
    painter.setPen(QPen{edge, line});
    painter.setBrush(surface);
    painter.drawRoundedRect(
        onPixels(painter, place).adjusted(line / 2, line / 2, -line / 2, -line / 2), radius - line / 2, radius - line / 2);
}

/// On the baseline of a title in `font`, from the left of its place or in the middle of it.
void drawLine(QPainter& painter, const QRect& place, const QFont& font, const QString& text, const QFont& textFont, Qt::Alignment alignment)
{
    const QFontMetrics metrics{font};
    QTextLayout layout{text, textFont};
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
    const double free = place.width() - line.naturalTextWidth();
    layout.draw(&painter, {place.x() + (alignment == Qt::AlignHCenter ? free / 2 : 0), baseline - line.ascent()});
}

void drawWords(QPainter& painter, const QRect& place, const QFont& font, const QString& words)
{
    drawLine(painter, place, font, QFontMetrics{font}.elidedText(words, Qt::ElideMiddle, place.width()), font, Qt::AlignLeft);
}

void drawSymbol(QPainter& painter, const QRect& place, const QFont& font, const QString& symbol)
{
    // The font for text may have the symbol too, in one colour.
    QFont pictures{font};
    pictures.setFamilies({QStringLiteral("Noto Color Emoji"), QStringLiteral("Inter")});
    drawLine(painter, place, font, symbol, pictures, Qt::AlignHCenter);
}

/// At the end of the column of the keys, like the longest of them.
void drawArrow(QPainter& painter, const QRect& item, const QColor& color)
{
    const QPointF tip{item.right() + 1.0 - rightMargin, item.y() + item.height() / 2.0};
    painter.setPen(Qt::NoPen);
    painter.setBrush(color);
    const double scale = menuWishes().textScale;
    painter.drawPolygon(QPolygonF{tip, tip + QPointF{-4.5, -4} * scale, tip + QPointF{-4.5, 4} * scale});
}

void drawItem(QPainter& painter, const QStyleOptionMenuItem& item, int wordsFrom)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    const bool isEnabled = item.state.testFlag(QStyle::State_Enabled);
    const bool isSelected = isEnabled && item.state.testFlag(QStyle::State_Selected);
    if (isSelected) {
        // Through a tint all symbols keep their colours, and all words can be read.
        QColor tint = colors().coral;
        tint.setAlphaF(selectionTint);
        QColor edge = colors().coral;
        edge.setAlphaF(selectionEdge);
        drawPanelShape(painter, item.rect, itemRadius, tint, edge);
    }
    item.icon.paint(&painter, {item.rect.x() + leftMargin, item.rect.y(), menuSymbolSize(), item.rect.height()}, Qt::AlignCenter);

    // The header is not a command, but should be no less readable for that.
    const bool isHeader = item.font.bold();
    const auto color = isSelected || isEnabled || isHeader ? colors().text : colors().secondaryText;
    painter.setPen(color);
    const ItemText text{item.text};
    auto place = item.rect.adjusted(wordsFrom, 0, -rightMargin, 0);
    if (!text.caption.isEmpty()) {
        const auto size = captionSize(text.caption, item.font);
        place.setHeight(place.height() - size.height() - captionGap);
        painter.save();
        painter.setFont(captionFont(item.font));
        painter.setPen(isSelected ? colors().text : colors().secondaryText);
        // At the width that its height was made for, however wide the menu has become.
        painter.drawText(QRect{{place.x(), place.bottom() + 1 + captionGap - itemMargin}, QSize{widestTitle(), size.height()}},
            captionFlags, text.caption);
        painter.restore();
    }
    if (!text.keys.isEmpty()) {
        const QRect keys{place.right() + 1 - item.reservedShortcutWidth, place.y(), item.reservedShortcutWidth, place.height()};
        painter.setFont(item.font);
        painter.drawText(keys, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, text.keys);
    }
    if (!text.symbol.isEmpty())
        drawSymbol(painter, {item.rect.x() + leftMargin, place.y(), menuSymbolSize(), place.height()}, item.font, text.symbol);
    place.setWidth(std::max(0, place.width() - item.reservedShortcutWidth));
    drawWords(painter, place, item.font, text.words);
    if (item.menuItemType == QStyleOptionMenuItem::SubMenu)
        drawArrow(painter, item.rect, color);
    painter.restore();
}

void drawSeparator(QPainter& painter, const QRectF& place)
{
    const double line = lineWidth(painter);
    painter.fillRect(onPixels(painter, {place.x(), place.center().y() - line / 2, place.width(), line}), colors().border);
}

void drawPanel(QPainter& painter, const QRect& panel, bool hasSmoothCorners)
{
    painter.save();
    // A mask leaves whole pixels of what lies outside the corners: they belong to the edge.
    if (!hasSmoothCorners)
        painter.fillRect(panel, colors().border);
    painter.setRenderHint(QPainter::Antialiasing);
    drawPanelShape(painter, panel, cornerRadius, colors().card, colors().border);
    painter.restore();
}

std::function<bool()>& compositing()
{
    static std::function<bool()> areComposited;
    return areComposited;
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
            return {leftMargin + menuSymbolSize(), separatorHeight};
        // There is as much room between a title and its keys as after them.
        const int behind = item->text.contains(QLatin1Char('\t')) ? 2 * rightMargin : rightMargin;
        const ItemText text{item->text};
        const QFontMetrics metrics{item->font};
        // Rounded to the nearest, the widest title would often be a part of a point too wide for its own menu.
        int width = static_cast<int>(std::ceil(QFontMetricsF{item->font}.horizontalAdvance(text.words)));
        int height = text.words.isEmpty() && !text.caption.isEmpty() ? 0 : std::max(metrics.height(), menuSymbolSize());
        if (!text.caption.isEmpty()) {
            const auto caption = captionSize(text.caption, item->font);
            width = std::max(width, caption.width());
            height += captionGap + caption.height();
        }
        return {wordsColumn(widget) + std::min(width, widestTitle()) + behind, height + 2 * itemMargin};
    }

    void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter, const QWidget* widget) const override
    {
        if (element == PE_PanelMenu)
            drawPanel(*painter, option->rect, !widget || widget->mask().isEmpty());
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
            drawSeparator(*painter, item->rect.adjusted(leftMargin, 0, -leftMargin, 0));
        else
            drawItem(*painter, *item, wordsColumn(widget));
    }
};

}  // namespace

void setMenusAreComposited(std::function<bool()> areComposited)
{
    compositing() = std::move(areComposited);
}

void setMenusIncreaseContrast(bool increasesContrast)
{
    menuWishes().increasesContrast = increasesContrast;
    for (auto* widget : QApplication::topLevelWidgets()) {
        if (auto* menu = qobject_cast<StyledMenu*>(widget))
            menu->takeColors();
    }
}

void setMenuTextScale(double scale)
{
    menuWishes().textScale = std::clamp(scale, 1.0, Theme::largestText);
}

QFont menuFont(bool isBold)
{
    QFont font;
    // Without the second family some of the symbols come out in one colour.
    font.setFamilies({QStringLiteral("Inter"), QStringLiteral("Noto Color Emoji")});
    font.setPixelSize(qRound(titleFontSize * menuWishes().textScale));
    font.setBold(isBold);
    return font;
}

int menuSymbolSize()
{
    return qRound(usualSymbolSize * menuWishes().textScale);
}

StyledMenu::StyledMenu(QWidget* parent) : QMenu(parent)
{
    // One for all menus, as long as the program runs.
    static auto* style = new MenuStyle;
    setStyle(style);
    // Which kind of window it is cannot be changed later; where nobody looks at the opacity it does no harm.
    setAttribute(Qt::WA_TranslucentBackground);
    takeColors();
}

void StyledMenu::takeColors()
{
    QPalette taken;
    taken.setColor(QPalette::Window, colors().card);
    taken.setColor(QPalette::ButtonText, colors().text);
    setPalette(taken);
}

bool StyledMenu::hasSymbols() const
{
    const auto all = actions();
    return std::any_of(all.begin(), all.end(),
        [](const QAction* action) { return !action->icon().isNull() || !ItemText{action->text()}.symbol.isEmpty(); });
}

void StyledMenu::showEvent(QShowEvent* event)
{
    takeColors();
    isComposited_ = compositing() && compositing()();
    cutCorners();
    QMenu::showEvent(event);
}

void StyledMenu::resizeEvent(QResizeEvent* event)
{
    QMenu::resizeEvent(event);
    cutCorners();
}

void StyledMenu::cutCorners()
{
    if (isComposited_)
        clearMask();
    else
        setMask(roundedRegion(size(), cornerRadius));
}

}  // namespace velmora
