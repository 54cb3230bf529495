// Text from outside (titles, names, messages), as it can be shown among ours.
#pragma once

#include <QString>

namespace velmora {

/// One line of at most 1024 characters: line breaks, tabs and other controls are spaces. What would change the text around it is left out:
/// embeddings, overrides and isolates of direction, and all but the lowest eight of a tower of combining marks.
[[nodiscard]] QString oneLine(const QString& text);

/// The same in lines, with every kind of line break as "\n", and with at most 4096 characters.
[[nodiscard]] QString paragraphs(const QString& text);

/// At most `length` characters as a reader counts them, including an ellipsis in place of what is cut out. The last `kept` stay.
[[nodiscard]] QString shortened(const QString& text, qsizetype length, qsizetype kept);

/// The pictogram (Unicode's category So, such as an emoji) that a title begins with, together with what says how it is to be shown; empty
/// where there is none, or no space after it.
[[nodiscard]] QString leadingSymbol(const QString& title);

}  // namespace velmora
