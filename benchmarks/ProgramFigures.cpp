// How soon the program is there and how much it takes, as a table, beside the smallest program that could do it. Runs in a private desktop.

#include "benchmarks/Benchmark.h"
#include "benchmarks/ProcessUse.h"
#include "benchmarks/TrayDesktop.h"
#include "tests/support/recording/RecordedClip.h"
#include "tests/support/recording/Subjects.h"

#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;
using namespace velmora::benchmarks;
using namespace velmora::test;

constexpr Budget budget{.once = 55s, .again = 15s};
constexpr int rounds = 6;
constexpr int clipCount = 500;

/// Longer than the program keeps what its windows brought.
constexpr auto untilWindowsAreForgotten = 30s;

/// How long a menu needs to take the keyboard, and to let go of it. Nothing tells us when.
constexpr auto forTheKeyboard = 300ms;

struct Start {
    double untilDocked = 0;  ///< milliseconds
    double resident = 0;  ///< megabytes
    double anonymous = 0;
};

Start measureStart(DesktopWatch& watch, const std::vector<std::string>& command, const Environment& environment)
{
    const Stopwatch stopwatch;
    const TrayItem item{watch, command, environment};
    Start start{.untilDocked = stopwatch.milliseconds()};
    awaitRest(item.processID());
    start.resident = residentMegabytes(item.processID());
    start.anonymous = anonymousMegabytes(item.processID());
    return start;
}

void addStarts(Figures& figures, DesktopWatch& watch, const Environment& environment)
{
    std::vector<double> ours;
    std::vector<double> bare;
    Start start;
    Start bareStart;
    for (int round = 0; round < rounds; ++round) {
        start = measureStart(watch, ::velmora::test::velmora({}), environment);
        bareStart = measureStart(watch, {VELMORA_BARE_TRAY_ITEM}, environment);
        // The first of each warms the disk's cache.
        if (round > 0) {
            ours.push_back(start.untilDocked);
            bare.push_back(bareStart.untilDocked);
        }
    }
    figures.compare("Start to item in the tray, median", {{"velmora", median(ours)}, {"bare Qt", median(bare)}}, 0, "ms", true);
    figures.compare("Resident with the item only", {{"velmora", start.resident}, {"bare Qt", bareStart.resident}}, 1, "MB", true);
    figures.compare("   of which in no file", {{"velmora", start.anonymous}, {"bare Qt", bareStart.anonymous}}, 1, "MB", true);
}

void addWindows(Figures& figures, DesktopWatch& watch, const Environment& environment)
{
    const TrayItem item{watch, environment};
    if (!waitUntil([&] { return runVelmora({"status"}, environment).status == 0; }))
        throw std::runtime_error("the program does not answer");

    std::vector<double> menus;
    for (int round = 0; round < rounds; ++round) {
        watch.forget();
        const Stopwatch stopwatch;
        watch.click(item.icon());
        watch.awaitMenu();
        menus.push_back(stopwatch.milliseconds());
        std::this_thread::sleep_for(forTheKeyboard);
        watch.press({escapeKey});
        std::this_thread::sleep_for(forTheKeyboard);
    }
    figures.add("Click to menu, 500 clips in the folder, first", menus.front(), 0, "ms");
    figures.add("Click to menu, 500 clips in the folder, median", median(menus), 0, "ms");
    figures.addMemory("Resident after that", item.processID());

    watch.click(item.icon());
    watch.awaitMenu();
    std::this_thread::sleep_for(forTheKeyboard);
    watch.press({superKey, wKey});
    const auto picker = watch.awaitText("Select Video Window", {24, 16, 240, 36});
    awaitRest(item.processID());
    figures.addMemory("Resident with the picker open", item.processID());
    watch.press({escapeKey});
    watch.awaitUnmapping(picker);
    std::this_thread::sleep_for(untilWindowsAreForgotten);
    figures.addMemory("Resident some time after it has been closed", item.processID());
}

void measure(Figures& figures)
{
    Home home;
    const auto clip = home.path() / "clip.mp4";
    makeClip(clip, "testsrc=size=320x240:rate=30", "sine", 3);
    const Tray tray;
    DesktopWatch watch;
    figures.row([&] { addStarts(figures, watch, home.environment()); });
    home.fillWithClips(clip, clipCount);
    figures.row([&] { addWindows(figures, watch, home.environment()); });
}

}  // namespace

int main(int argc, char** argv)
{
    return runBenchmark(argc, argv, budget, measure);
}
