// How time and memory grow with what there is: clips in the folder, windows on the desktop, pixels of a window, bytes of a clip. A line
// each, and how steep it is. Runs in a private desktop whose screen holds a window of 7680x4320; the temporary folder needs room for
// twice the largest clip, and what it has no room for is named.

#include "app/MainThreadClock.h"
#include "app/MainThreadExecutor.h"
#include "benchmarks/Benchmark.h"
#include "benchmarks/LongClip.h"
#include "benchmarks/ProcessUse.h"
#include "benchmarks/TrayDesktop.h"
#include "library/ClipLibrary.h"
#include "media/mp4/Trimmer.h"
#include "platform/linux/CodecModuleServices.h"
#include "platform/linux/LinuxFileManager.h"
#include "platform/linux/x11/Connection.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/recording/RecordedClip.h"
#include "tests/support/recording/Subjects.h"

#include <QCoreApplication>

#include <array>
#include <cmath>
#include <csignal>
#include <filesystem>
#include <malloc.h>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using namespace velmora;
using benchmarks::Figures;
using benchmarks::ProcessorShare;
using benchmarks::Stopwatch;

constexpr benchmarks::Budget budget{.once = std::chrono::seconds{420}, .again = std::chrono::seconds{30}};

/// Sizes, and what was measured at each.
class Line {
public:
    void add(double size, double value) { points_.push_back({size, value}); }

    /// The power of the size that the value grows with from the first point to the last: 1 is in proportion, 0 not at all. A point that
    /// is no more than noise says nothing: NaN then.
    [[nodiscard]] double steepness() const
    {
        if (points_.size() < 2 || points_.front().value <= 0 || points_.back().value <= 0)
            return std::nan("");
        return std::log(points_.back().value / points_.front().value) / std::log(points_.back().size / points_.front().size);
    }

private:
    struct Point {
        double size = 0;
        double value = 0;
    };
    std::vector<Point> points_;
};

std::string grouped(std::int64_t number)
{
    auto text = std::to_string(number);
    for (auto place = static_cast<std::ptrdiff_t>(text.size()) - 3; place > 0; place -= 3)
        text.insert(static_cast<std::size_t>(place), ",");
    return text;
}

double heapMegabytes()
{
    const auto heap = mallinfo2();
    return static_cast<double>(heap.uordblks + heap.hblkhd) / (1 << 20);
}

// Clips

