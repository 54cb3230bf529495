// Ten real minutes of `velmora record`: what grows, and how soon after them the file is finished. Runs in a private desktop.

#include "benchmarks/Benchmark.h"
#include "benchmarks/LongRecording.h"

using namespace velmora::benchmarks;

int main(int argc, char** argv)
{
    return runBenchmark(argc, argv, {.once = std::chrono::seconds{690}, .again = {}},
        [](Figures& figures) { measureLongRecording(figures, {.size = "1280x720", .minutes = 10}); });
}
