// The frame of every benchmark: a program is its rows, and this is the rest.
#pragma once

#include "benchmarks/Figures.h"

#include <chrono>
#include <functional>

namespace velmora::benchmarks {

/// A benchmark's main. Takes "--json FILE" from the command line; prints the number of processors, the load average before and after what
/// `measure` adds, and how long that took; writes the file. `measure` may run Qt's event loop. The budget is what it may take on a quiet
/// machine: figures that were disturbed are not taken again beyond it. Returns the exit status: 1, and a message on standard error, after
/// an exception; 2 for any other argument.
int runBenchmark(int argc, char** argv, std::chrono::seconds budget, const std::function<void(Figures&)>& measure);

}  // namespace velmora::benchmarks
