// How soon a folder of very many clips is listed, and how long the main thread is kept from other work meanwhile, as a table.

#include "app/MainThreadClock.h"
#include "app/MainThreadExecutor.h"
#include "benchmarks/Figures.h"
#include "library/ClipLibrary.h"
#include "library/PathUtilities.h"
#include "platform/linux/CodecModuleServices.h"
#include "platform/linux/LinuxFileManager.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/recording/Subjects.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace {

using namespace velmora;

constexpr int clipCount = 10'000;
constexpr int deletedCount = 100;
constexpr int beat = 10;  // milliseconds

double milliseconds(const QElapsedTimer& since)
{
    return static_cast<double>(since.nsecsElapsed()) / 1e6;
}

/// Beats in the event loop, and knows the longest that it was late.
class Heart {
public:
    Heart()
    {
        timer_.setTimerType(Qt::PreciseTimer);
        QObject::connect(&timer_, &QTimer::timeout, &timer_, [this] {
            worst_ = std::max(worst_, milliseconds(last_) - beat);
            last_.start();
        });
        last_.start();
        timer_.start(beat);
    }

    [[nodiscard]] double longestStall() const { return std::max(worst_, milliseconds(last_) - beat); }

private:
    QTimer timer_;
    QElapsedTimer last_;
    double worst_ = 0;
};

}  // namespace

int main(int argc, char** argv)
{
    benchmarks::Figures figures{argc, argv};
    QCoreApplication application{argc, argv};
    const test::TemporaryDirectory home;
    ::setenv("HOME", home.path().c_str(), 1);
    ::setenv("XDG_CONFIG_HOME", (home.path() / "config").c_str(), 1);
    const auto folder = home.path() / "Movies" / "Velmora";
    std::filesystem::create_directories(folder);
    test::makeClip(folder / "clip.mp4", "testsrc=size=320x240:rate=30", "sine", 3);
    for (int i = 1; i < clipCount; ++i)
        std::filesystem::copy_file(folder / "clip.mp4", folder / ("clip " + std::to_string(i) + ".mp4"));

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
        QElapsedTimer elapsed;
        elapsed.start();
        library.emplace(ClipLibrary::Services{{linux_backend::makeFileManager(), linux_backend::makeAssetReader(),
                                                  std::make_shared<MainThreadClock>(), std::make_shared<MainThreadExecutor>()},
            nullptr});
        const auto listing = QObject::connect(&*library, &ClipLibrary::recentClipsChanged, &application, [&] {
            figures.add("10,000 clips listed", milliseconds(elapsed), 0, "ms");
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
    if (!isWhole) {
        std::fprintf(stderr, "library_figures: the list is not whole\n");
        return 1;
    }
    figures.row([&] {
        const auto files = linux_backend::makeFileManager();
        QElapsedTimer elapsed;
        elapsed.start();
        const auto listed = files->contentsOfDirectory(folder, true);
        figures.add("Their names alone, in one call of the main thread", milliseconds(elapsed), 1, "ms");
        double longest = 0;
        for (int i = 1; listed && i <= deletedCount; ++i) {
            const auto clip = library->recentClips().front();
            elapsed.start();
            library->deleteClip(clip);
            longest = std::max(longest, milliseconds(elapsed));
        }
        figures.add("One of them deleted, the longest of 100", longest, 1, "ms");
    });
    figures.write();
    return 0;
}
