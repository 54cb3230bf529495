// A file that a command is to make, never in place of another.
#pragma once

#include "base/Result.h"

#include <filesystem>
#include <string>

namespace velmora::new_file {

/// Succeeds where nothing has this name; a link counts, even one that leads nowhere. Fails with EEXIST where something has, and with
/// the system's error where that cannot be found out: no permission for the folder, a name that is too long, links that lead in a circle.
[[nodiscard]] Result<void> checkIsFree(const std::filesystem::path& path);

/// Whether the error is that something has the name already.
[[nodiscard]] bool isTaken(const Error& error);

/// What the user is told then.
[[nodiscard]] std::string alreadyThere(const std::filesystem::path& path);

}  // namespace velmora::new_file
