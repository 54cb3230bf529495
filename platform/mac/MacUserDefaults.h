// The preferences of the current user for this application, as the system keeps them on a Mac.
#pragma once

#include "platform/UserDefaults.h"

#include <memory>

namespace velmora::mac_backend {

std::shared_ptr<platform::UserDefaults> makeUserDefaults();

}  // namespace velmora::mac_backend
