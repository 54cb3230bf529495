#include "benchmarks/peers/Comparison.h"

#include "benchmarks/ProcessUse.h"
#include "benchmarks/peers/DisplayServer.h"
#include "benchmarks/peers/StructuralSimilarity.h"
#include "tests/support/recording/RecordedClip.h"
#include "tests/support/recording/Subjects.h"

#include <cmath>
#include <cstdio>
#include <exception>
#include <map>
#include <optional>
#include <set>
#include <stdexcept>
#include <thread>

namespace velmora::benchmarks {

namespace {

using namespace std::chrono_literals;
using namespace velmora::test;

constexpr auto measuredAtRest = 2s;
/// What starting costs does not count.
constexpr auto untilItRuns = 1500ms;
/// So that the last of the frames that count reach the file.
constexpr auto untilTheyAreWritten = 500ms;
constexpr int noiseSeconds = 30;
/// One picture in this many is compared, which tells as much as all of them and takes less time. A prime: encoders give every second or
/// fourth picture more bits than the others, and all kinds must be looked at.
constexpr std::size_t comparedDistance = 13;

/// Of the display server while nobody records, in seconds per second: what showing the window costs.
double serverShareAtRest(pid_t server)
{
    const ProcessorShare share{server};
    std::this_thread::sleep_for(measuredAtRest);
    return share.soFar();
}

}  // namespace

/// What a scene looks like in windows of one size.
class Reference {
public:
    Reference(const Scene& scene, int width, int height) : scene_(scene), width_(width), height_(height) { }

    /// Adds up how much a recording's pictures are like those of the window, in the part that moves.
    class Sum {
    public:
        Sum(Reference& reference, const PicturePart& part) : reference_(reference), part_(part) { }

        void look(const PictureView& luma, const ClipPicture& picture)
        {
            const auto number = picture.reading.number();
            if (!number || luma.width != reference_.width_ || luma.height != reference_.height_ || ++seen_ % comparedDistance != 0)
                return;
            const auto& original = reference_.of(reference_.scene_.indexOf(*number));
            const auto skipped = static_cast<std::size_t>(part_.y);
            const auto width = static_cast<std::size_t>(part_.width);
            sum_ += structuralSimilarity({original.data() + skipped * width, width, part_.width, part_.height},
                {reinterpret_cast<const std::uint8_t*>(luma.pixels) + skipped * luma.bytesPerRow, luma.bytesPerRow, part_.width,
                    part_.height});
            ++compared_;
        }

        [[nodiscard]] double mean() const { return compared_ == 0 ? std::nan("") : sum_ / compared_; }

    private:
        Reference& reference_;
        const PicturePart part_;
        double sum_ = 0;
        int compared_ = 0;
        std::size_t seen_ = 0;
    };

private:
    const std::vector<std::uint8_t>& of(std::uint32_t index)
    {
        auto& picture = pictures_[index];
        if (picture.empty()) {
            picture = scene_.picture(index, width_, height_);
            // As video has it: black is 16 and white 235 (ITU-R BT.709).
            for (auto& grey : picture)
                grey = static_cast<std::uint8_t>(16 + (grey * 219 + 127) / 255);
        }
        return picture;
    }

