#include "benchmarks/Benchmark.h"

#include "benchmarks/ProcessUse.h"

#include <QCoreApplication>

#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <thread>

namespace velmora::benchmarks {

namespace {

std::string loadAverage()
{
    std::ifstream file{"/proc/loadavg"};
    std::string one;
    file >> one;
    return one;
}

}  // namespace

int runBenchmark(int argc, char** argv, const Budget& budget, const std::function<void(Figures&)>& measure)
{
    const bool wantsFile = argc == 3 && std::string_view{argv[1]} == "--json";
    if (argc != 1 && !wantsFile) {
        std::fprintf(stderr, "usage: %s [--json FILE]\n", argv[0]);
        return 2;
    }
    const QCoreApplication application{argc, argv};
    try {
        const Stopwatch stopwatch;
        Figures figures{wantsFile ? argv[2] : "", budget.again};
        figures.add("Processors", std::thread::hardware_concurrency(), 0, "");
        figures.text("Load average before", loadAverage());
        measure(figures);
        figures.text("Load average after", loadAverage());
        figures.add(
            "Took, of " + std::to_string(budget.once.count()) + " s and " + std::to_string(budget.again.count()) + " for repetitions",
            stopwatch.seconds(), 0, "s");
        figures.write();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", std::filesystem::path{argv[0]}.filename().c_str(), error.what());
        return 1;
    }
    return 0;
}

}  // namespace velmora::benchmarks
