#include "platform/linux/x11/X11ScreenCaptureAccess.h"

#include "platform/linux/x11/X11VideoSource.h"

#include <utility>

namespace velmora::linux_backend {

X11ScreenCaptureAccess::X11ScreenCaptureAccess(std::string displayName) : displayName_(std::move(displayName)) { }

bool X11ScreenCaptureAccess::preflightScreenCaptureAccess()
{
    const auto available = X11VideoSource::checkAvailable(displayName_);
    explanation_ = available ? "" : available.error().localizedDescription;
    return available.has_value();
}

bool X11ScreenCaptureAccess::requestScreenCaptureAccess()
{
    return preflightScreenCaptureAccess();
}

}  // namespace velmora::linux_backend
