// Whether this program may capture the screen, as the system's privacy settings have it on a Mac.
#pragma once

#include "platform/ScreenCaptureAccess.h"

#include <memory>

namespace velmora::mac_backend {

std::shared_ptr<platform::ScreenCaptureAccess> makeScreenCaptureAccess();

}  // namespace velmora::mac_backend
