#include "app/menu/MenuRenderer.h"

#include "app/menu/MenuLook.h"
#include "brand/BrandAssets.h"
#include "brand/BrandColors.h"
#include "brand/ShownText.h"

#include <QAction>
#include <QFont>
#include <QIcon>
#include <QKeySequence>
#include <QPixmap>

#include <QStringList>

namespace velmora {

namespace {

void render(QAction& action, const MenuItem& item)
{
    QIcon icon;
    for (const int scale : {1, 2}) {
        auto pixmap = QPixmap::fromImage(BrandAssets::symbolImage(menuSymbolSize(), BrandColors::coral, true, scale));
        // The header is not a command, so it cannot be selected; its mark is not greyed for that.
        icon.addPixmap(pixmap, QIcon::Normal);
        icon.addPixmap(pixmap, QIcon::Disabled);
    }
    if (item.kind == MenuItem::Kind::header) {
        action.setIcon(icon);
        action.setFont(menuFont(true));
        action.setEnabled(false);
    }
}

constexpr qsizetype longestBusLabel = 80;
constexpr qsizetype longestCaptionLine = 240;
constexpr qsizetype mostCaptionLines = 12;

/// What a host shows beside other programs' labels: it draws it at its full length.
std::string titleOnTheBus(const MenuItem& item)
{
    const auto title = oneLine(QString::fromStdString(item.title));
    return shortened(title, longestBusLabel, QString::fromStdString(item.ending).size()).toStdString();
}

/// The host shows the keys beside the item; nothing listens for them here, because no window of ours holds the action.
void showOnTheBus(QAction& action, const KeyEquivalent& keyEquivalent)
{
    action.setShortcut(keySequence(keyEquivalent));
    action.setShortcutContext(Qt::WidgetShortcut);
}

void addItem(QMenu& menu, const MenuItem& item, LabelSyntax syntax, const std::function<void(const MenuItem&)>& triggered)
{
    if (item.kind == MenuItem::Kind::separator) {
        menu.addSeparator();
        return;
    }
    const QString label = syntax == LabelSyntax::dbusmenu ? escapedLabel(titleOnTheBus(item), syntax) : widgetText(item);
    if (!item.submenu.empty()) {
        // On the bus there is no look.
        auto* submenu = syntax == LabelSyntax::widget ? new StyledMenu{&menu} : new QMenu{&menu};
        submenu->setFont(menuFont(false));
        submenu->setTitle(label);
        submenu->setAccessibleName(oneLine(QString::fromStdString(item.submenuTitle)));
        menu.addMenu(submenu);
        renderMenu(*submenu, item.submenu, syntax, triggered);
        return;
    }
    auto* action = menu.addAction(label);
    if (item.keyEquivalent && syntax == LabelSyntax::dbusmenu)
        showOnTheBus(*action, *item.keyEquivalent);
    action->setEnabled(item.isEnabled);
    if (item.kind == MenuItem::Kind::header)
        render(*action, item);
    if (item.action != MenuAction::none)
        QObject::connect(action, &QAction::triggered, action, [triggered, item] { triggered(item); });
}

}  // namespace

QString escapedLabel(const std::string& title, LabelSyntax syntax)
{
    // A tab would begin the column of the shortcuts, a line break another line.
    QString label = oneLine(QString::fromStdString(title));
    if (syntax == LabelSyntax::widget)
        return label.replace(QLatin1Char('&'), QLatin1String("&&"));
    label.replace(QLatin1Char('_'), QLatin1String("__"));
    // On the way to the bus Qt turns the first "&" into "_" and leaves the others: "_&" reads as "&".
    if (const auto first = label.indexOf(QLatin1Char('&')); first >= 0)
        label.insert(first, QLatin1Char('&'));
    return label;
}

QString shownCaption(const std::string& caption)
{
    auto lines = QString::fromStdString(caption).split(QLatin1Char('\n'));
    if (lines.size() > mostCaptionLines) {
        lines.resize(mostCaptionLines);
        lines.back() = QChar{0x2026};
    }
    for (auto& line : lines)
        line = shortened(oneLine(line), longestCaptionLine, 0);
    return lines.join(QLatin1Char('\n'));
}

QString widgetText(const MenuItem& item)
{
    const bool isRemark = item.kind == MenuItem::Kind::remark;
    auto text = isRemark ? QString{} : escapedLabel(item.title, LabelSyntax::widget);
    if (const auto& caption = isRemark ? item.title : item.caption; !caption.empty())
        text += QLatin1Char('\n') + shownCaption(caption).replace(QLatin1Char('&'), QLatin1String("&&"));
    if (item.keyEquivalent)
        text += QLatin1Char('\t') + keyEquivalentText(*item.keyEquivalent);
    return text;
}

QString keyEquivalentText(const KeyEquivalent& keyEquivalent)
{
    QStringList keys;
    if (keyEquivalent.withOption)
        keys.append(QStringLiteral("Alt"));
    if (keyEquivalent.withCommand)
        keys.append(QStringLiteral("Super"));
    keys.append(QString{QLatin1Char(keyEquivalent.key)}.toUpper());
    return keys.join(QLatin1Char('+'));
}

QKeySequence keySequence(const KeyEquivalent& keyEquivalent)
{
    Qt::KeyboardModifiers modifiers = Qt::NoModifier;
    modifiers.setFlag(Qt::AltModifier, keyEquivalent.withOption);
    modifiers.setFlag(Qt::MetaModifier, keyEquivalent.withCommand);
    return QKeyCombination{modifiers, static_cast<Qt::Key>(QChar::toUpper(uint{static_cast<uchar>(keyEquivalent.key)}))};
}

bool matches(const KeyEquivalent& keyEquivalent, int key, Qt::KeyboardModifiers modifiers)
{
    Qt::KeyboardModifiers wanted = Qt::NoModifier;
    wanted.setFlag(Qt::AltModifier, keyEquivalent.withOption);
    wanted.setFlag(Qt::MetaModifier, keyEquivalent.withCommand);
    constexpr auto relevant = Qt::AltModifier | Qt::MetaModifier | Qt::ControlModifier | Qt::ShiftModifier;
    return key == QChar{QLatin1Char(keyEquivalent.key)}.toUpper().unicode() && (modifiers & relevant) == wanted;
}

void renderMenu(QMenu& menu, const std::vector<MenuItem>& items, LabelSyntax syntax, const std::function<void(const MenuItem&)>& triggered)
{
    // Their menus are children of this one, and would outlive their items.
    for (auto* action : menu.actions()) {
        if (auto* submenu = action->menu())
            submenu->deleteLater();
    }
    menu.clear();
    menu.setFont(menuFont(false));
    for (const auto& item : items)
        addItem(menu, item, syntax, triggered);
}

}  // namespace velmora
