// The screens of a Mac.
#pragma once

#include "platform/Screens.h"

#include <memory>

namespace velmora::mac_backend {

std::shared_ptr<platform::Screens> makeScreens();

}  // namespace velmora::mac_backend
