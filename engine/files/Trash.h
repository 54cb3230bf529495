// Where files go that nobody is to see any more.
#pragma once

#include "base/Result.h"

#include <chrono>
#include <filesystem>
#include <functional>
#include <optional>
#include <vector>

namespace velmora::engine {

struct TrashedFile {
    std::filesystem::path file;  ///< where it lies now
    std::filesystem::path info;  ///< says where it lay and when it was put here; empty where a desktop needs no such file
};

/// What the trash knows of a file that put() put in.
struct TrashEntry {
    TrashedFile trashed;
    std::filesystem::path origin;  ///< where it lay; absolute
    std::chrono::system_clock::time_point deleted;  ///< in whole seconds
    bool wasOffered = false;  ///< see noteOffered()
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

    /// The same for a file that the user deletes: it lies there like what any program puts in, and is none of entries().
    [[nodiscard]] virtual Result<TrashedFile> putDeleted(const std::filesystem::path& path, const Move& move) const = 0;

    /// Deletes what was put in, or what is left of it once the file has been moved out.
    virtual void remove(const TrashedFile& trashed) const = 0;

    /// The files that put() put in, in this run of the program or an earlier one, and that are still there. What others put in is none of
    /// ours, nor what was put in again after it had been taken out.
    [[nodiscard]] virtual std::vector<TrashEntry> entries() const = 0;

    /// The same for one file; none where it is no longer there.
    [[nodiscard]] virtual std::optional<TrashEntry> entry(const TrashedFile& trashed) const = 0;

    /// Keeps, beyond this run of the program, that the user has been told of the file.
    virtual void noteOffered(const TrashedFile& trashed) const = 0;
};

}  // namespace velmora::engine
