// The desktop around the program on a Mac.
#pragma once

#include "platform/Workspace.h"

#include <memory>

namespace velmora::mac_backend {

std::shared_ptr<platform::Workspace> makeWorkspace();

}  // namespace velmora::mac_backend
