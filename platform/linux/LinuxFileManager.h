// The file system of a Linux account, with its XDG user directories.
#pragma once

#include "platform/FileManager.h"

#include <memory>
#include <string>
#include <string_view>

namespace velmora::linux_backend {

std::shared_ptr<platform::FileManager> makeFileManager();

/// The value of XDG_VIDEOS_DIR in the text of a user-dirs.dirs file (xdg-user-dirs): an absolute path, or one below $HOME. Empty when
/// the entry is missing, malformed, or names the home folder itself, which is how that file says "none".
std::filesystem::path videosDirectory(std::string_view userDirectories, const std::filesystem::path& home);

}  // namespace velmora::linux_backend
