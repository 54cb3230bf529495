// What a trim costs beside copying the bytes: a clip of an hour, trimmed and copied in turn, each flushed to the disk. The
// temporary folder needs room for three times 3.7 GB.

#include "benchmarks/Figures.h"
#include "benchmarks/LongClip.h"
#include "media/mp4/PosixFile.h"
#include "media/mp4/Trimmer.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <vector>

namespace {

using namespace velmora;
using benchmarks::copySeconds;
using benchmarks::trimSeconds;
using benchmarks::valueOf;
using Clock = std::chrono::steady_clock;

constexpr std::int64_t clipSeconds = 3600;
constexpr int rounds = 3;

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

}  // namespace

int main(int argc, char** argv)
{
    benchmarks::Figures figures{argc, argv};
    const auto folder = std::filesystem::temp_directory_path();
    const auto path = folder / "velmora-trim-figures.mp4";
    benchmarks::writeLongClip(path, clipSeconds);
    const auto source = valueOf(mp4::PosixFile::openForReading(path));
    // From here on nothing is left behind, however this ends.
    std::filesystem::remove(path);
    const auto gigabytes = static_cast<double>(valueOf(source->size())) / 1e9;

    // Not the whole clip: a lead-in, a cut picture, a packet that is cut.
    const TimeRange range{{1234, 1000}, {clipSeconds * 1000 - 1234, 1000}};
    figures.add("The clip of an hour", gigabytes, 1, "GB");
    figures.row([&] {
        std::vector<double> copies;
        std::vector<double> trims;
        std::vector<double> plans;
        for (int round = 0; round < rounds; ++round) {
            copies.push_back(copySeconds(*source, folder));
            trims.push_back(trimSeconds(*source, folder, range));
            const auto begin = Clock::now();
            valueOf(mp4::readAndPlanTrim(*source, range));
            plans.push_back(std::chrono::duration<double>(Clock::now() - begin).count());
        }
        figures.compare(
            "Its trim beside a copy of its bytes, median", {{"velmora", median(trims)}, {"copy", median(copies)}}, 2, "s", true);
        figures.add("of that planning", median(plans), 2, "s");
    });
    try {
        figures.write();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "trim_figures: %s\n", error.what());
        return 1;
    }
    return 0;
}
