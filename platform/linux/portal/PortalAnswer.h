// What the portal's response means where a user may grant or refuse something: a shared window, a shortcut.
#pragma once

#include "platform/linux/portal/Errors.h"
#include "platform/linux/portal_access/PortalRequest.h"

#include <optional>
#include <utility>

namespace velmora::linux_backend {

/// The results; none when the user cancelled.
using PortalAnswer = Result<std::optional<QVariantMap>>;

[[nodiscard]] inline PortalAnswer answerOf(Result<PortalResponse> response)
{
    if (!response) {
        const bool hasEnded = response.error().code == PortalRequest::portalEnded;
        return failPortal(hasEnded ? PortalErrorCode::unavailable : PortalErrorCode::refused, response.error().localizedDescription);
    }
    switch (response->code) {
    case PortalResponse::succeeded:
        return std::optional{std::move(response->results)};
    case PortalResponse::cancelled:
        return std::optional<QVariantMap>{};
    default:
        return failPortal(PortalErrorCode::refused, "The desktop's portal gave no answer.");
    }
}

}  // namespace velmora::linux_backend
