// Text as bytes.
#pragma once

#include <cstddef>
#include <string_view>

namespace velmora {

/// How many bytes the character has with which `text` begins, 1 to 4; 0 when it begins with none (RFC 3629: the shortest form alone, no halves
/// of pairs, nothing beyond U+10FFFF) and when `text` is empty.
[[nodiscard]] std::size_t lengthOfUtf8Character(std::string_view text);

}  // namespace velmora
