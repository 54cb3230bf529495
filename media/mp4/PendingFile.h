// A file that gets its name only when it is whole.
#pragma once

#include "base/Result.h"
#include "media/mp4/File.h"

#include <cstddef>
#include <filesystem>
#include <memory>
#include <utility>

namespace velmora::mp4 {

/// Lies under a hidden name in the folder where it belongs until it is published; if it never is, it goes with this object. A lock on
/// the file tells whoever comes across it that it has an owner. Used on one thread, except discard(), which is safe on any.
class PendingFile {
public:
    /// Fails with the system's error if no file can be created in `folder`.
    static Result<std::unique_ptr<PendingFile>> create(const std::filesystem::path& folder);

    ~PendingFile();
    PendingFile(const PendingFile&) = delete;
    PendingFile& operator=(const PendingFile&) = delete;

    [[nodiscard]] File& file() { return *file_; }

    /// Returns when the bytes are on the disk. Call it before publish(): then nobody ever sees the name of a file that is not whole.
    Result<void> sync() { return file_->sync(); }

    /// Gives the file its name, in the same folder. Fails with EEXIST if anything has that name; another may then be tried.
    Result<void> publish(const std::filesystem::path& path);

    /// Removes the file at once, unless it has been published.
    void discard();

private:
    explicit PendingFile(std::unique_ptr<File> file) : file_(std::move(file)) { }

    const std::unique_ptr<File> file_;
};

/// An empty file on the volume of `folder` that has no name and goes with its object, or with the process however that ends. Fails with the
/// system's error if no file can be created in `folder`.
Result<std::unique_ptr<File>> createNamelessFile(const std::filesystem::path& folder);

/// Removes the files in `folder` that have such a hidden name and no owner: those of a process that was killed. A lock goes with its
/// process, however that ends, so a file whose lock can be taken has no owner; without locks in the file system, nothing is removed.
/// Returns how many were removed. Any thread.
std::size_t removeAbandonedFiles(const std::filesystem::path& folder);

}  // namespace velmora::mp4
