// Where files go that nobody should see any more.
#pragma once

#include "base/Result.h"

#include <filesystem>
#include <functional>

namespace velmora::engine {

struct TrashedFile {
    std::filesystem::path file;  ///< where it lies now
    std::filesystem::path info;  ///< says where it lay and when it was put here; empty where a desktop needs no such file
};

/// The desktop's trash. What lies in it is listed and restored by every file browser. Safe on any thread; waits for the disk, not for the
/// file's size.
class Trash {
public:
    /// Moves a file, without replacing what may be at `to`: EEXIST then. EXDEV where that is another file system.
    using Move = std::function<Result<void>(const std::filesystem::path& to)>;

    virtual ~Trash() = default;

    /// Puts the file at `path` into the first trash that `move` can reach. Where none can be, nothing tells of it and the file is where it
    /// was; the error is that of the last one tried.
    [[nodiscard]] virtual Result<TrashedFile> put(const std::filesystem::path& path, const Move& move) const = 0;

    /// Deletes what was put in.
    virtual void remove(const TrashedFile& trashed) const = 0;
};

}  // namespace velmora::engine
