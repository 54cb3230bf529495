// Pictures of ours as the system shows them. Objective-C++ only.
#pragma once

#include "platform/ApplicationIcon.h"

#import <AppKit/AppKit.h>
#include <vector>

namespace velmora::mac_backend {

/// A square of `side` points, with a representation for each picture; nil where none can be used.
[[nodiscard]] NSImage* imageOf(const std::vector<platform::ApplicationIcon>& pictures, double side);

}  // namespace velmora::mac_backend
