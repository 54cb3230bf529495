// What a person who records with the shortcut waits for, and what the program takes meanwhile, as a table. Runs in a private desktop.

#include "benchmarks/Benchmark.h"
#include "benchmarks/ProcessUse.h"
#include "tests/support/desktop/Screen.h"
#include "tests/support/desktop/TrayProgram.h"
#include "tests/support/recording/RecordedClip.h"
#include "tests/support/recording/Subjects.h"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace velmora::test;
using namespace std::chrono_literals;
using namespace velmora::benchmarks;

constexpr Budget budget{.once = 80s, .again = 0s};
constexpr auto measured = 5s;
constexpr int rounds = 9;

void require(bool happened, const char* what)
{
    if (!happened)
        throw std::runtime_error(what);
}

/// CLOCK_MONOTONIC nanoseconds of the clip's begin: of any frame that the window showed, when it was shown less its time in the clip.
std::int64_t beginOf(const std::filesystem::path& file, const NumberedWindow& window, std::uint32_t stillFrame)
{
    const auto clip = readClip(file);
    require(clip.video.has_value(), "the clip has no pictures");
    const auto shown = window.shown();
    for (const auto& picture : clip.video->pictures) {
        const auto number = picture.reading.number();
        const auto frame = number ? shown.find(*number) : shown.end();
        if (frame != shown.end() && frame->first > stillFrame)
            return frame->second - static_cast<std::int64_t>(picture.time * 1e9);
    }
    throw std::runtime_error("the clip shows no motion");
}

double processorShare(const TrayProgram& program)
{
    const ProcessorShare share{program.processID()};
    record(measured);
    return share.soFar();
}

/// What pictures there are depends on what else the machine has to do: a burst brings more for two seconds.
double residentWithoutPictures(const TrayProgram& program)
{
    return residentMegabytes(program.processID()) - sharedMegabytes(program.processID());
}

/// One recording whose start is pressed at another moment of the half second between two pictures each time. Seconds.
double startToFirstPicture(TrayProgram& program, NumberedWindow& window, int round)
{
    const auto still = static_cast<std::uint32_t>(std::stoul(window.command("still").substr(6)));
    record(1s + round * 500ms / rounds);
    const auto press = monotonicNow();
    pressKeys({"alt+super+c"});
    require(program.hasState("recordingClip"), "no recording by the shortcut");
    record(1s);
    window.command("go");
    record(500ms);
    require(program.saveByShortcut(), "the recording was not saved");
    return static_cast<double>(beginOf(program.lastSavedClip(), window, still) - press) / 1e9;
}

void measure(Figures& figures)
{
    TrayProgram program;
    record(3s);
    const auto addMemory = [&](const std::string& what) {
        figures.addMemory(what, program.processID());
        figures.add("   of which pictures", sharedMegabytes(program.processID()), 1, "MB");
    };
    addMemory("Resident with the small window of a desktop without a tray");
    NumberedWindow window{{"--size", "1280x720", "--scene", "grain", "--motion", "25", "--still"}};
    const auto listed = awaitWindow(window.title());
    require(program.run({"select", std::to_string(listed.id)}).status == 0 && program.hasState("capturing"), "no capture");
    record(2s);
    figures.add("Capturing a still window of 1280x720: processor", processorShare(program), 3, "s/s");
    addMemory("resident");
    window.command("go");
    figures.add("Capturing a quarter in motion: processor", processorShare(program), 3, "s/s");
    const auto captured = residentWithoutPictures(program);
    addMemory("resident");

    // In one recording: the notice of an earlier one would be part of what is resident.
    window.command("still");
    require(program.startByShortcut(), "no recording by the shortcut");
    figures.add("Recording it still again, without sound: processor", processorShare(program), 3, "s/s");
    window.command("go");
    figures.add("Recording a quarter in motion: processor", processorShare(program), 3, "s/s");
    addMemory("resident");
    figures.add("what recording adds to it, but for pictures", residentWithoutPictures(program) - captured, 1, "MB");
    const Stopwatch press;
    require(program.saveByShortcut(), "the recording was not saved");
    figures.add("Press to the finished file of some seconds, looked for by the command line", press.milliseconds(), 0, "ms");
    record(3s);
    addMemory("Resident with the notice of the clip");
    require(program.run({"preview", program.lastSavedClip()}).status == 0, "no preview");
    record(3s);
    addMemory("Resident with a preview open");

    std::vector<double> starts;
    starts.reserve(rounds);
    for (int round = 0; round < rounds; ++round)
        starts.push_back(startToFirstPicture(program, window, round));
    figures.add("Press to the clip's first picture, still window, median", median(starts) * 1e3, 0, "ms");
    figures.add("the longest of " + std::to_string(rounds), *std::max_element(starts.begin(), starts.end()) * 1e3, 0, "ms");
}

}  // namespace

int main(int argc, char** argv)
{
    return runBenchmark(argc, argv, budget, [](Figures& figures) { figures.row([&] { measure(figures); }); });
}
