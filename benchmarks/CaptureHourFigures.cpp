// An hour of capture at 60 pictures a second, played as fast as this machine can: what grows. First without a recording, then with one that
// lasts the whole hour. The picture encoder takes no time; the sound encoder and the writer are the real ones.

#include "benchmarks/Benchmark.h"
#include "benchmarks/ProcessUse.h"
#include "tests/support/ProcessFigures.h"
#include "tests/support/media/RecordingEngine.h"

#include <atomic>
#include <chrono>
#include <stdexcept>
#include <string>
#include <thread>

namespace {

using namespace velmora::test;
using velmora::benchmarks::Figures;
using velmora::benchmarks::Stopwatch;

constexpr velmora::benchmarks::Budget budget{.once = std::chrono::seconds{900}, .again = std::chrono::seconds{0}};

/// Encodes, and says how far it is: it is the last in the chain that a recording waits for.
class MeasuredEncoder final : public velmora::engine::AudioEncoder {
public:
    static inline std::atomic<std::size_t> frames = 0;

    [[nodiscard]] velmora::FormatDescriptionRef format() const override { return encoder_->format(); }
    [[nodiscard]] std::int64_t primingFrames() const override { return encoder_->primingFrames(); }
    velmora::Result<void> encode(std::span<const float> interleaved, std::vector<Packet>& packets) override
    {
        auto result = encoder_->encode(interleaved, packets);
        frames += interleaved.size() / 2;
        return result;
    }
    velmora::Result<void> flush(std::vector<Packet>& packets) override { return encoder_->flush(packets); }

private:
    const std::unique_ptr<velmora::engine::AudioEncoder> encoder_ = makeAacEncoder();
};

void addMemory(Figures& figures, const std::string& when)
{
    figures.add(when + ": heap", static_cast<double>(heapInUse()) / 1024, 0, "KiB");
    figures.add(when + ": resident", static_cast<double>(residentBytes()) / 1024, 0, "KiB");
    figures.add(when + ": open files and threads", static_cast<double>(openDescriptors() + threadCount()), 0, "");
}

void playAnHour(Figures& figures, RecordingEngine& engine, const std::string& what, bool isRecording)
{
    const Stopwatch stopwatch;
    for (int minute = 1; minute <= 60; ++minute) {
        // In real time nothing waits for longer than this.
        for (int second = 1; second <= 60; ++second) {
            engine.play(60);
            const std::size_t wanted = (static_cast<std::size_t>(minute - 1) * 60 + static_cast<std::size_t>(second) - 1) * 48'000;
            while (isRecording && MeasuredEncoder::frames < wanted)
                std::this_thread::sleep_for(std::chrono::milliseconds{1});
        }
        if (minute == 1 || minute == 60)
            addMemory(figures, what + ", after minute " + std::to_string(minute));
    }
    figures.add(what + ", what the hour took", stopwatch.seconds(), 0, "s");
}

void measure(Figures& figures)
{
    RecordingEngine engine{30, {},
        [](const auto&) -> velmora::Result<std::unique_ptr<velmora::engine::AudioEncoder>> { return std::make_unique<MeasuredEncoder>(); }};
    playAnHour(figures, engine, "An hour of capture", false);
    engine.start();
    playAnHour(figures, engine, "An hour in one recording", true);
    const Stopwatch saving;
    const auto clip = engine.save();
    const auto saved = saving.milliseconds();
    if (!clip)
        throw std::runtime_error(engine.errors.empty() ? "no clip" : engine.errors.back());
    addMemory(figures, "Saved");
    figures.add("Stop to the finished file of an hour", saved, 0, "ms");
    figures.add("The file", static_cast<double>(std::filesystem::file_size(*clip)) / 1e6, 1, "MB");
}

}  // namespace

int main(int argc, char** argv)
{
    return velmora::benchmarks::runBenchmark(argc, argv, budget, measure);
}
