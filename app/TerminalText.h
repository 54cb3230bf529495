// Text from outside, as a terminal can show it.
#pragma once

#include <QString>

namespace velmora {

/// With a replacement for each control character, so that a title cannot command the terminal or fake a line.
[[nodiscard]] inline QString withoutControlCharacters(QString text)
{
    for (auto& character : text) {
        if (character.category() == QChar::Other_Control || character.category() == QChar::Other_Format)
            character = QChar::ReplacementCharacter;
    }
    return text;
}

}  // namespace velmora
