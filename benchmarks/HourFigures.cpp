// A real hour of `velmora record` of a large window: what grows, and how many pictures are in the file. Runs in a private desktop.

#include "benchmarks/Benchmark.h"
#include "benchmarks/LongRecording.h"

using namespace velmora::benchmarks;

int main(int argc, char** argv)
{
    return runBenchmark(argc, argv, {.once = std::chrono::seconds{3700}, .again = {}},
        [](Figures& figures) { measureLongRecording(figures, {.size = "1920x1080", .minutes = 60, .every = 5}); });
}
