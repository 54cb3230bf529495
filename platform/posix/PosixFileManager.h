// The seam's file manager as far as it is the same on every system with POSIX.
#pragma once

#include "platform/FileManager.h"

namespace velmora::posix_backend {

/// A back end adds where the user's files are, and what is known of a file.
class PosixFileManager : public platform::FileManager {
public:
    [[nodiscard]] bool fileExists(const std::filesystem::path& path, bool* isDirectory) const final;
    [[nodiscard]] Result<std::vector<std::filesystem::path>> contentsOfDirectory(
        const std::filesystem::path& directory, bool skipsHiddenFiles) const final;
    [[nodiscard]] Result<void> checkWritable(const std::filesystem::path& directory) const final;
    Result<void> createDirectory(const std::filesystem::path& path) final;
    Result<void> removeFile(const std::filesystem::path& path) final;
};

}  // namespace velmora::posix_backend
