// Random access to one file, small enough to be faked: every byte that this folder reads or writes passes through here.
#pragma once

#include "base/Result.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>

namespace velmora::mp4 {

/// Offsets and sizes are bytes from the beginning of the file. Used on one thread at a time, except removeFromFolder(), moveTo(),
/// isStillInFolder() and currentPath(), which are safe on any. Errors are the system's (domain posixErrorDomain, an errno value as code).
class File {
public:
    /// Closes the file and gives up its lock.
    virtual ~File() = default;

    /// Writes some of `bytes`, at least one; how many is the result. Writing past the end makes the file longer.
    virtual Result<std::size_t> writeSomeAt(std::uint64_t offset, std::span<const std::byte> bytes) = 0;

    /// Reads some bytes into `bytes`, at least one unless `offset` is at or past the end; how many is the result.
    virtual Result<std::size_t> readSomeAt(std::uint64_t offset, std::span<std::byte> bytes) = 0;

    virtual Result<std::uint64_t> size() = 0;
    virtual Result<void> truncate(std::uint64_t size) = 0;

    /// Makes the file at least `size` bytes long, with room on the disk for all of them: writing there later cannot fail for lack
    /// of space.
    virtual Result<void> allocate(std::uint64_t size) = 0;

    /// Returns when what has been written would survive a loss of power.
    virtual Result<void> sync() = 0;

    /// The same for the file's entry in its folder; once, after creation.
    virtual Result<void> syncFolder() = 0;

    /// Takes the lock that tells other processes that somebody is writing this file; false when another holds it. The lock lasts as
    /// long as this object. Fails where the file system has no locks.
    virtual Result<bool> tryLock() = 0;

    /// Whether the path by which this was opened still leads to this file, and not to nothing or to another.
    virtual bool isStillInFolder() = 0;

    /// Where the file lies now, whoever moved it there; none when it has been deleted or nobody can tell.
    virtual std::optional<std::filesystem::path> currentPath() { return std::nullopt; }

    /// Removes the file's entry, if the file still has the name by which this was opened. In the folder where this created it, that holds
    /// even when the folder has been renamed.
    virtual Result<void> removeFromFolder() = 0;

    /// Gives the file another name on the same volume, in one step that never replaces what already has that name: EEXIST then, and
    /// also if that is a link that leads nowhere. Moves this file and no other: ENOENT where removeFromFolder() would remove nothing.
    /// Afterwards this object no longer has a name for the file: isStillInFolder() is false.
    virtual Result<void> moveTo(const std::filesystem::path& path) = 0;

    /// Whether a process that the lock does not reveal may be writing the file: one on another computer, if the file system keeps its
    /// locks to this one. No writer is silent for a minute.
    virtual Result<bool> mayHaveWriterElsewhere() { return false; }

    /// Copies some of the `count` bytes at `from` in `source` to `to`, at least one unless `source` ends there; how many is the result.
    /// `buffer` is for bytes that have to pass through memory.
    virtual Result<std::size_t> copySomeFrom(
        File& source, std::uint64_t from, std::uint64_t to, std::size_t count, std::span<std::byte> buffer);

    /// Writes all of `bytes`. After a failure any part of them may have been written.
    Result<void> writeAt(std::uint64_t offset, std::span<const std::byte> bytes);

    /// Fills `bytes`; false when the file ends before they are full.
    Result<bool> readAt(std::uint64_t offset, std::span<std::byte> bytes);

    /// Copies all of the bytes; false when `source` ends sooner. After a failure any part of them may have been written.
    Result<bool> copyFrom(File& source, std::uint64_t from, std::uint64_t to, std::uint64_t count, std::span<std::byte> buffer);
};

}  // namespace velmora::mp4
