// Which processes belong to an application: a process and what descends from it.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace velmora::engine {

/// What the system says about a process.
struct ProcessRecord {
    std::int32_t parent = 0;
    std::uint64_t startTime = 0;  ///< in the system's own unit; together with the id it names one process for good
};

/// The tree below one process, asked anew each time: processes come and go. Not thread-safe, cheap to ask (one small read for each
/// generation between the two).
class ProcessTree {
public:
    /// True for a process that is outside the tree, with everything below it. The root itself is never asked about.
    using Exclusion = std::function<bool(std::int32_t processID)>;
    using Reader = std::function<std::optional<ProcessRecord>(std::int32_t processID)>;

    /// `root` is remembered with its start time: once its pid belongs to another process, the tree is empty.
    ProcessTree(std::int32_t root, Exclusion excluded, Reader reader);

    /// True when `processID` is the root or descends from it through live parents, none of them excluded.
    [[nodiscard]] bool contains(std::int32_t processID) const;

private:
    std::int32_t root_;
    std::uint64_t rootStartTime_ = 0;
    bool rootLived_ = false;
    Exclusion excluded_;
    Reader reader_;
};

/// The topmost of the processes above this one, itself included, that run the same program with no other between them: for a browser, the
/// process that its helpers come from.
[[nodiscard]] std::int32_t topmostOfProgram(
    std::int32_t processID, const ProcessTree::Reader& reader, const std::function<std::string(std::int32_t)>& executable);

/// What a back end tells about the system's processes. Nothing is cached; answers come on the caller's thread.
struct Processes {
    ProcessTree::Reader record;  ///< of a live process; none when there is no such process
    std::function<std::string(std::int32_t)> executable;  ///< the program file that a process runs; empty when unknown
    std::function<std::uint64_t()> now;  ///< in the unit of ProcessRecord::startTime
    std::int32_t own = 0;  ///< this process
};

}  // namespace velmora::engine
