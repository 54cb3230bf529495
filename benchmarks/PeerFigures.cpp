// Velmora beside what a person would use instead, in turn on the same window of the same desktop: processor time, frames that reach the
// file, likeness of the pictures, sound against picture. Runs in a private desktop whose screen has room for a whole window of 1920x1080.

#include "benchmarks/Benchmark.h"
#include "benchmarks/peers/Comparison.h"
#include "tests/support/recording/RecordedClip.h"
#include "tests/support/recording/Subjects.h"

#include <cmath>
#include <cstdio>
#include <exception>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

namespace {

using namespace velmora::benchmarks;
using namespace velmora::test;

constexpr Budget budget{.once = std::chrono::seconds{270}, .again = std::chrono::seconds{30}};
constexpr int offsetSeconds = 10;

std::vector<Load> loads()
{
    const auto* grain = Scene::named("grain");
    std::vector<Load> all;
    for (const auto& [name, width, height] : {std::tuple{"720p", 1280, 720}, std::tuple{"1080p", 1920, 1080}}) {
        const std::string size = name;
        all.push_back({size + ", full motion", grain, 100, 60, width, height});
        all.push_back({size + ", a quarter moving", grain, 25, 60, width, height});
        all.push_back({size + ", still", nullptr, 0, 60, width, height});
    }
    return all;
}

void printOffsets(Figures& figures, const std::vector<Recorder>& recorders)
{
    const TemporaryDirectory directory;
    makeFlashAndBeepClip(directory.path() / "source.mp4", offsetSeconds);
    const VideoPlayer player{"Flash and beep", directory.path() / "source.mp4"};
    awaitPlayingStreams(1);
    std::vector<Figures::Compared> offsets;
    for (const auto& recorder : recorders) {
        double offset = std::nan("");
        try {
            const auto file = directory.path() / (recorder.name + ".mp4");
            const auto recording = recorder.start(player.window(), file);
            std::this_thread::sleep_for(std::chrono::seconds{offsetSeconds});
            recording->finish();
            const auto all = beepsAgainstFlashes(readClip(file));
            if (!all.empty())
                offset = std::abs(median(all)) * 1e3;
        } catch (const std::exception& error) {
            std::fprintf(stderr, "peer_figures: %s, sound: %s\n", recorder.name.c_str(), error.what());
        }
        offsets.push_back({recorder.name, offset});
    }
    figures.compare("Flash and beep in mpv: sound from picture, median", offsets, 1, "ms", true);
}

void measure(Figures& figures)
{
    RecorderComparison comparison;
    for (const auto& load : loads())
        comparison.compare(figures, load);
    figures.row([&] { printOffsets(figures, comparison.recorders()); });
}

}  // namespace

int main(int argc, char** argv)
{
    return runBenchmark(argc, argv, budget, measure);
}
