// Figures as a table and as JSON, taken again where the machine had something else to do.
#pragma once

#include "benchmarks/QuietMachine.h"

#include <chrono>
#include <filesystem>
#include <functional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace velmora::benchmarks {

/// One benchmark's figures, printed as they come; those of a row when it ends.
class Figures {
public:
    /// They go to `file` as well, unless that is empty. What was disturbed is taken again as long as there is time left for it: so much in
    /// all, of which each measurement that is taken again uses what it took the time before.
    Figures(std::filesystem::path file, std::chrono::duration<double> forRepetitions,
        QuietMachine::Spin spin = QuietMachine::spinOnAllProcessors);

    /// Has `take` measure something, and anew, at most twice, when the machine had something else to do just before or just after it. False
    /// when it was disturbed the last time as well.
    [[nodiscard]] bool undisturbed(const std::function<void()>& take);

    /// Has `measure` add the figures that are taken together, undisturbed: only the last ones stay, with a line that says so when they were
    /// disturbed as well. Not within another.
    void row(const std::function<void()>& measure);

    void text(const std::string& what, const std::string& value);
    void add(const std::string& what, double value, int decimals, const std::string& unit);

    /// What a process has resident now, and what of it is in no file.
    void addMemory(const std::string& what, pid_t process);

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

    const std::filesystem::path file_;
    std::chrono::duration<double> forRepetitions_;  ///< what is left
    QuietMachine machine_;
    bool isInRow_ = false;
    std::vector<Figure> row_;
    std::vector<std::string> objects_;
};

}  // namespace velmora::benchmarks
