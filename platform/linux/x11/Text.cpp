#include "platform/linux/x11/Text.h"

#include "base/Utf8.h"

#include <cstddef>

namespace velmora::linux_backend {

namespace {

constexpr std::string_view replacement = "\xef\xbf\xbd";

std::string_view untilNul(std::string_view bytes)
{
    return bytes.substr(0, bytes.find('\0'));
}

bool isContinuation(unsigned char byte)
{
    return (byte & 0xc0) == 0x80;
}

}  // namespace

std::string validUtf8(std::string_view bytes)
{
    bytes = untilNul(bytes);
    std::string result;
    result.reserve(bytes.size());
    while (!bytes.empty()) {
        const auto length = lengthOfUtf8Character(bytes);
        if (length > 0) {
            result += bytes.substr(0, length);
            bytes.remove_prefix(length);
            continue;
        }
        // One replacement for a broken sequence, not one for each of its bytes.
        result += replacement;
        bytes.remove_prefix(1);
        while (!bytes.empty() && isContinuation(static_cast<unsigned char>(bytes.front())))
            bytes.remove_prefix(1);
    }
    return result;
}

std::string fromLatin1(std::string_view bytes)
{
    std::string result;
    for (const char character : untilNul(bytes)) {
        const auto byte = static_cast<unsigned char>(character);
        if (byte < 0x80) {
            result += character;
        } else {
            result += static_cast<char>(0xc0 | (byte >> 6));
            result += static_cast<char>(0x80 | (byte & 0x3f));
        }
    }
    return result;
}

std::string fromCompoundText(std::string_view bytes)
{
    bytes = untilNul(bytes);
    constexpr char escape = '\x1b';
    std::string result;
    bool isLatin1 = true;
    while (!bytes.empty()) {
        if (bytes.front() != escape) {
            const auto segment = bytes.substr(0, bytes.find(escape));
            result += isLatin1 ? fromLatin1(segment) : std::string{replacement};
            bytes.remove_prefix(segment.size());
            continue;
        }
        if (bytes.starts_with("\x1b%G")) {
            bytes.remove_prefix(3);
            const auto segment = bytes.substr(0, bytes.find("\x1b%@"));
            result += validUtf8(segment);
            bytes.remove_prefix(segment.size());
            if (!bytes.empty())
                bytes.remove_prefix(3);
            continue;
        }
        // An escape sequence: intermediate bytes 0x20 to 0x2f, then one final byte (ISO 2022). ASCII left and Latin 1 right are
        // the two designations that need no table.
        std::size_t length = 1;
        while (length < bytes.size() && bytes[length] >= 0x20 && bytes[length] <= 0x2f)
            ++length;
        const auto sequence = bytes.substr(0, length + 1);
        isLatin1 = sequence == "\x1b(B" || sequence == "\x1b-A";
        bytes.remove_prefix(sequence.size());
    }
    return result;
}

}  // namespace velmora::linux_backend
