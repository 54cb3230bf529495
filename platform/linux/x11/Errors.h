// What can go wrong on the way to an X server's windows.
#pragma once

#include "base/Result.h"

#include <string>

namespace velmora::linux_backend {

enum class X11ErrorCode : int {
    displayUnavailable = 1,  ///< no server answers, or it refused us
    extensionMissing = 2,
    windowUnavailable = 3,  ///< destroyed or withdrawn
    windowNotOnScreen = 4,  ///< exists, but is minimised or on another workspace
    unsupportedPixels = 5,  ///< a depth or byte order that pictures cannot be made of
    connectionLost = 6,
    invalidSize = 7,
};

[[nodiscard]] inline tl::unexpected<Error> failX11(X11ErrorCode code, std::string description)
{
    return fail("Velmora.X11", static_cast<int>(code), std::move(description));
}

}  // namespace velmora::linux_backend
