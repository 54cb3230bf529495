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

/// The symbol that a text begins with and that is to be shown as a coloured picture (U+FE0F, Unicode Technical Standard 51); empty when it
/// begins with any other character.
[[nodiscard]] QString leadingEmoji(const QString& text);

}  // namespace velmora
