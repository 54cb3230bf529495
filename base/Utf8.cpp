#include "base/Utf8.h"

namespace velmora {

std::size_t lengthOfUtf8Character(std::string_view text)
{
    if (text.empty())
        return 0;
    const auto at = [text](std::size_t index) { return static_cast<unsigned char>(text[index]); };
    const unsigned char first = at(0);
    if (first < 0x80)
        return 1;
    const std::size_t length = first >= 0xf0 ? 4 : first >= 0xe0 ? 3 : 2;
    if (first < 0xc2 || first > 0xf4 || text.size() < length)
        return 0;
    const unsigned char second = at(1);
    const unsigned char low = first == 0xe0 ? 0xa0 : first == 0xf0 ? 0x90 : 0x80;
    const unsigned char high = first == 0xed ? 0x9f : first == 0xf4 ? 0x8f : 0xbf;
    if (second < low || second > high)
        return 0;
    for (std::size_t index = 2; index < length; ++index) {
        if ((at(index) & 0xc0) != 0x80)
            return 0;
    }
    return length;
}

}  // namespace velmora
