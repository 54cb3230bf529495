// The frame of every benchmark: a program is its rows, and this is the rest.
#pragma once

#include "benchmarks/Figures.h"

#include <chrono>
#include <functional>

namespace velmora::benchmarks {

/// How long a benchmark lasts on a quiet machine.
struct Budget {
    std::chrono::seconds once{};  ///< with nothing taken again
    std::chrono::seconds again{};  ///< and what was disturbed, at most
};

/// A benchmark's main. Takes "--json FILE" from the command line; prints the number of processors, the load average before and after what
/// `measure` adds, and how long that took; writes the file. `measure` may run Qt's event loop. Returns the exit status: 1, and a message on
/// standard error, after an exception; 2 for any other argument.
int runBenchmark(int argc, char** argv, const Budget& budget, const std::function<void(Figures&)>& measure);

}  // namespace velmora::benchmarks
