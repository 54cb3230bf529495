// Ten real minutes of `velmora record`: what grows, and how soon after them the file is finished. Runs in a private desktop.

#include "benchmarks/Benchmark.h"
#include "benchmarks/ProcessUse.h"
#include "tests/support/recording/Subjects.h"

#include <csignal>
#include <stdexcept>
#include <string>
#include <thread>

namespace {

using namespace velmora::test;
using namespace velmora::benchmarks;

constexpr Budget budget{.once = std::chrono::seconds{690}, .again = std::chrono::seconds{0}};
constexpr int minutes = 10;

void measure(Figures& figures)
{
    const TemporaryDirectory directory;
    writeNoise(directory.path() / "noise.wav", 60 * (minutes + 1));
    const NumberedWindow window{{"--size", "1280x720", "--scene", "grain", "--motion", "25"}, directory.path() / "noise.wav"};
    awaitPlayingStreams(1);
    RecordingProcess recording{window.id(), directory.path() / "clip.mp4"};
    if (!recording.hasFragment())
        throw std::runtime_error("no recording: " + recording.finish().messages);
    for (int minute = 1; minute <= minutes; ++minute) {
        const ProcessorShare share{recording.processID()};
        std::this_thread::sleep_for(std::chrono::minutes{1});
        const auto name = "Minute " + std::to_string(minute) + ": ";
        figures.add(name + "resident", residentMegabytes(recording.processID()), 1, "MB");
        figures.add(name + "processor", share.soFar(), 3, "s/s");
    }
    const Stopwatch stopwatch;
    recording.signal(SIGINT);
    if (const auto outcome = recording.finish(); outcome.status != 0)
        throw std::runtime_error("the recording ended badly: " + outcome.messages);
    figures.add("Stop to the finished file and the program's end", stopwatch.milliseconds(), 0, "ms");
    figures.add("The file", static_cast<double>(std::filesystem::file_size(recording.file())) / 1e6, 0, "MB");
}

}  // namespace

int main(int argc, char** argv)
{
    return runBenchmark(argc, argv, budget, measure);
}
