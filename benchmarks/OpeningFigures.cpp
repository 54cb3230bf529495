// How soon each window shows what is in it, beside the start of the smallest program that shows a window with a text, and how long a
// double click in the list of windows takes until that window is captured. Runs in a private desktop.

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

#include <csignal>
#include <cstdio>
#include <exception>
#include <fstream>
#include <map>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace velmora::test;
using velmora::benchmarks::Area;
using velmora::benchmarks::DesktopWatch;
using velmora::benchmarks::Figures;
using velmora::benchmarks::loadAverage;
using velmora::benchmarks::processorTime;
using velmora::benchmarks::superKey;
using velmora::benchmarks::wKey;

constexpr int rounds = 7;

// How long a person takes from an open menu to its row, and the least time between a start and what is done with it.
constexpr std::chrono::milliseconds inTheMenu{300};
constexpr std::chrono::seconds afterTheStart{2};

// Where letters and pictures are.
constexpr const char* bareTitle = "Bare Qt window";
constexpr Area bareText{120, 220, 320, 40};
constexpr const char* pickerTitle = "Select Video Window";
constexpr Area pickerHeading{24, 16, 240, 36};
constexpr Area pickerRow{120, 150, 200, 24};
constexpr const char* previewTitle = "Preview & Trim";
constexpr Area previewHeading{40, 388, 116, 28};
constexpr Area previewPicture{240, 80, 200, 120};
constexpr const char* walkthroughTitle = "Welcome to Velmora";
constexpr Area walkthroughHeading{56, 144, 528, 24};

/// What was measured, by row: each round's times in milliseconds.
struct Times {
    std::vector<double> elapsed;
    std::vector<double> processor;
};
using Rows = std::map<std::string, Times>;

/// From its construction on.
class Measurement {
public:
    explicit Measurement(pid_t process) : process_(process), processorBefore_(process ? processorTime(process) : 0) { }

    void end(Times& times) const { end(times, process_); }

    /// Of a program that was started since.
    void end(Times& times, pid_t process) const
    {
        times.elapsed.push_back(static_cast<double>(monotonicNow() - begin_) / 1e6);
        times.processor.push_back((processorTime(process) - processorBefore_) * 1e3);
    }

private:
    const pid_t process_;
    const double processorBefore_;
    const std::int64_t begin_ = monotonicNow();
};

void end(Program& program)
{
    program.signal(SIGTERM);
    program.finish();
}

class OpeningRounds {
public:
    OpeningRounds()
    {
        std::filesystem::create_directories(used_.path() / "config" / "velmora");
        std::ofstream{used_.path() / "config" / "velmora" / "velmora.conf"} << "[General]\nhasCompletedWalkthrough=true\n";
        makeClip(clip_, "color=white:size=640x360:rate=30", "sine", 5);
    }

    void measure(Rows& rows)
    {
        {
            const Measurement start{0};
            Program program{{VELMORA_BARE_WINDOW}};
            watch_.awaitText(bareTitle, bareText);
            start.end(rows["bare"], program.processID());
            end(program);
        }
        {
            const TemporaryDirectory home;
            const Measurement start{0};
            Program program{::velmora::test::velmora({}), environmentIn(home.path())};
            watch_.awaitText(walkthroughTitle, walkthroughHeading);
            start.end(rows["walkthrough"], program.processID());
            end(program);
        }
        measurePicker(rows);
        measurePreview(rows);
    }

private:
    static Environment environmentIn(const std::filesystem::path& home)
    {
        return {{"HOME", home.string()}, {"XDG_CONFIG_HOME", (home / "config").string()}};
    }

    void measurePicker(Rows& rows)
    {
        watch_.forget();
        Program program{::velmora::test::velmora({}), environmentIn(used_.path())};
        const auto icon = watch_.awaitDocking();
        std::this_thread::sleep_for(afterTheStart);
        watch_.click(icon);
        watch_.awaitMenu();
        std::this_thread::sleep_for(inTheMenu);
        const Measurement opening{program.processID()};
        watch_.press({superKey, wKey});
        const auto picker = watch_.awaitText(pickerTitle, pickerHeading);
        opening.end(rows["picker"]);
        watch_.awaitText(pickerTitle, pickerRow);
        opening.end(rows["picker's list"]);

        std::this_thread::sleep_for(inTheMenu);
        const Measurement choosing{program.processID()};
        watch_.doubleClick(picker, pickerRow.x, pickerRow.y);
        watch_.awaitUnmapping(picker);
        choosing.end(rows["capturing"]);
        if (runVelmora({"status", "--json"}, environmentIn(used_.path())).output.find("\"capturing\"") == std::string::npos)
            throw std::runtime_error("the window is not captured");
        end(program);
    }

    void measurePreview(Rows& rows)
    {
        watch_.forget();
        Program program{::velmora::test::velmora({}), environmentIn(used_.path())};
        watch_.awaitDocking();
        std::this_thread::sleep_for(afterTheStart);
        namespace bus = velmora::instance_bus;
        auto call = QDBusMessage::createMethodCall(QLatin1String{bus::serviceName}, QLatin1String{bus::objectPath},
            QLatin1String{bus::controlInterface}, QStringLiteral("Preview"));
        call.setArguments({QString::fromStdString(clip_.string())});
        auto connection = QDBusConnection::sessionBus();
        const Measurement opening{program.processID()};
        if (!connection.send(call))
            throw std::runtime_error("there is no session bus");
        const auto preview = watch_.awaitText(previewTitle, previewHeading);
        opening.end(rows["preview"]);
        watch_.awaitPicture(preview, previewPicture);
        opening.end(rows["preview's picture"]);
        end(program);
    }

    const TemporaryDirectory used_;
    const std::filesystem::path clip_ = used_.path() / "clip.mp4";
    DesktopWatch watch_;
};

void print(Figures& figures, Rows& rows)
{
    figures.text("How",
        "each ratio is the median of " + std::to_string(rounds)
            + " rounds, by that of the bare window of Qt's widgets in the same "
              "rounds: from the start of its process to its text on the screen. On the screen is what the X server shows, asked for after "
              "each drawing");
    const std::pair<const char*, const char*> names[] = {
        {"walkthrough", "Start of the process to the walkthrough's heading, first start"},
        {"picker", "Key in the menu, open for 0.3 s, to the picker's heading, first opening"},
        {"picker's list", "the same to the first row of its list"},
        {"preview", "Call over the bus to the preview's headings, first opening, no menu before"},
        {"preview's picture", "the same to the clip's picture"},
        {"capturing", "Double click in the picker to the captured window, the picker gone"},
    };
    const auto& bare = rows["bare"];
    for (const auto& [row, name] : names) {
        figures.compare(name, {{"velmora", median(rows[row].elapsed)}, {"bare Qt", median(bare.elapsed)}}, 0, "ms", true);
        figures.compare("   processor time of the program's threads",
            {{"velmora", median(rows[row].processor)}, {"bare Qt", median(bare.processor)}}, 0, "ms", true);
    }
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
        const NumberedWindow window{{"--size", "1280x720", "--still"}};
        figures.text("Load average before", loadAverage());
        OpeningRounds openings;
        Rows warming;
        openings.measure(warming);
        figures.row([&] {
            Rows rows;
            for (int round = 0; round < rounds; ++round)
                openings.measure(rows);
            print(figures, rows);
        });
        figures.text("Load average after", loadAverage());
        figures.write();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "opening_figures: %s\n", error.what());
        return 1;
    }
    return 0;
}
