// Puts the described menu into a QMenu.
#pragma once

#include "app/menu/MenuDescription.h"

#include <QKeySequence>
#include <QMenu>
#include <QString>

#include <functional>
#include <vector>

namespace velmora {

/// Who draws the menu's labels: a widget of ours, or a panel that gets them over the bus (com.canonical.dbusmenu).
enum class LabelSyntax { widget, dbusmenu };

/// A title that reads as it is where "&" (widget) or "_" (dbusmenu) marks a key.
[[nodiscard]] QString escapedLabel(const std::string& title, LabelSyntax syntax);

/// A caption as it is shown beneath a title: at most twelve lines, of each at most 240 characters.
[[nodiscard]] QString shownCaption(const std::string& caption);

/// "Alt+Super+C": what this desktop calls the keys.
[[nodiscard]] QString keyEquivalentText(const KeyEquivalent& keyEquivalent);

[[nodiscard]] QKeySequence keySequence(const KeyEquivalent& keyEquivalent);

/// Whether this press, made while the menu is open, is that key equivalent.
[[nodiscard]] bool matches(const KeyEquivalent& keyEquivalent, int key, Qt::KeyboardModifiers modifiers);

/// What a widget's action says of the item: the title, except of a remark; on lines of their own the caption or the remark; and after a tab the keys.
[[nodiscard]] QString widgetText(const MenuItem& item);

/// Replaces what is in `menu`. `triggered` is called with a copy of the item that the user chose.
void renderMenu(QMenu& menu, const std::vector<MenuItem>& items, LabelSyntax syntax, const std::function<void(const MenuItem&)>& triggered);

}  // namespace velmora
