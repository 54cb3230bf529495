// Where the processor time of a recording goes, on each of the scenes: the most expensive functions of the recorder and of the display
// server, by perf. Runs in a private desktop whose screen has room for a whole window of 1920x1080.

#include "benchmarks/Benchmark.h"
#include "benchmarks/ProcessUse.h"
#include "benchmarks/peers/Comparison.h"
#include "benchmarks/peers/DisplayServer.h"
#include "tests/support/recording/Subjects.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace {

using namespace std::chrono_literals;
using namespace velmora::benchmarks;
using namespace velmora::test;

constexpr Budget budget{.once = 150s, .again = 0s};
constexpr auto untilItRuns = 2s;
constexpr int sampledSeconds = 6;
constexpr std::size_t shownFunctions = 5;

std::vector<Load> loads()
{
    const auto* grain = Scene::named("grain");
    return {
        {"720p, full motion", grain, 100, 60, 1280, 720},
        {"720p, a quarter moving", grain, 25, 60, 1280, 720},
        {"720p, still", nullptr, 0, 60, 1280, 720},
        {"1080p, full motion", grain, 100, 60, 1920, 1080},
        {"a film", Scene::named("film"), 100, 60, 1280, 720},
        {"a film in a quarter", Scene::named("film"), 25, 60, 1280, 720},
        {"a page that is scrolled", Scene::named("text"), 100, 60, 1280, 720},
        {"a terminal that prints", Scene::named("terminal"), 100, 60, 1280, 720},
        {"slides", Scene::named("slides"), 100, 60, 1280, 720},
    };
}

std::string outputOf(const std::vector<std::string>& command)
{
    const auto outcome = runProgram(command);
    if (outcome.status != 0)
        throw std::runtime_error(command.front() + ": " + outcome.messages);
    return outcome.output;
}

/// Takes that out of a text.
void remove(std::string& text, std::string_view part)
{
    for (auto place = text.find(part); place != std::string::npos; place = text.find(part))
        text.erase(place, part.size());
}

/// A line of "12.34%|libx264.so.164|[.] memcpy". Distributions' libraries have names for what they export and for nothing else: the rest of
/// one counts as one function. So does the kernel, in which a clock samples what lets it interrupt, and not what takes long.
std::pair<std::string, double> functionIn(const std::string& line)
{
    std::istringstream fields{line};
    std::string share;
    std::string library;
    std::string function;
    std::getline(fields, share, '|');
    std::getline(fields, library, '|');
    std::getline(fields, function);
    library.erase(library.find_last_not_of(' ') + 1);
    function.erase(function.find_last_not_of(' ') + 1);
    if (function.starts_with("[k]"))
        return {"the kernel", std::stod(share)};
    function.erase(0, std::string_view{"[.] "}.size());
    // Assembly without sizes behind the last name that libx264 exports is not that function's.
    if (function.starts_with("0x") || (library.starts_with("libx264") && function == "x264_8_trellis_coefn"))
        return {library + " without names", std::stod(share)};
    remove(function, "(anonymous namespace)::");
    function.erase(std::min(function.find_first_of("(<"), function.size()));
    return {library + ": " + function, std::stod(share)};
}

/// "function 12.3 %, …", the most expensive first.
std::string mostExpensive(const std::filesystem::path& samples, pid_t process)
{
    std::istringstream lines{outputOf({"perf", "report", "--stdio", "-q", "-i", samples.string(), "--pid", std::to_string(process),
        "--percentage", "relative", "--no-children", "-g", "none", "-F", "overhead,dso,sym", "-t", "|"})};
    std::map<std::string, double> shares;
    for (std::string line; std::getline(lines, line);) {
        if (line.find('|') == std::string::npos)
            continue;
        const auto [function, share] = functionIn(line);
        shares[function] += share;
    }
    std::vector<std::pair<std::string, double>> sorted{shares.begin(), shares.end()};
    std::sort(sorted.begin(), sorted.end(), [](const auto& one, const auto& other) { return one.second > other.second; });
    std::string text;
    for (std::size_t i = 0; i < std::min(shownFunctions, sorted.size()); ++i) {
        char share[32];
        std::snprintf(share, sizeof share, " %.1f %%", sorted[i].second);
        text += (text.empty() ? "" : ", ") + sorted[i].first + share;
    }
    return text.empty() ? "no samples" : text;
}

void profile(Figures& figures, const Load& load, const std::filesystem::path& noise)
{
    const TemporaryDirectory directory;
    const auto samples = directory.path() / "samples";
    const NumberedWindow window{windowOptions(load), noise};
    awaitPlayingStreams(1);
    RecordingProcess recording{window.id(), directory.path() / "clip.mp4"};
    if (!recording.hasFragment())
        throw std::runtime_error("no recording: " + recording.finish().messages);
    std::this_thread::sleep_for(untilItRuns);
    const auto server = displayServer();
    const ProcessorShare own{recording.processID()};
    const ProcessorShare servers{server};
    // A clock, because virtual machines count no cycles.
    outputOf({"perf", "record", "-q", "-e", "cpu-clock", "-F", "997", "-g", "-o", samples.string(), "-p",
        std::to_string(recording.processID()) + "," + std::to_string(server), "--", "sleep", std::to_string(sampledSeconds)});
    figures.add(load.name + ": processor of the recorder", own.soFar(), 3, "s/s");
    figures.text("   its functions", mostExpensive(samples, recording.processID()));
    figures.add("   processor of the display server", servers.soFar(), 3, "s/s");
    figures.text("   its functions", mostExpensive(samples, server));
    recording.signal(SIGINT);
    if (const auto outcome = recording.finish(); outcome.status != 0)
        throw std::runtime_error("the recording ended badly: " + outcome.messages);
}

void measure(Figures& figures)
{
    const TemporaryDirectory directory;
    writeNoise(directory.path() / "noise.wav", 30);
    for (const auto& load : loads())
        profile(figures, load, directory.path() / "noise.wav");
}

}  // namespace

int main(int argc, char** argv)
{
    return runBenchmark(argc, argv, budget, measure);
}
