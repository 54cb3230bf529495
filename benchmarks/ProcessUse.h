// Time, and what programs use of it and of memory, seen from outside.
#pragma once

#include <chrono>
#include <sys/types.h>

namespace velmora::benchmarks {

/// Since its construction.
class Stopwatch {
public:
    [[nodiscard]] double seconds() const { return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin_).count(); }
    [[nodiscard]] double milliseconds() const { return seconds() * 1e3; }

private:
    std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
};

/// Processor time of all threads of a process so far, also of those that have ended, user and system, seconds (clock_getcpuclockid(3)). 0
/// when there is no such process.
[[nodiscard]] double processorSeconds(pid_t process);

/// What a process uses from the object's construction on, in seconds of processor time a second.
class ProcessorShare {
public:
    explicit ProcessorShare(pid_t process) : process_(process), before_(processorSeconds(process)) { }

    [[nodiscard]] double soFar() const { return (processorSeconds(process_) - before_) / stopwatch_.seconds(); }

private:
    pid_t process_;
    Stopwatch stopwatch_;
    double before_;
};

/// Megabytes of 2^20 bytes (proc(5), VmRSS).
[[nodiscard]] double residentMegabytes(pid_t process);

/// Of these what is in no file, and so can be shared with no other process (proc(5), RssAnon).
[[nodiscard]] double anonymousMegabytes(pid_t process);

/// And what is in shared memory: the pictures that go round between a window and the encoder, for one (proc(5), RssShmem).
[[nodiscard]] double sharedMegabytes(pid_t process);

/// Waits until a process has used less than a hundredth of a processor for a second: all that a start or a window brings is done then.
/// Goes on after half a minute in any case.
void awaitRest(pid_t process);

}  // namespace velmora::benchmarks
