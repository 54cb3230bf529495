// Seam: the file system as the features see it.
#pragma once

#include "base/Result.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <vector>

namespace velmora::platform {

struct FileAttributes {
    /// The time of the last modification where the file system keeps none.
    std::optional<std::chrono::system_clock::time_point> creationDate;
    std::optional<std::int64_t> size;  ///< bytes
};

/// Thread-safe. Paths are absolute.
class FileManager {
public:
    virtual ~FileManager() = default;

    /// The user's Movies directories, best first; empty when the account has none. Nothing is created.
    [[nodiscard]] virtual std::vector<std::filesystem::path> moviesDirectories() const = 0;
    [[nodiscard]] virtual std::filesystem::path homeDirectory() const = 0;

    /// Whether anything is there, and whether it is a directory. A link counts as what it points to.
    [[nodiscard]] virtual bool fileExists(const std::filesystem::path& path, bool* isDirectory = nullptr) const = 0;

    /// What lies immediately in `directory`, in the order of the file system; without names that begin with a dot if `skipsHiddenFiles`.
    [[nodiscard]] virtual Result<std::vector<std::filesystem::path>> contentsOfDirectory(
        const std::filesystem::path& directory, bool skipsHiddenFiles) const = 0;

    /// For a link, those of what it points to. Opens nothing.
    [[nodiscard]] virtual Result<FileAttributes> attributesOfItem(const std::filesystem::path& path) const = 0;

    /// Succeeds when this user may create files in `directory`. Creates none.
    [[nodiscard]] virtual Result<void> checkWritable(const std::filesystem::path& directory) const = 0;

    /// Creates `path` and what is missing above it.
    virtual Result<void> createDirectory(const std::filesystem::path& path) = 0;

    /// Removes a file or a link, but never a directory or a file into which somebody is writing a clip.
    virtual Result<void> removeFile(const std::filesystem::path& path) = 0;
};

}  // namespace velmora::platform