void measureClips(Figures& figures)
{
    benchmarks::Home home;
    home.enter();
    test::makeClip(home.path() / "clip.mp4", "testsrc=size=320x240:rate=30", "sine", 1);
    Line times;
    Line memory;
    for (const int count : {1'000, 10'000, 100'000}) {
        home.fillWithClips(home.path() / "clip.mp4", count);
        const auto heapBefore = heapMegabytes();
        const Stopwatch stopwatch;
        ClipLibrary library{ClipLibrary::Services{{linux_backend::makeFileManager(), linux_backend::makeAssetReader(),
                                                      std::make_shared<MainThreadClock>(), std::make_shared<MainThreadExecutor>()},
            nullptr}};
        QObject::connect(&library, &ClipLibrary::recentClipsChanged, QCoreApplication::instance(), &QCoreApplication::quit);
        QCoreApplication::exec();
        const auto seconds = stopwatch.seconds();
        if (static_cast<int>(library.recentClips().size()) != count)
            throw std::runtime_error("the list is not whole");
        const auto megabytes = heapMegabytes() - heapBefore;
        figures.add(grouped(count) + " clips listed", seconds * 1000, 0, "ms");
        figures.add("  heap that the list takes", megabytes, 2, "MB");
        times.add(count, seconds);
        memory.add(count, megabytes);
    }
    figures.add("  steepness of the time", times.steepness(), 2, "");
    figures.add("  steepness of the memory", memory.steepness(), 2, "");
}

// Windows

/// Windows of a name of their own each, side by side and above each other, until the object's end.
class ManyWindows {
public:
    void growTo(int count)
    {
        auto* const xcb = connection_->xcb();
        for (; count_ < count; ++count_) {
            const auto window = connection_->newId();
            xcb_create_window(xcb, XCB_COPY_FROM_PARENT, window, connection_->root(), static_cast<std::int16_t>(count_ % 20 * 60),
                static_cast<std::int16_t>(count_ / 20 * 50), 400, 300, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
            const auto title = "Window " + std::to_string(count_);
            xcb_change_property(xcb, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8,
                static_cast<std::uint32_t>(title.size()), title.data());
            xcb_map_window(xcb, window);
        }
        xcb_flush(xcb);
        const bool areShown = test::waitUntil([count] { return static_cast<int>(test::listWindows().size()) >= count; });
        if (!areShown)
            throw std::runtime_error("the windows are not listed");
    }

private:
    static std::unique_ptr<linux_backend::Connection> open()
    {
        auto opened = linux_backend::Connection::open();
        if (!opened)
            throw std::runtime_error(opened.error().localizedDescription);
        return std::move(*opened);
    }

    std::unique_ptr<linux_backend::Connection> connection_ = open();
    int count_ = 0;
};

void measureWindows(Figures& figures)
{
    ManyWindows windows;
    Line times;
    for (const int count : {10, 100, 300}) {
        windows.growTo(count);
        double seconds = 0;
        figures.row([&] {
            std::vector<double> all;
            for (int round = 0; round < 5; ++round) {
                const Stopwatch stopwatch;
                test::runVelmora({"windows"});
                all.push_back(stopwatch.seconds());
            }
            seconds = test::median(all);
            figures.add("`velmora windows` with " + grouped(count) + ", median of five", seconds * 1000, 0, "ms");
        });
        times.add(count, seconds);
    }
    figures.add("  steepness of the time", times.steepness(), 2, "");
}

// Pixels

struct WindowSize {
    int width = 0;
    int height = 0;
};

void measurePixels(Figures& figures)
{
    constexpr int measuredSeconds = 8;
    Line processor;
    Line memory;
    for (const WindowSize size : {WindowSize{1280, 720}, {1920, 1080}, {3840, 2160}, {7680, 4320}}) {
        const auto name = std::to_string(size.width) + 'x' + std::to_string(size.height);
        const test::TemporaryDirectory directory;
        const test::NumberedWindow window{{"--size", name, "--position", "0,0", "--motion", "2", "--fps", "30"}};
        test::RecordingProcess recording{window.id(), directory.path() / "clip.mp4"};
        if (!recording.hasFragment())
            throw std::runtime_error("no recording of " + name + ": " + recording.finish().messages);
        const ProcessorShare processorShare{recording.processID()};
        std::this_thread::sleep_for(std::chrono::seconds{measuredSeconds});
        const auto share = processorShare.soFar();
        const auto megabytes = benchmarks::residentMegabytes(recording.processID());
        recording.signal(SIGINT);
        if (const auto outcome = recording.finish(); outcome.status != 0)
            throw std::runtime_error("no recording of " + name + ": " + outcome.messages);
        const auto clip = test::readClip(directory.path() / "clip.mp4");
        if (!clip.video || clip.video->width != size.width || clip.video->height != size.height)
            throw std::runtime_error("the clip of " + name + " has another size");
        figures.add(name + ", a fiftieth in motion, 30 pictures a second: resident while recording", megabytes, 1, "MB");
        figures.add("  processor", share, 3, "s/s");
        figures.add("  pictures a second in the file", static_cast<double>(clip.video->pictures.size()) / clip.video->duration, 1, "");
        const auto pixels = static_cast<double>(size.width) * size.height;
        processor.add(pixels, share);
        memory.add(pixels, megabytes);
    }
    figures.add("  steepness of the memory", memory.steepness(), 2, "");
    figures.add("  steepness of the processor time", processor.steepness(), 2, "");
}

// Bytes

void measureBytes(Figures& figures)
{
    constexpr std::int64_t secondsAGigabyte = 968;
    const auto folder = std::filesystem::temp_directory_path();
    Line trims;
    Line plans;
    Line memory;
    for (const int gigabytes : {1, 4, 20}) {
        const auto name = std::to_string(gigabytes) + " GB";
        const auto needed = static_cast<std::uintmax_t>(gigabytes) * 2'100'000'000;
        if (const auto room = std::filesystem::space(folder).available; room < needed) {
            figures.text("A clip of " + name + ", trimmed", "left out: " + std::to_string(room / 1'000'000'000) + " GB are free");
            continue;
        }
        const auto length = gigabytes * secondsAGigabyte;
        const auto source = benchmarks::openLongClip(folder, length);
        const TimeRange range{{1234, 1000}, {length * 1000 - 1234, 1000}};
        const auto heapBefore = heapMegabytes();
        const Stopwatch stopwatch;
        auto plan = std::make_unique<mp4::Movie>(benchmarks::valueOf(mp4::readAndPlanTrim(*source, range)));
        const auto planning = stopwatch.seconds();
        const auto megabytes = heapMegabytes() - heapBefore;
        plan.reset();
        const auto copied = benchmarks::copySeconds(*source, folder);
        const auto trimmed = benchmarks::trimSeconds(*source, folder, range);
        figures.compare("A clip of " + name + ", trimmed", {{"velmora", trimmed}, {"copy", copied}}, 1, "s", true);
        figures.add("  of that planning", planning, 2, "s");
        figures.add("  heap that the plan takes", megabytes, 1, "MB");
        trims.add(gigabytes, trimmed);
        plans.add(gigabytes, planning);
        memory.add(gigabytes, megabytes);
    }
    figures.add("  steepness of the trim", trims.steepness(), 2, "");
    figures.add("  steepness of the planning", plans.steepness(), 2, "");
    figures.add("  steepness of the memory", memory.steepness(), 2, "");
}

void measure(Figures& figures)
{
    measureWindows(figures);
    measurePixels(figures);
    measureClips(figures);
    measureBytes(figures);
}

}  // namespace

int main(int argc, char** argv)
{
    return benchmarks::runBenchmark(argc, argv, budget, measure);
}
