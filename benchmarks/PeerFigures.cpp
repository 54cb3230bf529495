// Velmora beside what a person would use instead, in turn on the same window of the same desktop: processor time, frames that reach the
// file, likeness of the pictures, sound against picture. Runs in a private desktop whose screen has room for a whole window of 1920x1080.

#include "benchmarks/Figures.h"
#include "benchmarks/peers/Recorders.h"
#include "benchmarks/peers/StructuralSimilarity.h"
#include "platform/linux/x11/Connection.h"
#include "tests/support/Scene.h"
#include "tests/support/recording/RecordedClip.h"
#include "tests/support/recording/Subjects.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <vector>

namespace {

using namespace velmora::benchmarks;
using namespace velmora::test;
using velmora::linux_backend::Connection;

constexpr int measuredSeconds = 8;
constexpr int offsetSeconds = 15;
/// One picture in this many is compared, which tells as much as all of them and takes less time. A prime: encoders give every second or
/// fourth picture more bits than the others, and all kinds must be looked at.
constexpr std::size_t comparedDistance = 13;

struct Load {
    const char* name;
    std::vector<std::string> options;
    bool isMoving;
    bool isAllScene;
};

const std::vector<Load> loads{
    {"full motion", {"--scene"}, true, true},
    {"a quarter moving", {"--scene", "--motion", "25"}, true, false},
    {"still", {"--still"}, false, false},
};

struct Size {
    const char* name;
    int width;
    int height;
};

constexpr Size sizes[] = {{"720p", 1280, 720}, {"1080p", 1920, 1080}};

/// The process behind the display, by the socket to it.
pid_t displayServer()
{
    const auto connection = std::move(Connection::open().value());
    ucred peer{};
    socklen_t length = sizeof peer;
    if (::getsockopt(xcb_get_file_descriptor(connection->xcb()), SOL_SOCKET, SO_PEERCRED, &peer, &length) != 0)
        throw std::runtime_error("the display's process is not known");
    return peer.pid;
}

void rest(double seconds)
{
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
}

/// Of the display server while nobody records, in seconds per second: what showing the window costs.
double serverShareAtRest(pid_t server)
{
    const auto begin = monotonicNow();
    const double before = processorSeconds(server);
    rest(measuredSeconds / 2.0);
    return (processorSeconds(server) - before) / (static_cast<double>(monotonicNow() - begin) / 1e9);
}

class Reference {
public:
    Reference(int width, int height) : width_(width), height_(height) { }

    /// Of the part of the window between its numbers.
    void look(const PictureView& luma, const ClipPicture& picture)
    {
        const auto number = picture.reading.number();
        if (!number || luma.width != width_ || luma.height != height_ || ++seen_ % comparedDistance != 0)
            return;
        const int strip = FrameNumberStrip::height(height_);
        const auto& original = of(Scene::indexOf(*number));
        const auto skipped = static_cast<std::size_t>(strip);
        const int height = height_ - 2 * strip;
        sum_ += structuralSimilarity(
            {original.data() + skipped * static_cast<std::size_t>(width_), static_cast<std::size_t>(width_), width_, height},
            {reinterpret_cast<const std::uint8_t*>(luma.pixels) + skipped * luma.bytesPerRow, luma.bytesPerRow, width_, height});
        ++compared_;
    }

    /// The mean; starts again.
    double take()
    {
        const double mean = compared_ == 0 ? std::nan("") : sum_ / compared_;
        sum_ = 0;
        compared_ = 0;
        seen_ = 0;
        return mean;
    }

private:
    const std::vector<std::uint8_t>& of(std::uint32_t index)
    {
        auto& picture = pictures_[index];
        if (picture.empty()) {
            picture = Scene::picture(index, width_, height_);
            // As video has it: black is 16 and white 235 (ITU-R BT.709).
            for (auto& grey : picture)
                grey = static_cast<std::uint8_t>(16 + (grey * 219 + 127) / 255);
        }
        return picture;
    }

