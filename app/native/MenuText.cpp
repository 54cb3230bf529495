#include "app/native/MenuText.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace velmora {

namespace {

constexpr std::size_t longestTitle = 80;

/// How many bytes the character has that begins here; 0 where none does.
std::size_t lengthOfCharacter(std::string_view text)
{
    const auto byte = [text](std::size_t index) { return static_cast<unsigned char>(text[index]); };
    const std::size_t length = byte(0) < 0x80 ? 1
        : byte(0) >= 0xC2 && byte(0) < 0xE0   ? 2
        : byte(0) >= 0xE0 && byte(0) < 0xF0   ? 3
        : byte(0) >= 0xF0 && byte(0) < 0xF5   ? 4
                                              : 0;
    if (length == 0 || length > text.size())
        return 0;
    for (std::size_t index = 1; index < length; ++index) {
        if ((byte(index) & 0xC0U) != 0x80)
            return 0;
    }
    // Longer forms of what is shorter, halves of pairs, and beyond the last character.
    if (length >= 3) {
        const unsigned second = byte(1);
        if ((byte(0) == 0xE0 && second < 0xA0) || (byte(0) == 0xED && second > 0x9F) || (byte(0) == 0xF0 && second < 0x90)
            || (byte(0) == 0xF4 && second > 0x8F))
            return 0;
    }
    return length;
}

std::vector<std::string> charactersOf(std::string_view text)
{
    std::vector<std::string> characters;
    while (!text.empty()) {
        const auto length = lengthOfCharacter(text);
        const bool isControl = length == 1 && (static_cast<unsigned char>(text[0]) < 0x20 || text[0] == 0x7F);
        characters.emplace_back(length == 0 ? "\uFFFD" : isControl ? " " : text.substr(0, length));
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return characters;
}

}  // namespace

std::string menuText(const MenuItem& item)
{
    auto characters = charactersOf(item.title);
    if (characters.size() > longestTitle) {
        const auto kept = std::min(charactersOf(item.ending).size(), longestTitle - 1);
        const auto leftOut = characters.size() - longestTitle + 1;
        const auto end = characters.end() - static_cast<std::ptrdiff_t>(kept);
        *(end - static_cast<std::ptrdiff_t>(leftOut)) = "…";
        characters.erase(end - static_cast<std::ptrdiff_t>(leftOut) + 1, end);
    }
    std::string text;
    for (const auto& each : characters)
        text += each;
    return text;
}

}  // namespace velmora
