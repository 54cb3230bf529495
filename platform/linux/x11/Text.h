// Text as other programs wrote it, made valid UTF-8.
#pragma once

#include <string>
#include <string_view>

namespace velmora::linux_backend {

/// `bytes` with every part that is not valid UTF-8 replaced by U+FFFD and cut at the first NUL.
[[nodiscard]] std::string validUtf8(std::string_view bytes);

/// ISO 8859-1 as UTF-8, cut at the first NUL.
[[nodiscard]] std::string fromLatin1(std::string_view bytes);

/// COMPOUND_TEXT as UTF-8: ISO 8859-1 and UTF-8 segments are kept, each run of anything else becomes one U+FFFD.
[[nodiscard]] std::string fromCompoundText(std::string_view bytes);

}  // namespace velmora::linux_backend
