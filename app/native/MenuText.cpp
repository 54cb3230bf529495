#include "app/native/MenuText.h"

#include "base/Utf8.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace velmora {

namespace {

constexpr std::size_t longestTitle = 80;

std::vector<std::string> charactersOf(std::string_view text)
{
    std::vector<std::string> characters;
    while (!text.empty()) {
        const auto length = lengthOfUtf8Character(text);
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
