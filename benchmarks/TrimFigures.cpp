// What a trim costs beside copying the bytes: a clip of an hour, trimmed and copied in turn, each flushed to the disk. The
// temporary folder needs room for three times 3.7 GB.

#include "benchmarks/Benchmark.h"
#include "benchmarks/LongClip.h"
#include "benchmarks/ProcessUse.h"
#include "media/mp4/PosixFile.h"
#include "media/mp4/Trimmer.h"
#include "tests/support/recording/RecordedClip.h"

#include <filesystem>
#include <vector>

namespace {

using namespace velmora;
using namespace velmora::benchmarks;
using test::median;

constexpr Budget budget{.once = std::chrono::seconds{85}, .again = std::chrono::seconds{0}};
constexpr std::int64_t clipSeconds = 3600;
constexpr int rounds = 3;

void measure(Figures& figures)
{
    const auto folder = std::filesystem::temp_directory_path();
    const auto source = openLongClip(folder, clipSeconds);
    // Not the whole clip: a lead-in, a cut picture, a packet that is cut.
    const TimeRange range{{1234, 1000}, {clipSeconds * 1000 - 1234, 1000}};
    figures.add("The clip of an hour", static_cast<double>(valueOf(source->size())) / 1e9, 1, "GB");
    figures.row([&] {
        std::vector<double> copies;
        std::vector<double> trims;
        std::vector<double> plans;
        for (int round = 0; round < rounds; ++round) {
            copies.push_back(copySeconds(*source, folder));
            trims.push_back(trimSeconds(*source, folder, range));
            const Stopwatch planning;
            valueOf(mp4::readAndPlanTrim(*source, range));
            plans.push_back(planning.seconds());
        }
        figures.compare(
            "Its trim beside a copy of its bytes, median", {{"velmora", median(trims)}, {"copy", median(copies)}}, 2, "s", true);
        figures.add("of that planning", median(plans), 2, "s");
    });
}

}  // namespace

int main(int argc, char** argv)
{
    return runBenchmark(argc, argv, budget, measure);
}
