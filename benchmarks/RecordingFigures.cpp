// How well `velmora record` keeps up on this machine, as a table: frames that reach the file, sound against picture, processor time.
// Runs in a private desktop.

#include "tests/support/recording/RecordedClip.h"
#include "tests/support/recording/Subjects.h"
#include "tests/support/recording/Velmora.h"

#include <csignal>
#include <cstdio>
#include <exception>
#include <fstream>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using namespace velmora::test;

constexpr int measuredSeconds = 10;

void row(const char* what, const std::string& figure)
{
    std::printf("%-76s %s\n", what, figure.c_str());
    std::fflush(stdout);
}

std::string number(double value, int decimals, const char* unit)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.*f %s", decimals, value, unit);
    return text;
}

/// Processor time of all threads of a process so far (proc(5): utime and stime), seconds.
double processorSeconds(pid_t process)
{
    std::ifstream file{"/proc/" + std::to_string(process) + "/stat"};
    std::string text;
    std::getline(file, text);
    std::istringstream fields{text.substr(text.rfind(')') + 2)};
    std::string skipped;
    for (int field = 3; field < 14; ++field)
        fields >> skipped;
    double user = 0;
    double system = 0;
    fields >> user >> system;
    return (user + system) / static_cast<double>(::sysconf(_SC_CLK_TCK));
}

struct Figures {
    double processorShare = 0;  ///< seconds of processor time a second
    double frameShare = 0;  ///< of the frames that the window showed meanwhile
    double framesPerSecond = 0;  ///< in the file
    double bitRate = 0;
};

Figures measure(const std::vector<std::string>& windowOptions)
{
    const TemporaryDirectory directory;
    const NumberedWindow window{windowOptions};
    RecordingProcess recording{window.id(), directory.path() / "clip.mp4"};
    // What starting costs does not count.
    if (!recording.hasFragment())
        throw std::runtime_error("no recording: " + recording.finish().messages);
    const auto begin = monotonicNow();
    const double processorBegin = processorSeconds(recording.processID());
    std::this_thread::sleep_for(std::chrono::seconds{measuredSeconds});
    const double processorEnd = processorSeconds(recording.processID());
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
    const double seconds = static_cast<double>(end - begin) / 1e9;
    return {(processorEnd - processorBegin) / seconds, shownMeanwhile > 0 ? recordedOfThem / shownMeanwhile : 0,
        static_cast<double>(clip.video->pictures.size()) / clip.video->duration, clip.video->bitRate()};
}

void printRecording(const char* name, const std::vector<std::string>& windowOptions, bool isMoving)
{
    const auto figures = measure(windowOptions);
    const std::string prefix{name};
    if (isMoving)
        row((prefix + ": frames of the window that are in the file").c_str(), number(figures.frameShare * 100, 1, "%"));
    row((prefix + ": pictures a second in the file").c_str(), number(figures.framesPerSecond, 1, ""));
    row((prefix + ": processor seconds a captured second").c_str(), number(figures.processorShare, 3, "s"));
    row((prefix + ": video bit rate").c_str(), number(figures.bitRate / 1e6, 2, "Mbit/s"));
}

void printSoundAgainstPicture()
{
    const TemporaryDirectory directory;
    makeFlashAndBeepClip(directory.path() / "source.mp4", measuredSeconds * 3);
    const VideoPlayer player{"Flash and beep", directory.path() / "source.mp4"};
    awaitPlayingStreams(1);
    const auto file = directory.path() / "clip.mp4";
    if (const auto outcome = record(player.window().id, file, measuredSeconds); outcome.status != 0)
        throw std::runtime_error("no recording: " + outcome.messages);
    const auto clip = readClip(file);
    const auto offsets = beepsAgainstFlashes(clip);
    row("Flash and beep in mpv: sound after picture, median",
        number(median(offsets) * 1e3, 1, "ms") + " of " + std::to_string(offsets.size()));
    if (clip.audio)
        row("Flash and beep in mpv: the sound begins after the picture", number(clip.audio->start * 1e3, 0, "ms"));
}

std::string loadAverage()
{
    std::ifstream file{"/proc/loadavg"};
    std::string one;
    file >> one;
    return one;
}

}  // namespace

int main()
{
    try {
        row("Processors", std::to_string(std::thread::hardware_concurrency()));
        row("Load average before", loadAverage());
        printRecording("1280x720 at 60 Hz, a quarter noise", {"--size", "1280x720"}, true);
        printRecording("1280x720 at 60 Hz, all noise", {"--size", "1280x720", "--motion", "100"}, true);
        printRecording("1280x720, still", {"--size", "1280x720", "--still"}, false);
        printSoundAgainstPicture();
        row("Load average after", loadAverage());
    } catch (const std::exception& error) {
        std::fprintf(stderr, "recording_figures: %s\n", error.what());
        return 1;
    }
    return 0;
}
