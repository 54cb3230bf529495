// A file that gets its name when it is whole.
#pragma once

#include "base/Result.h"
#include "media/mp4/File.h"

#include <cstddef>
#include <filesystem>
#include <memory>
#include <utility>

namespace velmora::mp4 {

/// Lies under a hidden name in the folder where it belongs until it is published, and is gone with this object when it never is. A lock on
/// the file tells who comes across it that it has an owner. Used on one thread, except discard(), which is safe on any.
class PendingFile {
public:
    /// Fails with the system's error where `folder` takes no file.
    static Result<std::unique_ptr<PendingFile>> create(const std::filesystem::path& folder);

    ~PendingFile();
    PendingFile(const PendingFile&) = delete;
    PendingFile& operator=(const PendingFile&) = delete;

    [[nodiscard]] File& file() { return *file_; }

    /// Returns when the bytes are on the disk; before publish(). A name that leads to a whole file is then all that anybody can see.
    Result<void> sync() { return file_->sync(); }

    /// Gives the file its name, in the same folder. Fails with EEXIST where anything has that name; another may be tried then.
    Result<void> publish(const std::filesystem::path& path);

    /// Removes the file at once, unless it is published.
    void discard();

private:
    explicit PendingFile(std::unique_ptr<File> file) : file_(std::move(file)) { }

    const std::unique_ptr<File> file_;
};

/// Removes the files in `folder` that have such a hidden name and no owner: those of a process that was killed. The lock goes with its
/// process, however that ends, so one that can be taken is nobody's; where the file system has no locks, nothing is removed. How many
/// were. Any thread.
std::size_t removeAbandonedFiles(const std::filesystem::path& folder);

}  // namespace velmora::mp4
