// Values of Foundation as the program has them. Objective-C++ only.
#pragma once

#include "base/Geometry.h"
#include "base/Result.h"

#import <Foundation/Foundation.h>
#include <filesystem>
#include <string>
#include <string_view>

namespace velmora::mac_backend {

/// Empty for none.
[[nodiscard]] inline std::string textOf(NSString* text)
{
    return text ? std::string{text.UTF8String} : std::string{};
}

/// Never nil: each byte above ASCII of what is not UTF-8 is a question mark.
[[nodiscard]] inline NSString* textFrom(std::string_view text)
{
    if (NSString* const made = [[NSString alloc] initWithBytes:text.data() length:text.size() encoding:NSUTF8StringEncoding])
        return made;
    std::string readable{text};
    for (char& each : readable) {
        if (static_cast<unsigned char>(each) >= 0x80)
            each = '?';
    }
    return [[NSString alloc] initWithBytes:readable.data() length:readable.size() encoding:NSUTF8StringEncoding];
}

/// Of any bytes. nil for an empty path.
[[nodiscard]] inline NSURL* urlOf(const std::filesystem::path& file)
{
    return file.empty() ? nil : [NSURL fileURLWithFileSystemRepresentation:file.c_str() isDirectory:NO relativeToURL:nil];
}

/// Empty for none, and for what is no file.
[[nodiscard]] inline std::filesystem::path pathOf(NSURL* url)
{
    return url.fileURL ? std::filesystem::path{url.fileSystemRepresentation} : std::filesystem::path{};
}

[[nodiscard]] inline Rect rectOf(CGRect rect)
{
    return {rect.origin.x, rect.origin.y, rect.size.width, rect.size.height};
}

/// Never without a description.
[[nodiscard]] inline Error errorOf(NSError* error, const char* otherwise)
{
    auto description = textOf(error.localizedDescription);
    return {textOf(error.domain), static_cast<int>(error.code), description.empty() ? otherwise : std::move(description), nullptr};
}

}  // namespace velmora::mac_backend
