#include "platform/linux/portal/PortalScreenCaptureAccess.h"

#include "platform/linux/portal/ScreenCastSession.h"

#include <utility>

namespace velmora::linux_backend {

PortalScreenCaptureAccess::PortalScreenCaptureAccess(std::string busAddress) : busAddress_(std::move(busAddress)) { }

bool PortalScreenCaptureAccess::preflightScreenCaptureAccess()
{
    if (isThere_)
        return true;
    const auto available = checkScreenCastAvailable(busAddress_);
    isThere_ = available.has_value();
    explanation_ = isThere_ ? std::string{} : available.error().localizedDescription;
    return isThere_;
}

}  // namespace velmora::linux_backend
