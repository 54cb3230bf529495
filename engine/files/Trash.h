// Where files go that nobody is to see any more.
#pragma once

#include "base/Result.h"

#include <filesystem>
#include <functional>

namespace velmora::engine {

struct TrashedFile {
    std::filesystem::path file;  ///< where it lies now
    std::filesystem::path info;  ///< says where it lay and when it was put here; empty where a desktop needs no such file
};

/// The desktop's trash. Every file browser lists and restores what lies in it. Safe on any thread; waits for the disk, but no
/// longer for a large file.
class Trash {
public:
    /// Moves a file. Replaces nothing: EEXIST if something is at `to`. EXDEV if that is on another file system.
    using Move = std::function<Result<void>(const std::filesystem::path& to)>;

    virtual ~Trash() = default;

    /// Puts the file at `path` into the first trash that `move` can reach. If it can reach none, no trace is left and the file is where it
    /// was; the error is that of the last one tried.
    [[nodiscard]] virtual Result<TrashedFile> put(const std::filesystem::path& path, const Move& move) const = 0;

    /// Deletes what was put in.
    virtual void remove(const TrashedFile& trashed) const = 0;
};

}  // namespace velmora::engine
