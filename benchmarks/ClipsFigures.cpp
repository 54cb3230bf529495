// How soon the clips window shows the first of 10,000 clips, and what it takes, as a table. Runs in a private desktop.

#include "app/control/InstanceBus.h"
#include "benchmarks/DesktopWatch.h"
#include "benchmarks/Figures.h"
#include "tests/support/recording/RecordedClip.h"
#include "tests/support/recording/Subjects.h"
#include "tests/support/recording/Velmora.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QString>
#include <QVariantList>
#include <QVariantMap>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace velmora::test;
using velmora::benchmarks::anonymousMegabytes;
using velmora::benchmarks::Area;
using velmora::benchmarks::DesktopWatch;
using velmora::benchmarks::Figures;
using velmora::benchmarks::loadAverage;
using velmora::benchmarks::processorTime;
using velmora::benchmarks::residentMegabytes;

constexpr int clipCount = 10'000;
constexpr int rounds = 5;
constexpr int pages = 60;
/// Until the program has done all that a start or a window brings.
constexpr std::chrono::seconds rest{8};
constexpr std::chrono::milliseconds betweenPages{60};

constexpr const char* title = "Clips — Velmora";
constexpr Area heading{24, 18, 60, 32};
constexpr Area firstPicture{60, 125, 150, 60};

struct Opening {
    double heading = 0;  ///< milliseconds
    double picture = 0;
    double processor = 0;
};

void askForClips()
{
    namespace bus = velmora::instance_bus;
    auto call = QDBusMessage::createMethodCall(QLatin1String{bus::serviceName}, QLatin1String{bus::objectPath},
        QLatin1String{bus::applicationInterface}, QStringLiteral("ActivateAction"));
    call.setArguments({QLatin1String{bus::showClipsAction}, QVariantList{}, QVariantMap{}});
    auto connection = QDBusConnection::sessionBus();
    if (!connection.send(call))
        throw std::runtime_error("there is no session bus");
}

Opening open(DesktopWatch& watch, pid_t process)
{
    Opening opening;
    const auto processor = processorTime(process);
    const auto begin = monotonicNow();
    const auto milliseconds = [&] { return static_cast<double>(monotonicNow() - begin) / 1e6; };
    askForClips();
    const auto window = watch.awaitText(title, heading);
    opening.heading = milliseconds();
    watch.awaitPicture(window, firstPicture);
    opening.picture = milliseconds();
    opening.processor = (processorTime(process) - processor) * 1e3;
    return opening;
}

void end(Program& program)
{
    program.signal(SIGTERM);
    program.finish();
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
        std::filesystem::create_directories(home_.path() / "config" / "velmora");
        std::ofstream{home_.path() / "config" / "velmora" / "velmora.conf"} << "[General]\nhasCompletedWalkthrough=true\n";
        const auto folder = home_.path() / "Movies" / "Velmora";
        std::filesystem::create_directories(folder);
        makeClip(folder / "clip.mp4", "color=white:size=320x180:rate=10", "sine", 1);
        for (int i = 1; i < clipCount; ++i)
            std::filesystem::copy_file(folder / "clip.mp4", folder / ("clip " + std::to_string(i) + ".mp4"));
    }

    /// The first opening of a new program.
    Opening measure(bool areKept)
    {
        if (!areKept)
            std::filesystem::remove_all(home_.path() / "cache");
        watch_.forget();
        Program program{::velmora::test::velmora({}), environment_};
        watch_.awaitDocking();
        std::this_thread::sleep_for(rest);
        const auto opening = open(watch_, program.processID());
        end(program);
        return opening;
    }

    void measureMemory(Figures& figures)
    {
        watch_.forget();
        auto environment = environment_;
        environment["QT_LOGGING_RULES"] = "qt.scenegraph.time.renderloop=true";
        Program program{::velmora::test::velmora({}), environment};
        watch_.awaitDocking();
        std::this_thread::sleep_for(rest);
        print(figures, "Resident before", program.processID());
        open(watch_, program.processID());
        std::this_thread::sleep_for(rest);
        print(figures, "The window open", program.processID());
        scroll("Next");
        std::this_thread::sleep_for(rest);
        print(figures, "after " + std::to_string(pages) + " pages down", program.processID());
        scroll("Prior");
        std::this_thread::sleep_for(rest);
        print(figures, "and up again", program.processID());
        program.signal(SIGTERM);
        auto times = frameTimes(program.finish().messages);
        if (times.size() < pages)
            throw std::runtime_error("there are no frame times");
        std::sort(times.begin(), times.end());
        figures.add("Frames while it was scrolled", static_cast<double>(times.size()), 0, "");
        figures.add("95 % of them within", times[times.size() * 95 / 100], 0, "ms");
        figures.add("the longest", times.back(), 0, "ms");
    }

private:
    static void print(Figures& figures, const std::string& what, pid_t process)
    {
        figures.add(what, residentMegabytes(process), 1, "MB");
        figures.add("   of which in no file", anonymousMegabytes(process), 1, "MB");
    }

    static void scroll(const char* key)
    {
        for (int i = 0; i < pages; ++i) {
            runProgram({"xdotool", "key", key});
            std::this_thread::sleep_for(betweenPages);
        }
    }

    const TemporaryDirectory home_;
    const Environment environment_{{"HOME", home_.path().string()}, {"XDG_CONFIG_HOME", (home_.path() / "config").string()},
        {"XDG_CACHE_HOME", (home_.path() / "cache").string()}, {"XDG_DATA_HOME", (home_.path() / "data").string()}};
    DesktopWatch watch_;
};

void print(Figures& figures, const std::string& what, const std::vector<Opening>& openings)
{
    figures.add(what + ": call over the bus to the heading, first opening", median(each(openings, &Opening::heading)), 0, "ms");
    figures.add("   to the first picture", median(each(openings, &Opening::picture)), 0, "ms");
    figures.add("   processor time of the program's threads", median(each(openings, &Opening::processor)), 0, "ms");
}

}  // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application{argc, argv};
    Figures figures{argc, argv};
    try {
        const Program tray{{"trayer"}};
        if (!waitUntil([] { return runProgram({"xdotool", "search", "--onlyvisible", "--name", "^panel$"}).status == 0; }))
            throw std::runtime_error("there is no tray");
        figures.text("Load average before", loadAverage());
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
        figures.text("Load average after", loadAverage());
        figures.write();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "clips_figures: %s\n", error.what());
        return 1;
    }
    return 0;
}
