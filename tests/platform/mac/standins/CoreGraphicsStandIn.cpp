#include "tests/platform/mac/standins/CoreGraphicsStandIn.h"

#include <CoreGraphics/CoreGraphics.h>

namespace velmora::standin {

ScreenAccess& screenAccess()
{
    static ScreenAccess access;
    return access;
}

}  // namespace velmora::standin

using velmora::standin::screenAccess;

extern "C" {

bool CGPreflightScreenCaptureAccess()
{
    return screenAccess().isAllowed;
}

bool CGRequestScreenCaptureAccess()
{
    ++screenAccess().questions;
    screenAccess().isAllowed = screenAccess().isAllowed || screenAccess().isAllowedWhenAsked;
    return screenAccess().isAllowed;
}

}  // extern "C"
