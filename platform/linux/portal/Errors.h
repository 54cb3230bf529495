// What can go wrong on the way to a window that the desktop's portal shares.
#pragma once

#include "base/Result.h"

#include <string>

namespace velmora::linux_backend {

enum class PortalErrorCode : int {
    unavailable = 1,  ///< no portal answers, or it cannot share windows
    refused = 2,  ///< a request was refused, or ended without an answer
    windowUnavailable = 3,  ///< the desktop ended the sharing: the window was closed, or the user stopped it
    connectionLost = 4,
    unsupportedPixels = 5,
    noPicture = 6,  ///< the window was shared, but none of its pictures came
    invalidSize = 7,
};

[[nodiscard]] inline tl::unexpected<Error> failPortal(PortalErrorCode code, std::string description)
{
    return fail("Velmora.Portal", static_cast<int>(code), std::move(description));
}

}  // namespace velmora::linux_backend
