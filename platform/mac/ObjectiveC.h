// Values of Foundation as the program has them. Objective-C++ only.
#pragma once

#include "base/Geometry.h"
#include "base/Result.h"

#import <Foundation/Foundation.h>
#include <string>

namespace velmora::mac_backend {

/// Empty for none.
[[nodiscard]] inline std::string textOf(NSString* text)
{
    return text ? std::string{text.UTF8String} : std::string{};
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
