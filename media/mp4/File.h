// Random access to one file, small enough to be faked: every byte that this folder reads or writes passes through here.
#pragma once

#include "base/Result.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>

namespace velmora::mp4 {

/// Offsets and sizes are bytes from the beginning of the file. Used on one thread at a time, except removeFromFolder(), moveTo() and
/// isStillInFolder(), which are safe on any. Errors are those of the system (domain posixErrorDomain, an errno value as code).
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

    /// Returns when what was written would survive a loss of power.
    virtual Result<void> sync() = 0;

    /// The same for the file's entry in its folder; once, after creation.
    virtual Result<void> syncFolder() = 0;

    /// Takes the lock that tells other processes that somebody writes this file; false when another holds it. The lock lasts as
    /// long as this object. Fails where the file system has no locks.
    virtual Result<bool> tryLock() = 0;

    /// Whether the path that this was opened by still leads to this file, and not to nothing or to another one.
    virtual bool isStillInFolder() = 0;

    /// Where the file lies now, whoever moved it there; none when it was deleted or nobody can tell.
    virtual std::optional<std::filesystem::path> currentPath() { return std::nullopt; }

    /// Removes the file's entry if isStillInFolder().
    virtual Result<void> removeFromFolder() = 0;

    /// Gives the file another name on the same volume, in one step that leaves alone whatever has that name already: EEXIST then, and
    /// also where that is a link that leads nowhere; and no other file than this one: ENOENT unless isStillInFolder(). Afterwards this
    /// object knows the file by no name: isStillInFolder() is false.
    virtual Result<void> moveTo(const std::filesystem::path& path) = 0;

    /// Whether a process may be writing the file that the lock does not tell of: one on another computer, where the file system keeps its
    /// locks to this one. Nobody who writes is silent for a minute.
    virtual Result<bool> mayHaveWriterElsewhere() { return false; }

    /// Copies some of the `count` bytes at `from` in `source` to `to`, at least one unless `source` ends there; how many is the result.
    /// `buffer` is at hand for bytes that have to pass through memory.
    virtual Result<std::size_t> copySomeFrom(
        File& source, std::uint64_t from, std::uint64_t to, std::size_t count, std::span<std::byte> buffer);

    /// Writes all of `bytes`. After a failure any part of them may have been written.
    Result<void> writeAt(std::uint64_t offset, std::span<const std::byte> bytes);

    /// Fills `bytes`; false when the file ends before they are full.
    Result<bool> readAt(std::uint64_t offset, std::span<std::byte> bytes);

    /// Copies all of the bytes; false when `source` ends before. After a failure any part of them may have been written.
    Result<bool> copyFrom(File& source, std::uint64_t from, std::uint64_t to, std::uint64_t count, std::span<std::byte> buffer);
};

}  // namespace velmora::mp4
