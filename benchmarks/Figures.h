// What the benchmarks share: processor time and memory of a program from outside, and figures as a table and as JSON.
#pragma once

#include "benchmarks/QuietMachine.h"

#include <filesystem>
#include <functional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace velmora::benchmarks {

/// Processor time of all threads of a process so far, user and system, seconds (proc(5), stat). 0 when there is no such process.
[[nodiscard]] double processorSeconds(pid_t process);

/// The same of the threads that it has now, to the microsecond instead of the hundredth (proc(5), schedstat).
[[nodiscard]] double processorTime(pid_t process);

/// Megabytes of 2^20 bytes (proc(5), VmRSS).
[[nodiscard]] double residentMegabytes(pid_t process);

/// Of these what is in no file, and so can be shared with no other process (proc(5), RssAnon).
[[nodiscard]] double anonymousMegabytes(pid_t process);

[[nodiscard]] std::string loadAverage();

/// One benchmark's figures, printed as they come; those of a row when it ends.
class Figures {
public:
    /// Takes "--json FILE" from the command line; exits with 2 when there is anything else.
    Figures(int argc, char** argv, QuietMachine::Spin spin = QuietMachine::spinOnAllProcessors);

    /// Has `measure` add the figures that are taken together. When the machine had something else to do just before or just after it, they
    /// are taken anew, at most twice; only the last ones stay, with a line that says so when they were disturbed as well. Not within
    /// another.
    void row(const std::function<void()>& measure);

    void text(const std::string& what, const std::string& value);
    void add(const std::string& what, double value, int decimals, const std::string& unit);

    /// The same thing for several programs, the first of them ours. With the ratio of ours to the best peer, which is the lowest when
    /// `isLessBetter`. NaN is what a program could not do.
    struct Compared {
        std::string program;
        double value = 0;
    };
    void compare(const std::string& what, const std::vector<Compared>& programs, int decimals, const std::string& unit, bool isLessBetter);

    /// Writes the file, when one is wanted: an array with an object for each figure. Throws when that fails.
    void write() const;

private:
    struct Figure {
        std::string line;
        std::string object;
    };
    void put(const std::string& what, const std::string& value, std::string object);

    std::filesystem::path file_;
    QuietMachine machine_;
    bool isInRow_ = false;
    std::vector<Figure> row_;
    std::vector<std::string> objects_;
};

}  // namespace velmora::benchmarks
