// How soon each window shows what is in it, beside the start of the smallest program that shows a window with a text, and how long a
// double click in the list of windows takes until that window is captured. Runs in a private desktop.

#include "app/control/InstanceBus.h"
#include "benchmarks/Benchmark.h"
#include "benchmarks/ProcessUse.h"
#include "benchmarks/TrayDesktop.h"
#include "tests/support/recording/RecordedClip.h"
#include "tests/support/recording/Subjects.h"

#include <csignal>
#include <map>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;
using namespace velmora::benchmarks;
using namespace velmora::test;

constexpr Budget budget{.once = 45s, .again = 40s};
constexpr int rounds = 7;

// How long a person takes from an open menu to its row, and the least time between a start and what is done with it.
constexpr auto inTheMenu = 300ms;
constexpr auto afterTheStart = 2s;

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
    /// Of a program that is to be started.
    Measurement() = default;
    explicit Measurement(pid_t process) : process_(process), processorBefore_(processorSeconds(process)) { }

    void end(Times& times) const { end(times, process_); }

    /// Of a program that was started since.
    void end(Times& times, pid_t process) const
    {
        times.elapsed.push_back(stopwatch_.milliseconds());
        times.processor.push_back((processorSeconds(process) - processorBefore_) * 1e3);
    }

private:
    const pid_t process_ = 0;
    const double processorBefore_ = 0;
    const Stopwatch stopwatch_{};
};

void end(Program& program)
{
    program.signal(SIGTERM);
    program.finish();
}

class OpeningRounds {
public:
    OpeningRounds() { makeClip(clip_, "color=white:size=640x360:rate=30", "sine", 5); }

    void measure(Rows& rows)
    {
        {
            const Measurement start;
            Program program{{VELMORA_BARE_WINDOW}};
            watch_.awaitText(bareTitle, bareText);
            start.end(rows["bare"], program.processID());
            end(program);
        }
        {
            const Home home{Home::Walkthrough::ahead};
            const Measurement start;
            Program program{::velmora::test::velmora({}), home.environment()};
            watch_.awaitText(walkthroughTitle, walkthroughHeading);
            start.end(rows["walkthrough"], program.processID());
            end(program);
        }
        measurePicker(rows);
        measurePreview(rows);
    }

private:
    void measurePicker(Rows& rows)
    {
        const TrayItem item{watch_, used_.environment()};
        std::this_thread::sleep_for(afterTheStart);
        watch_.click(item.icon());
        watch_.awaitMenu();
        std::this_thread::sleep_for(inTheMenu);
        const Measurement opening{item.processID()};
        watch_.press({superKey, wKey});
        const auto picker = watch_.awaitText(pickerTitle, pickerHeading);
        opening.end(rows["picker"]);
        watch_.awaitText(pickerTitle, pickerRow);
        opening.end(rows["picker's list"]);

        std::this_thread::sleep_for(inTheMenu);
        const Measurement choosing{item.processID()};
        watch_.doubleClick(picker, pickerRow.x, pickerRow.y);
        watch_.awaitUnmapping(picker);
        choosing.end(rows["capturing"]);
        if (runVelmora({"status", "--json"}, used_.environment()).output.find("\"capturing\"") == std::string::npos)
            throw std::runtime_error("the window is not captured");
    }

    void measurePreview(Rows& rows)
    {
        const TrayItem item{watch_, used_.environment()};
        std::this_thread::sleep_for(afterTheStart);
        const Measurement opening{item.processID()};
        callProgram(velmora::instance_bus::controlInterface, QStringLiteral("Preview"), {QString::fromStdString(clip_.string())});
        const auto preview = watch_.awaitText(previewTitle, previewHeading);
        opening.end(rows["preview"]);
        watch_.awaitPicture(preview, previewPicture);
        opening.end(rows["preview's picture"]);
    }

    const Home used_;
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

void measure(Figures& figures)
{
    const Tray tray;
    const NumberedWindow window{{"--size", "1280x720", "--still"}};
    OpeningRounds openings;
    Rows warming;
    openings.measure(warming);
    figures.row([&] {
        Rows rows;
        for (int round = 0; round < rounds; ++round)
            openings.measure(rows);
        print(figures, rows);
    });
}

}  // namespace

int main(int argc, char** argv)
{
    return runBenchmark(argc, argv, budget, measure);
}
