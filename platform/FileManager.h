// Seam: the file system as the features see it.
#pragma once

#include "base/Result.h"

#include <filesystem>
#include <vector>

namespace velmora::platform {

/// Thread-safe. Paths are absolute.
class FileManager {
public:
    virtual ~FileManager() = default;

    /// The user's Movies directories, best first; empty when the account has none. Nothing is created.
    [[nodiscard]] virtual std::vector<std::filesystem::path> moviesDirectories() const = 0;
    [[nodiscard]] virtual std::filesystem::path homeDirectory() const = 0;

    /// Whether anything is there, and whether it is a directory. A link counts as what it points to.
    [[nodiscard]] virtual bool fileExists(const std::filesystem::path& path, bool* isDirectory = nullptr) const = 0;

    /// Creates `path` and what is missing above it.
    virtual Result<void> createDirectory(const std::filesystem::path& path) = 0;

    /// Removes a file or a link, never a directory.
    virtual Result<void> removeFile(const std::filesystem::path& path) = 0;
};

}  // namespace velmora::platform
