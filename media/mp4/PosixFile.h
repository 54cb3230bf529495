// A file of the operating system.
#pragma once

#include "media/mp4/File.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>

namespace velmora::mp4 {

class PosixFile final : public File {
public:
    /// Creates the file for reading and writing; fails when anything has that name already, a dangling link included. Holds its folder
    /// open, so that the file is moved and removed in it whatever it is called by then.
    static Result<std::unique_ptr<File>> create(const std::filesystem::path& path);

    /// Opens a regular file for reading, through links too. Anything else (a FIFO, a device, a folder) is refused without being
    /// opened: EINVAL.
    static Result<std::unique_ptr<File>> openForReading(const std::filesystem::path& path);

    /// Opens a regular file for reading and writing. A link is refused with ELOOP, anything else that is not a regular file with EINVAL.
    static Result<std::unique_ptr<File>> openForUpdating(const std::filesystem::path& path);

    ~PosixFile() override;
    PosixFile(const PosixFile&) = delete;
    PosixFile& operator=(const PosixFile&) = delete;

    Result<std::size_t> writeSomeAt(std::uint64_t offset, std::span<const std::byte> bytes) override;
    Result<std::size_t> readSomeAt(std::uint64_t offset, std::span<std::byte> bytes) override;
    Result<std::uint64_t> size() override;
    Result<void> truncate(std::uint64_t size) override;
    Result<void> allocate(std::uint64_t size) override;
    Result<void> sync() override;
    Result<void> syncFolder() override;
    Result<bool> tryLock() override;
    bool isStillInFolder() override;
    std::optional<std::filesystem::path> currentPath() override;
    Result<void> removeFromFolder() override;
    Result<void> moveTo(const std::filesystem::path& path) override;
    Result<bool> mayHaveWriterElsewhere() override;

    /// Done by the kernel where the file system supports it.
    Result<std::size_t> copySomeFrom(
        File& source, std::uint64_t from, std::uint64_t to, std::size_t count, std::span<std::byte> buffer) override;

private:
    /// The name of a file in a folder that is open, or AT_FDCWD and a path.
    struct Entry {
        int folder;
        std::filesystem::path name;
    };

    PosixFile(int descriptor, std::filesystem::path path, Entry entry)
        : descriptor_(descriptor)
        , path_(std::move(path))
        , entry_(std::move(entry))
    {
    }

    static Result<std::unique_ptr<File>> open(const std::filesystem::path& path, int flags);

    [[nodiscard]] Error error(int errnoValue) const;
    [[nodiscard]] bool isAt(int folder, const std::filesystem::path& name) const;
    [[nodiscard]] Result<void> renameTo(const std::filesystem::path& path) const;

    const int descriptor_;
    const std::filesystem::path path_;
    const Entry entry_;
};

}  // namespace velmora::mp4
