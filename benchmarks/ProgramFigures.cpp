// How soon the program is there and how much it takes, as a table, beside the smallest program that could do it. Runs in a private desktop.

#include "benchmarks/DesktopWatch.h"
#include "benchmarks/Figures.h"
#include "tests/support/recording/RecordedClip.h"
#include "tests/support/recording/Subjects.h"
#include "tests/support/recording/Velmora.h"

#include <csignal>
#include <cstdio>
#include <exception>
#include <fstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace velmora::test;
using velmora::benchmarks::anonymousMegabytes;
using velmora::benchmarks::DesktopWatch;
using velmora::benchmarks::escapeKey;
using velmora::benchmarks::Figures;
using velmora::benchmarks::residentMegabytes;
using velmora::benchmarks::superKey;
using velmora::benchmarks::wKey;

constexpr int rounds = 7;
constexpr int clipCount = 500;

/// Longer than the program keeps what its windows brought.
constexpr std::int64_t untilWindowsAreForgotten = 40'000'000'000;

double milliseconds(std::int64_t since)
{
    return static_cast<double>(monotonicNow() - since) / 1e6;
}

void pause(std::int64_t nanoseconds)
{
    const auto end = monotonicNow() + nanoseconds;
    waitUntil([&] { return monotonicNow() >= end; });
}

struct Start {
    double untilDocked = 0;  ///< milliseconds
    double resident = 0;  ///< megabytes
    double anonymous = 0;
};

/// Ended before it returns.
Start measureStart(DesktopWatch& windows, const std::vector<std::string>& command, const Environment& environment)
{
    windows.forget();
    const auto begin = monotonicNow();
    Program program{command, environment};
    windows.awaitDocking();
    Start start{.untilDocked = milliseconds(begin), .resident = 0, .anonymous = 0};
    // Until it has done all that a start brings.
    double before = -1;
    waitUntil([&] {
        pause(500'000'000);
        return std::exchange(before, residentMegabytes(program.processID())) == before;
    });
    start.resident = before;
    start.anonymous = anonymousMegabytes(program.processID());
    program.signal(SIGTERM);
    program.finish();
    return start;
}

void printStarts(Figures& figures, DesktopWatch& windows, const Environment& environment)
{
    std::vector<double> ours;
    std::vector<double> bare;
    Start start;
    Start bareStart;
    for (int i = 0; i < rounds; ++i) {
        start = measureStart(windows, ::velmora::test::velmora({}), environment);
        bareStart = measureStart(windows, {VELMORA_BARE_TRAY_ITEM}, environment);
        // The first of each warms the disk's cache.
        if (i > 0) {
            ours.push_back(start.untilDocked);
            bare.push_back(bareStart.untilDocked);
        }
    }
    figures.compare("Start to item in the tray, median", {{"velmora", median(ours)}, {"bare Qt", median(bare)}}, 0, "ms", true);
    figures.compare("Resident with the item only", {{"velmora", start.resident}, {"bare Qt", bareStart.resident}}, 1, "MB", true);
    figures.compare("   in no file", {{"velmora", start.anonymous}, {"bare Qt", bareStart.anonymous}}, 1, "MB", true);
}

void printWindows(Figures& figures, DesktopWatch& windows, const Environment& environment)
{
    windows.forget();
    Program program{::velmora::test::velmora({}), environment};
    const auto icon = windows.awaitDocking();
    if (!waitUntil([&] { return runVelmora({"status"}, environment).status == 0; }))
        throw std::runtime_error("the program does not answer");

    std::vector<double> menus;
    for (int i = 0; i < rounds; ++i) {
        windows.forget();
        const auto begin = monotonicNow();
        windows.click(icon);
        windows.awaitMenu();
        menus.push_back(milliseconds(begin));
        // A menu hears keys only once it has taken the keyboard, and nothing tells us when.
        pause(300'000'000);
        windows.press({escapeKey});
        pause(300'000'000);
    }
    figures.add("Click to menu, 500 clips in the folder, first", menus.front(), 0, "ms");
    figures.add("Click to menu, 500 clips in the folder, median", median(menus), 0, "ms");

    // With what a menu leaves behind.
    const auto pid = program.processID();
    figures.add("Resident after that", residentMegabytes(pid), 1, "MB");
    figures.add("   in no file", anonymousMegabytes(pid), 1, "MB");
    windows.click(icon);
    windows.awaitMenu();
    pause(300'000'000);
    windows.press({superKey, wKey});
    const auto picker = windows.awaitText("Select Video Window", {24, 16, 240, 36});
    pause(1'000'000'000);
    figures.add("Resident with the picker open", residentMegabytes(pid), 1, "MB");
    figures.add("   in no file", anonymousMegabytes(pid), 1, "MB");
    windows.press({escapeKey});
    windows.awaitUnmapping(picker);
    pause(untilWindowsAreForgotten);
    figures.add("Resident some time after it has been closed", residentMegabytes(pid), 1, "MB");
    figures.add("   in no file", anonymousMegabytes(pid), 1, "MB");
    program.signal(SIGTERM);
    program.finish();
}

}  // namespace

int main(int argc, char** argv)
{
    Figures figures{argc, argv};
    try {
        const TemporaryDirectory home;
        const Environment environment{{"HOME", home.path().string()}, {"XDG_CONFIG_HOME", (home.path() / "config").string()}};
        std::filesystem::create_directories(home.path() / "config" / "velmora");
        std::ofstream{home.path() / "config" / "velmora" / "velmora.conf"} << "[General]\nhasCompletedWalkthrough=true\n";
        const auto folder = home.path() / "Movies" / "Velmora";
        std::filesystem::create_directories(folder);
        makeClip(home.path() / "clip.mp4", "testsrc=size=320x240:rate=30", "sine", 3);

        const Program tray{{"trayer"}};
        if (!waitUntil([] { return runProgram({"xdotool", "search", "--onlyvisible", "--name", "^panel$"}).status == 0; }))
            throw std::runtime_error("there is no tray");
        DesktopWatch windows;
        figures.row([&] { printStarts(figures, windows, environment); });
        for (int i = 0; i < clipCount; ++i)
            std::filesystem::copy_file(home.path() / "clip.mp4", folder / ("clip " + std::to_string(i) + ".mp4"));
        figures.row([&] { printWindows(figures, windows, environment); });
        figures.write();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "program_figures: %s\n", error.what());
        return 1;
    }
    return 0;
}
