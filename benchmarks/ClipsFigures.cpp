// How soon the clips window shows the first of 10,000 clips, and what it takes, as a table. Runs in a private desktop.

#include "app/control/InstanceBus.h"
#include "benchmarks/Benchmark.h"
#include "benchmarks/ProcessUse.h"
#include "benchmarks/TrayDesktop.h"
#include "tests/support/recording/RecordedClip.h"
#include "tests/support/recording/Subjects.h"

#include <algorithm>
#include <iterator>
#include <regex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;
using namespace velmora::benchmarks;
using namespace velmora::test;

constexpr Budget budget{.once = 60s, .again = 0s};
constexpr int clipCount = 10'000;
constexpr int rounds = 5;
constexpr int pages = 60;
constexpr auto betweenPages = 60ms;

constexpr const char* title = "Clips — Velmora";
constexpr Area heading{24, 18, 60, 32};
constexpr Area firstPicture{60, 125, 150, 60};

struct Opening {
    double heading = 0;  ///< milliseconds
    double picture = 0;
    double processor = 0;
};

Opening open(DesktopWatch& watch, pid_t process)
{
    namespace bus = velmora::instance_bus;
    Opening opening;
    const auto processor = processorSeconds(process);
    const Stopwatch stopwatch;
    callProgram(bus::applicationInterface, QStringLiteral("ActivateAction"),
        {QString{QLatin1String{bus::showClipsAction}}, QVariantList{}, QVariantMap{}});
    const auto window = watch.awaitText(title, heading);
    opening.heading = stopwatch.milliseconds();
    watch.awaitPicture(window, firstPicture);
    opening.picture = stopwatch.milliseconds();
    opening.processor = (processorSeconds(process) - processor) * 1e3;
    return opening;
}

template <typename Value>
std::vector<double> each(const std::vector<Opening>& openings, Value Opening::*value)
{
    std::vector<double> values;
    std::transform(openings.begin(), openings.end(), std::back_inserter(values), [&](const Opening& one) { return one.*value; });
    return values;
}

/// Milliseconds that frames took, by what Qt says of each.
std::vector<double> frameTimes(const std::string& log)
{
    const std::regex pattern{"Frame rendered with '[a-z]+' renderloop in ([0-9]+)ms"};
    std::vector<double> times;
    for (std::sregex_iterator match{log.begin(), log.end(), pattern}, none; match != none; ++match)
        times.push_back(std::stod((*match)[1]));
    return times;
}

class Rounds {
public:
    Rounds()
    {
        const auto clip = home_.path() / "clip.mp4";
        makeClip(clip, "color=white:size=320x180:rate=10", "sine", 1);
        home_.fillWithClips(clip, clipCount);
    }

    /// The first opening of a new program.
    Opening measure(bool areKept)
    {
        if (!areKept)
            std::filesystem::remove_all(home_.path() / "cache");
        const TrayItem item{watch_, environment()};
        awaitRest(item.processID());
        return open(watch_, item.processID());
    }

    void measureMemory(Figures& figures)
    {
        auto talkative = environment();
        talkative["QT_LOGGING_RULES"] = "qt.scenegraph.time.renderloop=true";
        TrayItem item{watch_, talkative};
        const auto addAtRest = [&](const std::string& what) {
            awaitRest(item.processID());
            figures.addMemory(what, item.processID());
        };
        addAtRest("Resident before");
        open(watch_, item.processID());
        addAtRest("The window open");
        scroll("Next");
        addAtRest("after " + std::to_string(pages) + " pages down");
        scroll("Prior");
        addAtRest("and up again");
        auto times = frameTimes(item.end().messages);
        if (times.size() < pages)
            throw std::runtime_error("there are no frame times");
        std::sort(times.begin(), times.end());
        figures.add("Frames while it was scrolled", static_cast<double>(times.size()), 0, "");
        figures.add("95 % of them within", times[times.size() * 95 / 100], 0, "ms");
        figures.add("the longest", times.back(), 0, "ms");
    }

private:
    [[nodiscard]] Environment environment() const
    {
        auto environment = home_.environment();
        environment["XDG_CACHE_HOME"] = (home_.path() / "cache").string();
        environment["XDG_DATA_HOME"] = (home_.path() / "data").string();
        return environment;
    }

    static void scroll(const char* key)
    {
        for (int i = 0; i < pages; ++i) {
            runProgram({"xdotool", "key", key});
            std::this_thread::sleep_for(betweenPages);
        }
    }

    Home home_;
    DesktopWatch watch_;
};

void print(Figures& figures, const std::string& what, const std::vector<Opening>& openings)
{
    figures.add(what + ": call over the bus to the heading, first opening", median(each(openings, &Opening::heading)), 0, "ms");
    figures.add("   to the first picture", median(each(openings, &Opening::picture)), 0, "ms");
    figures.add("   processor time of the program's threads", median(each(openings, &Opening::processor)), 0, "ms");
}

void measure(Figures& figures)
{
    const Tray tray;
    Rounds measured;
    std::vector<Opening> made;
    std::vector<Opening> kept;
    for (int round = 0; round < rounds; ++round) {
        made.push_back(measured.measure(false));
        kept.push_back(measured.measure(true));
    }
    print(figures, "Pictures that have to be made", made);
    print(figures, "Pictures that are kept", kept);
    measured.measureMemory(figures);
}

}  // namespace

int main(int argc, char** argv)
{
    return runBenchmark(argc, argv, budget, measure);
}
