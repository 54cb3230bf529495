// Which processes belong to an application: a process and what descends from it.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace velmora::linux_backend {

/// What /proc/<pid>/stat says of a process (proc(5)).
struct ProcessRecord {
    std::int32_t parent = 0;
    std::uint64_t startTime = 0;  ///< clock ticks since boot; with the pid it names one process for good
};

/// The record of a live process; none when there is no such process.
[[nodiscard]] std::optional<ProcessRecord> readProcessRecord(std::int32_t processID);

/// Now, in the units of ProcessRecord::startTime.
[[nodiscard]] std::uint64_t clockTicksSinceBoot();

/// The program file that a process runs; empty when that is not told.
[[nodiscard]] std::string readExecutable(std::int32_t processID);

/// Takes the fields out of the text of a stat file. The name in it may hold anything, blanks, brackets and line breaks included.
[[nodiscard]] std::optional<ProcessRecord> parseProcessStat(const std::string& text);

/// The tree below one process, asked anew each time: processes come and go. Not thread-safe, cheap to ask (one small read for each
/// generation between the two).
class ProcessTree {
public:
    /// True for a process that is outside, together with everything below it. The root itself is never asked about.
    using Exclusion = std::function<bool(std::int32_t processID)>;
    using Reader = std::function<std::optional<ProcessRecord>(std::int32_t processID)>;

    /// `root` is remembered with its start time: when the pid is given to another process, the tree is empty. `reader` is for tests.
    explicit ProcessTree(std::int32_t root, Exclusion excluded = {}, Reader reader = readProcessRecord);

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
[[nodiscard]] std::int32_t topmostOfProgram(std::int32_t processID, const ProcessTree::Reader& reader = readProcessRecord,
    const std::function<std::string(std::int32_t)>& executable = readExecutable);

}  // namespace velmora::linux_backend
