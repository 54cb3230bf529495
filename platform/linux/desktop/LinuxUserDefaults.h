// Preferences in the XDG configuration folder.
#pragma once

#include "platform/UserDefaults.h"

#include <filesystem>
#include <memory>

namespace velmora::linux_backend {

/// In velmora/velmora.conf of the configuration folder, or in `file`. What cannot be written lasts as long as this process.
std::shared_ptr<platform::UserDefaults> makeUserDefaults(const std::filesystem::path& file = {});

}  // namespace velmora::linux_backend
