// Which processes belong to an application: a process and what descends from it.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace velmora::engine {

/// What the system says of a process.
struct ProcessRecord {
    std::int32_t parent = 0;
    std::uint64_t startTime = 0;  ///< in a unit of the system's; with the id it names one process for good
};

/// The tree below one process, asked anew each time: processes come and go. Not thread-safe, cheap to ask (one small read for each
/// generation between the two).
class ProcessTree {
public:
    /// True for a process that is outside, together with everything below it. The root itself is never asked about.
    using Exclusion = std::function<bool(std::int32_t processID)>;
    using Reader = std::function<std::optional<ProcessRecord>(std::int32_t processID)>;

    /// `root` is remembered with its start time: when the pid is given to another process, the tree is empty.
    ProcessTree(std::int32_t root, Exclusion excluded, Reader reader);

    /// True when `processID` is the root or descends from it by live parents, none of them excluded.
    [[nodiscard]] bool contains(std::int32_t processID) const;

private:
    std::int32_t root_;
    std::uint64_t rootStartTime_ = 0;
    bool rootLived_ = false;
    Exclusion excluded_;
    Reader reader_;
};

/// The topmost of the processes above this one, itself included, that run the same program without another between them: of a browser, the
/// process that its helpers come from.
[[nodiscard]] std::int32_t topmostOfProgram(
    std::int32_t processID, const ProcessTree::Reader& reader, const std::function<std::string(std::int32_t)>& executable);

/// What a back end tells of the system's processes. Each is asked anew, on the thread of whoever asks.
struct Processes {
    ProcessTree::Reader record;  ///< of a live process; none when there is no such process
    std::function<std::string(std::int32_t)> executable;  ///< the program file that a process runs; empty when that is not told
    std::function<std::uint64_t()> now;  ///< in the unit of ProcessRecord::startTime
    std::int32_t own = 0;  ///< this process
};

}  // namespace velmora::engine
