// How well `velmora record` keeps up on this machine, as a table: frames that reach the file, sound against picture, processor time.
// Runs in a private desktop.

#include "benchmarks/Benchmark.h"
#include "benchmarks/ProcessUse.h"
#include "tests/support/recording/RecordedClip.h"
#include "tests/support/recording/Subjects.h"

#include <csignal>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;
using namespace velmora::benchmarks;
using namespace velmora::test;

constexpr Budget budget{.once = 55s, .again = 20s};
constexpr auto measured = 6s;
constexpr int flashSeconds = 10;

struct Outcome {
    double processorShare = 0;  ///< seconds of processor time per second
    double frameShare = 0;  ///< of the frames that the window showed meanwhile
    double framesPerSecond = 0;  ///< in the file
    double bitRate = 0;
};

Outcome measure(const std::vector<std::string>& windowOptions)
{
    const TemporaryDirectory directory;
    const NumberedWindow window{windowOptions};
    RecordingProcess recording{window.id(), directory.path() / "clip.mp4"};
    // What starting costs does not count.
    if (!recording.hasFragment())
        throw std::runtime_error("no recording: " + recording.finish().messages);
    const auto begin = monotonicNow();
    const ProcessorShare share{recording.processID()};
    std::this_thread::sleep_for(measured);
    const double processorShare = share.soFar();
    const auto end = monotonicNow();
    recording.signal(SIGINT);
    if (const auto outcome = recording.finish(); outcome.status != 0)
        throw std::runtime_error("no recording: " + outcome.messages);

    const auto clip = readClip(directory.path() / "clip.mp4");
    if (!clip.video)
        throw std::runtime_error("the clip has no pictures");
    std::set<std::uint32_t> recorded;
    for (const auto& picture : clip.video->pictures)
        recorded.insert(picture.reading.number().value_or(0));
    double shownMeanwhile = 0;
    double recordedOfThem = 0;
    for (const auto& [frame, time] : window.shown()) {
        if (time < begin || time > end)
            continue;
        ++shownMeanwhile;
        recordedOfThem += recorded.contains(frame) ? 1 : 0;
    }
    return {processorShare, shownMeanwhile > 0 ? recordedOfThem / shownMeanwhile : 0,
        static_cast<double>(clip.video->pictures.size()) / clip.video->duration, clip.video->bitRate()};
}

void printRecording(Figures& figures, const std::string& name, const std::vector<std::string>& windowOptions, bool isMoving)
{
    figures.row([&] {
        const auto outcome = measure(windowOptions);
        if (isMoving)
            figures.add(name + ": frames of the window that are in the file", outcome.frameShare * 100, 1, "%");
        figures.add(name + ": pictures a second in the file", outcome.framesPerSecond, 1, "");
        figures.add(name + ": processor seconds a captured second", outcome.processorShare, 3, "s");
        figures.add(name + ": video bit rate", outcome.bitRate / 1e6, 2, "Mbit/s");
    });
}

void printSoundAgainstPicture(Figures& figures)
{
    const TemporaryDirectory directory;
    makeFlashAndBeepClip(directory.path() / "source.mp4", flashSeconds * 3);
    const VideoPlayer player{"Flash and beep", directory.path() / "source.mp4"};
    awaitPlayingStreams(1);
    const auto file = directory.path() / "clip.mp4";
    if (const auto outcome = record(player.window().id, file, flashSeconds); outcome.status != 0)
        throw std::runtime_error("no recording: " + outcome.messages);
    const auto clip = readClip(file);
    const auto offsets = beepsAgainstFlashes(clip);
    figures.add("Flash and beep in mpv: sound after picture, median of " + std::to_string(offsets.size()), median(offsets) * 1e3, 1, "ms");
    if (clip.audio)
        figures.add("Flash and beep in mpv: the sound begins after the picture", clip.audio->start * 1e3, 0, "ms");
}

void measureAll(Figures& figures)
{
    printRecording(figures, "1280x720 at 60 Hz, a quarter noise", {"--size", "1280x720"}, true);
    printRecording(figures, "1280x720 at 60 Hz, all noise", {"--size", "1280x720", "--motion", "100"}, true);
    printRecording(figures, "1280x720, still", {"--size", "1280x720", "--still"}, false);
    figures.row([&] { printSoundAgainstPicture(figures); });
}

}  // namespace

int main(int argc, char** argv)
{
    return runBenchmark(argc, argv, budget, measureAll);
}
