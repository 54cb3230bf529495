// How soon a folder of very many clips is listed, and how long the main thread is kept from other work meanwhile, as a table.

#include "app/MainThreadClock.h"
#include "app/MainThreadExecutor.h"
#include "benchmarks/Benchmark.h"
#include "benchmarks/ProcessUse.h"
#include "benchmarks/TrayDesktop.h"
#include "library/ClipLibrary.h"
#include "library/PathUtilities.h"
#include "platform/linux/CodecModuleServices.h"
#include "platform/linux/LinuxFileManager.h"
#include "tests/support/recording/Subjects.h"

#include <QCoreApplication>
#include <QTimer>

#include <algorithm>
#include <memory>
#include <optional>
#include <stdexcept>

namespace {

using namespace velmora;
using benchmarks::Figures;
using benchmarks::Stopwatch;

constexpr benchmarks::Budget budget{.once = std::chrono::seconds{15}, .again = std::chrono::seconds{10}};
constexpr int clipCount = 10'000;
constexpr int deletedCount = 100;
constexpr int beat = 10;  // milliseconds

/// Beats in the event loop, and knows the longest that it was late.
class Heart {
public:
    Heart()
    {
        timer_.setTimerType(Qt::PreciseTimer);
        QObject::connect(&timer_, &QTimer::timeout, &timer_, [this] {
            worst_ = longestStall();
            last_ = {};
        });
        timer_.start(beat);
    }

    [[nodiscard]] double longestStall() const { return std::max(worst_, last_.milliseconds() - beat); }

private:
    QTimer timer_;
    Stopwatch last_;
    double worst_ = 0;
};

void measure(Figures& figures)
{
    benchmarks::Home home;
    home.enter();
    test::makeClip(home.path() / "clip.mp4", "testsrc=size=320x240:rate=30", "sine", 3);
    home.fillWithClips(home.path() / "clip.mp4", clipCount);
    auto& application = *QCoreApplication::instance();

    std::optional<ClipLibrary> library;
    bool isWhole = true;
    figures.row([&] {
        {
            const Heart heart;
            QTimer::singleShot(1000, &application, &QCoreApplication::quit);
            QCoreApplication::exec();
            figures.add("Longest stall of the main thread in a second of rest", heart.longestStall(), 0, "ms");
        }
        const Heart heart;
        Stopwatch elapsed;
        library.emplace(ClipLibrary::Services{{linux_backend::makeFileManager(), linux_backend::makeAssetReader(),
                                                  std::make_shared<MainThreadClock>(), std::make_shared<MainThreadExecutor>()},
            nullptr});
        const auto listing = QObject::connect(&*library, &ClipLibrary::recentClipsChanged, &application, [&] {
            figures.add("10,000 clips listed", elapsed.milliseconds(), 0, "ms");
            // The stall may be this very call.
            QTimer::singleShot(2 * beat, &application, &QCoreApplication::quit);
        });
        QCoreApplication::exec();
        figures.add("Longest stall of the main thread meanwhile", heart.longestStall(), 0, "ms");
        const auto& clips = library->recentClips();
        isWhole = isWhole && clips.size() == clipCount
            && std::all_of(clips.begin(), clips.end(), [](const ClipItem& clip) { return clip.duration > 2; });
        QObject::disconnect(listing);
    });
    if (!isWhole)
        throw std::runtime_error("the list is not whole");
    figures.row([&] {
        const auto files = linux_backend::makeFileManager();
        Stopwatch elapsed;
        const auto listed = files->contentsOfDirectory(home.clips(), true);
        figures.add("Their names alone, in one call of the main thread", elapsed.milliseconds(), 1, "ms");
        double longest = 0;
        for (int i = 1; listed && i <= deletedCount; ++i) {
            const auto clip = library->recentClips().front();
            elapsed = {};
            library->deleteClip(clip);
            longest = std::max(longest, elapsed.milliseconds());
        }
        figures.add("One of them deleted, the longest of 100", longest, 1, "ms");
    });
}

}  // namespace

int main(int argc, char** argv)
{
    return benchmarks::runBenchmark(argc, argv, budget, measure);
}
