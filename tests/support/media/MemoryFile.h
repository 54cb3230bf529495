// A file in memory that can fail, be slow, lie beyond 4 GiB and lose power.
#pragma once

#include "base/Mutex.h"
#include "media/mp4/File.h"

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <limits>
#include <map>
#include <optional>
#include <vector>

namespace velmora::test {

/// Pages of zeros take no memory. Locks: one for each object, `lockedByAnother` plays the other process.
class MemoryFile final : public mp4::File {
public:
    static constexpr std::size_t pageSize = 4096;

    struct Faults {
        /// The write of this number (from 0) fails with `errnoValue`, and all later ones too when `lasting`.
        std::size_t failingWrite = std::numeric_limits<std::size_t>::max();
        bool lasting = true;
        int errnoValue = 28;  // ENOSPC
        /// Writing beyond this many bytes of the file fails with ENOSPC; a write that begins before that is cut short.
        std::uint64_t capacity = std::numeric_limits<std::uint64_t>::max();
        /// No call moves more than this.
        std::size_t largestTransfer = std::numeric_limits<std::size_t>::max();
        std::size_t failingSync = std::numeric_limits<std::size_t>::max();
        /// The read of this number (from 0) fails with EIO.
        std::size_t failingRead = std::numeric_limits<std::size_t>::max();
    };

    /// One change, as it was requested.
    struct Operation {
        enum class Kind { write, truncate, sync } kind;
        std::uint64_t offset = 0;
        std::vector<std::byte> bytes;
    };

    MemoryFile() = default;
    explicit MemoryFile(const std::vector<std::byte>& content);

    Result<std::size_t> writeSomeAt(std::uint64_t offset, std::span<const std::byte> bytes) override;
    Result<std::size_t> readSomeAt(std::uint64_t offset, std::span<std::byte> bytes) override;
    Result<std::uint64_t> size() override { return size_; }
    Result<void> truncate(std::uint64_t size) override;
    Result<void> allocate(std::uint64_t size) override;
    Result<void> sync() override;
    Result<void> syncFolder() override { return {}; }
    Result<bool> tryLock() override { return !lockedByAnother; }
    Result<bool> mayHaveWriterElsewhere() override { return writtenElsewhere; }
    bool isStillInFolder() override { return isInFolder; }
    Result<void> removeFromFolder() override
    {
        isInFolder = false;
        return {};
    }
    Result<void> moveTo(const std::filesystem::path&) override
    {
        isInFolder = false;
        return {};
    }

    [[nodiscard]] std::vector<std::byte> content();
    /// Writes the content as a sparse file.
    void saveTo(const std::filesystem::path& path);

    Faults faults;
    bool lockedByAnother = false;
    bool writtenElsewhere = false;
    std::atomic<bool> isInFolder = true;  ///< removal is safe on any thread
    std::size_t writeCount = 0;
    std::size_t syncCount = 0;
    std::size_t readCount = 0;
    /// Called before every write; a test may wait in it.
    std::function<void()> beforeWrite;
    /// When set, every change is recorded here.
    std::vector<Operation>* journal = nullptr;

private:
    std::uint64_t size_ = 0;
    std::uint64_t allocated_ = 0;
    std::map<std::uint64_t, std::vector<std::byte>> pages_;
};

}  // namespace velmora::test
