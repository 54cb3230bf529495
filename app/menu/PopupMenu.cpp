#include "app/menu/PopupMenu.h"

#include "app/menu/MenuRenderer.h"

#include <QKeyEvent>
#include <QToolTip>

#include <algorithm>
#include <utility>

namespace velmora {

PopupMenu::PopupMenu(std::function<void(const MenuItem&)> triggered) : triggered_(std::move(triggered)) { }

void PopupMenu::popUp(std::vector<MenuItem> items, const QPoint& position)
{
    items_ = std::move(items);
    renderMenu(*this, items_, LabelSyntax::widget, triggered_);
    // That of the item in the tray would lie on the menu.
    QToolTip::hideText();
    popup(position);
}

void PopupMenu::updateCaptions(std::vector<MenuItem> items)
{
    if (!differOnlyInCaptions(items, items_))
        return;
    const auto shown = actions();
    for (std::size_t i = 0; i < items.size(); ++i) {
        if (items[i].caption != items_[i].caption)
            shown.at(static_cast<qsizetype>(i))->setText(widgetText(items[i]));
    }
    items_ = std::move(items);
}

void PopupMenu::keyPressEvent(QKeyEvent* event)
{
    const auto chosen = std::find_if(items_.begin(), items_.end(), [&](const MenuItem& item) {
        return item.isEnabled && item.keyEquivalent && matches(*item.keyEquivalent, event->key(), event->modifiers());
    });
    // Alt alone begins a key equivalent here; Qt would close the menu.
    if (event->key() == Qt::Key_Alt)
        return;
    if (chosen == items_.end())
        return QMenu::keyPressEvent(event);
    if (event->isAutoRepeat())
        return;
    const MenuItem item = *chosen;
    close();
    triggered_(item);
}

}  // namespace velmora
