// Inside the engine: files that are moved without getting into anybody's way.
#pragma once

#include "base/Result.h"
#include "media/mp4/File.h"

#include <filesystem>
#include <functional>
#include <memory>

namespace velmora::engine {

/// Opens a regular file with the lock that everybody takes who changes or moves it. Fails with EBUSY where somebody else has it, with ELOOP
/// for a link, and with ENOENT where the file is gone by then.
Result<std::unique_ptr<mp4::File>> openToMove(const std::filesystem::path& path);

/// As other clips get them: NAME.mp4, NAME-1.mp4, NAME-2.mp4 and so on, until `put` no longer says that something has that name.
Result<std::filesystem::path> underAFreeName(const std::filesystem::path& folder, const std::filesystem::path& name,
    const std::function<Result<void>(const std::filesystem::path&)>& put);

}  // namespace velmora::engine
