// Text from outside (titles, names, messages), as it can be shown among ours.
#pragma once

#include <QString>

namespace velmora {

/// One line of at most 1024 characters: line breaks, tabs and other controls are spaces. What would change the text around it is left out:
/// embeddings, overrides and isolates of direction, and of a tower of combining marks all but the lowest eight.
[[nodiscard]] QString oneLine(const QString& text);

/// The same in lines, which every kind of line break ends as "\n", and with at most 4096 characters.
[[nodiscard]] QString paragraphs(const QString& text);

/// At most `length` characters as a reader counts them, an ellipsis among them in the place of what is cut out. The last `kept` stay.
[[nodiscard]] QString shortened(const QString& text, qsizetype length, qsizetype kept);

/// The symbol that a text begins with and wants to be shown as a coloured picture (U+FE0F, Unicode Technical Standard 51); empty when it
/// begins with another character.
[[nodiscard]] QString leadingEmoji(const QString& text);

}  // namespace velmora
