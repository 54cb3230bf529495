// Where the trash is on a Mac, and where this program keeps its own files.
#pragma once

#include "base/Result.h"

#include <filesystem>

namespace velmora::mac_backend {

/// The trash for a file, which is on the same file system if the system has one there; made where it is missing.
[[nodiscard]] Result<std::filesystem::path> trashFolderFor(const std::filesystem::path& file);

/// Of this program and user; not made. Fails where the account has none.
[[nodiscard]] Result<std::filesystem::path> supportFolder();

}  // namespace velmora::mac_backend
