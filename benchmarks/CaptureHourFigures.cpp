// An hour of capture at 60 pictures a second, played as fast as this machine can: what grows. First without a recording, then with one that
// lasts the whole hour. The encoder of pictures takes no time, that of sound and the writer are the real ones.

#include "tests/support/ProcessFigures.h"
#include "tests/support/media/RecordingEngine.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <thread>

namespace {

using namespace velmora::test;

/// Encodes, and tells how far it is: the last in the row of those that a recording waits for.
class MeasuredEncoder final : public velmora::linux_backend::AudioEncoder {
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
    const std::unique_ptr<velmora::linux_backend::AudioEncoder> encoder_ = makeAacEncoder();
};

std::size_t kibibytes(std::size_t bytes)
{
    return bytes / 1024;
}

void playAnHour(RecordingEngine& engine, const char* what, bool isRecording)
{
    const auto begin = std::chrono::steady_clock::now();
    for (int minute = 1; minute <= 60; ++minute) {
        // In real time nothing waits for longer than this.
        for (int second = 1; second <= 60; ++second) {
            engine.play(60);
            const std::size_t wanted = (static_cast<std::size_t>(minute - 1) * 60 + static_cast<std::size_t>(second) - 1) * 48'000;
            while (isRecording && MeasuredEncoder::frames < wanted)
                std::this_thread::sleep_for(std::chrono::milliseconds{1});
        }
        if (minute == 1 || minute % 15 == 0)
            std::printf("%-20s after %2d min: heap %7zu KiB, resident %7zu KiB, descriptors %zu, threads %zu\n", what, minute,
                kibibytes(heapInUse()), kibibytes(residentBytes()), openDescriptors(), threadCount());
        std::fflush(stdout);
    }
    std::printf("%-20s an hour took %.0f s\n", what, std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count());
}

}  // namespace

int main()
{
    RecordingEngine engine{30, {}, [](const auto&) -> velmora::Result<std::unique_ptr<velmora::linux_backend::AudioEncoder>> {
                               return std::make_unique<MeasuredEncoder>();
                           }};
    playAnHour(engine, "capture", false);
    engine.start();
    playAnHour(engine, "recording", true);
    const auto clip = engine.save();
    if (!clip) {
        std::fprintf(stderr, "capture_hour_figures: %s\n", engine.errors.empty() ? "no clip" : engine.errors.back().c_str());
        return 1;
    }
    std::printf("%-20s              heap %7zu KiB, resident %7zu KiB; the clip has %.1f MB\n", "saved", kibibytes(heapInUse()),
        kibibytes(residentBytes()), static_cast<double>(std::filesystem::file_size(*clip)) / 1e6);
    return 0;
}
