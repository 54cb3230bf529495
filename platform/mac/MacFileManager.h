// Files and folders of the current user on a Mac.
#pragma once

#include "platform/FileManager.h"

#include <memory>

namespace velmora::mac_backend {

std::shared_ptr<platform::FileManager> makeFileManager();

}  // namespace velmora::mac_backend
