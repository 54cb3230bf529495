#include "app/menu/PopupMenu.h"

#include "app/menu/MenuRenderer.h"

#include <QKeyEvent>

#include <algorithm>
#include <utility>

namespace velmora {

PopupMenu::PopupMenu(std::function<void(const MenuItem&)> triggered) : triggered_(std::move(triggered)) { }

void PopupMenu::popUp(std::vector<MenuItem> items, const QPoint& position)
{
    items_ = std::move(items);
    renderMenu(*this, items_, LabelSyntax::widget, triggered_);
    popup(position);
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
