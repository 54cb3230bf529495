// Inside the Linux back end: the desktop's trash, by the rules that file browsers follow (freedesktop.org, Trash 1.0).
#pragma once

#include "base/Result.h"

#include <filesystem>
#include <functional>
#include <sys/types.h>

namespace velmora::linux_backend {

struct TrashedFile {
    std::filesystem::path file;  ///< where it lies now
    std::filesystem::path info;  ///< says where it lay and when it was put here
};

/// What lies in it is listed and restored by every file browser. Safe on any thread; waits for the disk, not for the file's size.
class Trash {
public:
    struct Places {
        /// The user's own trash, made where it is missing; empty: there is none.
        std::filesystem::path home;

        /// Where the file system that a folder is on is mounted, for files that cannot be moved into `home`; empty: nobody knows.
        std::function<std::filesystem::path(const std::filesystem::path& folder)> topDirectory;

        uid_t user = 0;
    };

    /// Of the user whose process this is, by XDG_DATA_HOME or else below `home`.
    static Places placesOfUser(const std::filesystem::path& home);

    /// Moves a file, without replacing what may be at `to`: EEXIST then. EXDEV where that is another file system.
    using Move = std::function<Result<void>(const std::filesystem::path& to)>;

    explicit Trash(Places places) : places_(std::move(places)) { }

    /// Puts the file at `path` into the first trash that `move` can reach. Where none can be, nothing tells of it and the file is where it
    /// was; the error is that of the last one tried.
    [[nodiscard]] Result<TrashedFile> put(const std::filesystem::path& path, const Move& move) const;

    /// Deletes what was put in.
    static void remove(const TrashedFile& trashed);

private:
    const Places places_;
};

/// The outermost folder above `folder`, or itself, that is on the same file system; empty where `folder` cannot be examined.
[[nodiscard]] std::filesystem::path mountPoint(const std::filesystem::path& folder);

}  // namespace velmora::linux_backend