    const Scene& scene_;
    const int width_;
    const int height_;
    std::map<std::uint32_t, std::vector<std::uint8_t>> pictures_;
};

namespace {

struct Outcome {
    double processorShare = std::nan("");  ///< seconds per second, of the recorder and, above its rest, of the display server
    double frameShare = std::nan("");  ///< percent of the frames that the window showed meanwhile
    double similarity = std::nan("");
    double megabitsPerSecond = std::nan("");
};

/// A recording, and what was counted meanwhile.
struct Taken {
    double processorShare = 0;
    std::int64_t begin = 0;  ///< CLOCK_MONOTONIC nanoseconds
    std::int64_t end = 0;
};

Taken take(const Recorder& recorder, const ListedWindow& window, const Load& load, pid_t server, const std::filesystem::path& file)
{
    std::filesystem::remove(file);
    const auto recording = recorder.start(window, file);
    if (!waitUntil([&] { return std::filesystem::exists(file); }))
        throw std::runtime_error("no file");
    std::this_thread::sleep_for(untilItRuns);
    Taken taken{.begin = monotonicNow()};
    const ProcessorShare own{recording->processID()};
    const ProcessorShare servers{server};
    std::this_thread::sleep_for(load.measured);
    taken.processorShare = own.soFar() + servers.soFar();
    taken.end = monotonicNow();
    std::this_thread::sleep_for(untilTheyAreWritten);
    recording->finish();
    return taken;
}

/// `reference` is there when the load has a scene.
Outcome examine(const std::filesystem::path& file, const Taken& taken, const NumberedWindow& window, const Load& load, Reference* reference)
{
    std::optional<Reference::Sum> likeness;
    if (reference)
        likeness.emplace(*reference, FrameNumberStrip::movingPart(load.width, load.height, load.motionPercent));
    const auto clip = readClip(file, {}, [&](const PictureView& luma, const ClipPicture& picture) {
        if (likeness)
            likeness->look(luma, picture);
    });
    if (!clip.video)
        throw std::runtime_error("no pictures in the file");
    Outcome outcome{.processorShare = taken.processorShare, .megabitsPerSecond = clip.video->bitRate() / 1e6};
    if (likeness) {
        outcome.similarity = likeness->mean();
        std::set<std::uint32_t> recorded;
        for (const auto& picture : clip.video->pictures) {
            if (const auto number = picture.reading.number())
                recorded.insert(*number);
        }
        double shown = 0;
        double found = 0;
        for (const auto& [frame, time] : window.shown()) {
            if (time < taken.begin || time > taken.end)
                continue;
            ++shown;
            found += recorded.contains(frame) ? 1 : 0;
        }
        outcome.frameShare = 100 * found / shown;
    }
    return outcome;
}

}  // namespace

std::vector<std::string> windowOptions(const Load& load)
{
    std::vector<std::string> options{
        "--size", std::to_string(load.width) + "x" + std::to_string(load.height), "--fps", std::to_string(load.framesPerSecond)};
    if (load.scene)
        options.insert(options.end(), {"--scene", std::string{load.scene->name}, "--motion", std::to_string(load.motionPercent)});
    else
        options.push_back("--still");
    return options;
}

RecorderComparison::RecorderComparison()
{
    writeNoise(directory_.path() / "noise.wav", noiseSeconds);
}

RecorderComparison::~RecorderComparison() = default;

Reference& RecorderComparison::referenceFor(const Load& load)
{
    auto& reference = references_[{load.scene, load.width, load.height}];
    if (!reference)
        reference = std::make_unique<Reference>(*load.scene, load.width, load.height);
    return *reference;
}

void RecorderComparison::compare(Figures& figures, const Load& load)
{
    NumberedWindow window{windowOptions(load), directory_.path() / "noise.wav"};
    awaitPlayingStreams(1);
    if (load.scene)
        window.command("still");
    const auto listed = awaitWindow(window.title());
    const pid_t server = displayServer();
    // It stands still whenever nobody looks, so that it is not what disturbs.
    const auto whileItMoves = [&](const auto& action) {
        if (load.scene)
            window.command("go");
        action();
        if (load.scene)
            window.command("still");
    };
    double atRest = 0;
    whileItMoves([&] { atRest = serverShareAtRest(server); });

    std::vector<Figures::Compared> processor;
    std::vector<Figures::Compared> frames;
    std::vector<Figures::Compared> similarity;
    std::vector<Figures::Compared> bitRate;
    std::string disturbed;
    for (const auto& recorder : recorders_) {
        const auto file = directory_.path() / "clip.mp4";
        Outcome outcome;
        try {
            Taken taken;
            if (!figures.undisturbed([&] { whileItMoves([&] { taken = take(recorder, listed, load, server, file); }); }))
                disturbed += (disturbed.empty() ? "" : ", ") + recorder.name;
            outcome = examine(file, taken, window, load, load.scene ? &referenceFor(load) : nullptr);
        } catch (const std::exception& error) {
            std::fprintf(stderr, "%s, %s: %s\n", recorder.name.c_str(), load.name.c_str(), error.what());
            if (load.scene)
                window.command("still");
        }
        processor.push_back({recorder.name, outcome.processorShare - atRest});
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
    if (!disturbed.empty())
        figures.text("   the machine was not quiet in any try for", disturbed);
}

}  // namespace velmora::benchmarks
