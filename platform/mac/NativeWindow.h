// The window of a view that the program knows by its address. Objective-C++ only.
#pragma once

#import <AppKit/AppKit.h>
#include <cstdint>

namespace velmora::mac_backend {

/// nil where the view is in none.
[[nodiscard]] inline NSWindow* windowOf(std::uint64_t nativeWindow)
{
    return ((__bridge NSView*)reinterpret_cast<void*>(nativeWindow)).window;
}

}  // namespace velmora::mac_backend
