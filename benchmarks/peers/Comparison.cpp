#include "benchmarks/peers/Comparison.h"

#include "benchmarks/peers/StructuralSimilarity.h"
#include "platform/linux/x11/Connection.h"
#include "tests/support/recording/RecordedClip.h"
#include "tests/support/recording/Subjects.h"

#include <cmath>
#include <cstdio>
#include <exception>
#include <map>
#include <memory>
#include <set>
#include <stdexcept>
#include <sys/socket.h>
#include <thread>

namespace velmora::benchmarks {

namespace {

using namespace velmora::test;
using linux_backend::Connection;

constexpr int measuredSeconds = 8;
/// One picture in this many is compared, which tells as much as all of them and takes less time. A prime: encoders give every second or
/// fourth picture more bits than the others, and all kinds must be looked at.
constexpr std::size_t comparedDistance = 13;

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

/// What the moving part of the window looked like. The load has a scene.
class Reference {
public:
    explicit Reference(const Load& load) : load_(load), part_(FrameNumberStrip::movingPart(load.width, load.height, load.motionPercent)) { }

    void look(const PictureView& luma, const ClipPicture& picture)
    {
        const auto number = picture.reading.number();
        if (!number || luma.width != load_.width || luma.height != load_.height || ++seen_ % comparedDistance != 0)
            return;
        const auto& original = of(load_.scene->indexOf(*number));
        const auto skipped = static_cast<std::size_t>(part_.y);
        const auto width = static_cast<std::size_t>(part_.width);
        sum_ += structuralSimilarity({original.data() + skipped * width, width, part_.width, part_.height},
            {reinterpret_cast<const std::uint8_t*>(luma.pixels) + skipped * luma.bytesPerRow, luma.bytesPerRow, part_.width, part_.height});
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
            picture = load_.scene->picture(index, load_.width, load_.height);
            // As video has it: black is 16 and white 235 (ITU-R BT.709).
            for (auto& grey : picture)
                grey = static_cast<std::uint8_t>(16 + (grey * 219 + 127) / 255);
        }
        return picture;
    }

    const Load load_;
    const PicturePart part_;
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

Outcome measure(const Recorder& recorder, const NumberedWindow& window, pid_t server, double serverAtRest, Reference* reference)
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
        if (reference)
            reference->look(luma, picture);
    });
    if (!clip.video)
        throw std::runtime_error("no pictures in the file");
    outcome.megabitsPerSecond = clip.video->bitRate() / 1e6;
    if (reference) {
        outcome.similarity = reference->take();
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

}  // namespace

void compareRecorders(Figures& figures, const std::vector<Recorder>& recorders, const Load& load)
{
    const TemporaryDirectory directory;
    const auto sound = directory.path() / "noise.wav";
    writeNoise(sound, 60 + 30 * static_cast<int>(recorders.size()));
    std::vector<std::string> options{
        "--size", std::to_string(load.width) + "x" + std::to_string(load.height), "--fps", std::to_string(load.framesPerSecond)};
    if (load.scene)
        options.insert(options.end(), {"--scene", std::string{load.scene->name}, "--motion", std::to_string(load.motionPercent)});
    else
        options.push_back("--still");
    const NumberedWindow window{options, sound};
    awaitPlayingStreams(1);
    const pid_t server = displayServer();
    const double atRest = serverShareAtRest(server);
    const auto reference = load.scene ? std::make_unique<Reference>(load) : nullptr;

    std::vector<Figures::Compared> processor;
    std::vector<Figures::Compared> frames;
    std::vector<Figures::Compared> similarity;
    std::vector<Figures::Compared> bitRate;
    for (const auto& recorder : recorders) {
        Outcome outcome;
        try {
            outcome = measure(recorder, window, server, atRest, reference.get());
        } catch (const std::exception& error) {
            std::fprintf(stderr, "%s, %s: %s\n", recorder.name.c_str(), load.name.c_str(), error.what());
        }
        processor.push_back({recorder.name, outcome.processorShare});
        frames.push_back({recorder.name, outcome.frameShare});
        similarity.push_back({recorder.name, outcome.similarity});
        bitRate.push_back({recorder.name, outcome.megabitsPerSecond});
    }
    figures.compare(load.name + ": processor", processor, 3, "s/s", true);
    if (load.scene) {
        figures.compare(load.name + ": frames in the file", frames, 1, "%", false);
        figures.compare(load.name + ": structural similarity", similarity, 4, "", false);
    }
    figures.compare(load.name + ": video bit rate", bitRate, 2, "Mbit/s", false);
}

}  // namespace velmora::benchmarks
