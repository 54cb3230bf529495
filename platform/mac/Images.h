// Pictures of ours as the system shows them, and the system's as ours are. Objective-C++ only.
#pragma once

#include "platform/ApplicationIcon.h"

#import <AppKit/AppKit.h>
#include <optional>
#include <vector>

namespace velmora::mac_backend {

/// A square of `side` points, with a representation for each picture; nil where none can be used.
[[nodiscard]] NSImage* imageOf(const std::vector<platform::ApplicationIcon>& pictures, double side);

/// As a square of `side` pixels; none for nil, and where the system cannot draw it. Any thread, one at a time for each image.
[[nodiscard]] std::optional<platform::ApplicationIcon> pictureOf(NSImage* image, int side);

}  // namespace velmora::mac_backend