    const int width_;
    const int height_;
    std::map<std::uint32_t, std::vector<std::uint8_t>> pictures_;
    double sum_ = 0;
    int compared_ = 0;
    std::size_t seen_ = 0;
};

struct Outcome {
    double processorShare = std::nan("");  ///< seconds per second, of the recorder and, above its rest, of the display server
    double frameShare = std::nan("");  ///< percent of the frames that the window showed meanwhile
    double similarity = std::nan("");
    double megabitsPerSecond = std::nan("");
};

Outcome measure(
    const Recorder& recorder, const NumberedWindow& window, const Load& load, pid_t server, double serverAtRest, Reference& reference)
{
    const TemporaryDirectory directory;
    const auto file = directory.path() / "clip.mp4";
    const auto recording = recorder.start(awaitWindow(window.title()), file);
    if (!waitUntil([&] { return std::filesystem::exists(file); }))
        throw std::runtime_error("no file");
    // What starting costs does not count.
    rest(2);
    const auto begin = monotonicNow();
    const double before = processorSeconds(recording->processID());
    const double serverBefore = processorSeconds(server);
    rest(measuredSeconds);
    const double used = processorSeconds(recording->processID()) - before;
    const double serverUsed = processorSeconds(server) - serverBefore;
    const auto end = monotonicNow();
    // So that the last of the frames that count reach the file.
    rest(1);
    recording->finish();

    Outcome outcome;
    const double seconds = static_cast<double>(end - begin) / 1e9;
    outcome.processorShare = (used + serverUsed) / seconds - serverAtRest;
    const auto clip = readClip(file, {}, [&](const PictureView& luma, const ClipPicture& picture) {
        if (load.isAllScene)
            reference.look(luma, picture);
    });
    if (!clip.video)
        throw std::runtime_error("no pictures in the file");
    outcome.megabitsPerSecond = clip.video->bitRate() / 1e6;
    outcome.similarity = reference.take();
    if (load.isMoving) {
        std::set<std::uint32_t> recorded;
        for (const auto& picture : clip.video->pictures) {
            if (const auto number = picture.reading.number())
                recorded.insert(*number);
        }
        double shown = 0;
        double found = 0;
        for (const auto& [frame, time] : window.shown()) {
            if (time < begin || time > end)
                continue;
            ++shown;
            found += recorded.contains(frame) ? 1 : 0;
        }
        outcome.frameShare = 100 * found / shown;
    }
    return outcome;
}

Outcome tryToMeasure(
    const Recorder& recorder, const NumberedWindow& window, const Load& load, pid_t server, double serverAtRest, Reference& reference)
{
    try {
        return measure(recorder, window, load, server, serverAtRest, reference);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "peer_figures: %s, %s: %s\n", recorder.name.c_str(), load.name, error.what());
        return {};
    }
}

void printLoad(Figures& figures, const std::vector<Recorder>& recorders, const Size& size, const Load& load)
{
    const TemporaryDirectory directory;
    const auto sound = directory.path() / "noise.wav";
    writeNoise(sound, 60 + 30 * static_cast<int>(recorders.size()));
    std::vector<std::string> options = load.options;
    options.insert(options.end(), {"--size", std::to_string(size.width) + "x" + std::to_string(size.height)});
    const NumberedWindow window{options, sound};
    awaitPlayingStreams(1);
    const pid_t server = displayServer();
    const double atRest = serverShareAtRest(server);
    Reference reference{size.width, size.height};

    std::vector<Figures::Compared> processor;
    std::vector<Figures::Compared> frames;
    std::vector<Figures::Compared> similarity;
    std::vector<Figures::Compared> bitRate;
    for (const auto& recorder : recorders) {
        const auto outcome = tryToMeasure(recorder, window, load, server, atRest, reference);
        processor.push_back({recorder.name, outcome.processorShare});
        frames.push_back({recorder.name, outcome.frameShare});
        similarity.push_back({recorder.name, outcome.similarity});
        bitRate.push_back({recorder.name, outcome.megabitsPerSecond});
    }
    const std::string name = std::string{size.name} + ", " + load.name + ": ";
    figures.compare(name + "processor", processor, 3, "s/s", true);
    if (load.isMoving)
        figures.compare(name + "frames in the file", frames, 1, "%", false);
    if (load.isAllScene)
        figures.compare(name + "structural similarity", similarity, 4, "", false);
    figures.compare(name + "video bit rate", bitRate, 2, "Mbit/s", false);
}

void printOffsets(Figures& figures, const std::vector<Recorder>& recorders)
{
    const TemporaryDirectory directory;
    makeFlashAndBeepClip(directory.path() / "source.mp4", offsetSeconds);
    const VideoPlayer player{"Flash and beep", directory.path() / "source.mp4"};
    awaitPlayingStreams(1);
    std::vector<Figures::Compared> offsets;
    for (const auto& recorder : recorders) {
        double offset = std::nan("");
        try {
            const auto file = directory.path() / (recorder.name + ".mp4");
            const auto recording = recorder.start(player.window(), file);
            rest(offsetSeconds);
            recording->finish();
            const auto all = beepsAgainstFlashes(readClip(file));
            if (!all.empty())
                offset = std::abs(median(all)) * 1e3;
        } catch (const std::exception& error) {
            std::fprintf(stderr, "peer_figures: %s, sound: %s\n", recorder.name.c_str(), error.what());
        }
        offsets.push_back({recorder.name, offset});
    }
    figures.compare("Flash and beep in mpv: sound from picture, median", offsets, 1, "ms", true);
}

}  // namespace

int main(int argc, char** argv)
{
    Figures figures{argc, argv};
    try {
        const auto programs = recorders();
        figures.add("Processors", std::thread::hardware_concurrency(), 0, "");
        figures.text("Load average before", loadAverage());
        for (const auto& size : sizes) {
            for (const auto& load : loads)
                figures.row([&] { printLoad(figures, programs, size, load); });
        }
        figures.row([&] { printOffsets(figures, programs); });
        figures.text("Load average after", loadAverage());
        figures.write();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "peer_figures: %s\n", error.what());
        return 1;
    }
    return 0;
}
