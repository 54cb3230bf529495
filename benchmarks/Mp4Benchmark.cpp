// What a recording costs besides the disk: writing a fragment, and finishing after minutes and after hours.
#include "media/mp4/RecordingFile.h"

#include <algorithm>
#include <benchmark/benchmark.h>

namespace velmora::mp4 {
namespace {

/// Takes everything and keeps nothing.
class NullFile final : public File {
public:
    Result<std::size_t> writeSomeAt(std::uint64_t offset, std::span<const std::byte> bytes) override
    {
        benchmark::DoNotOptimize(bytes.data());
        size_ = std::max(size_, offset + bytes.size());
        return bytes.size();
    }
    Result<std::size_t> readSomeAt(std::uint64_t, std::span<std::byte>) override { return std::size_t{0}; }
    Result<std::uint64_t> size() override { return size_; }
    Result<void> truncate(std::uint64_t size) override
    {
        size_ = size;
        return {};
    }
    Result<void> allocate(std::uint64_t size) override
    {
        size_ = std::max(size_, size);
        return {};
    }
    Result<void> sync() override { return {}; }
    Result<void> syncFolder() override { return {}; }
    Result<bool> tryLock() override { return true; }
    bool isStillInFolder() override { return true; }
    Result<void> removeFromFolder() override { return {}; }
    Result<void> moveTo(const std::filesystem::path&) override { return {}; }

private:
    std::uint64_t size_ = 0;
};

std::vector<RecordedTrack> tracks()
{
    return {{std::make_shared<const FormatDescription>(
                 VideoFormat{"avc1", 1280, 720, ColourDescription::bt709(), std::vector<std::byte>(40, std::byte{1})}),
                videoTimescale, 0},
        {std::make_shared<const FormatDescription>(AudioFormat{"mp4a", 48000, 2, {std::byte{0x11}, std::byte{0x90}}}), 48000, 1024}};
}

/// 0.8 s of 8 Mbit/s at 60 pictures a second, with sound, at times as uneven as a live capture's.
RecordedFragment fragment(std::int64_t number, const DataBlock& picture, const DataBlock& sound)
{
    RecordedFragment built{{0, {}}, {1, {}}};
    for (std::int64_t i = 0; i < 48; ++i)
        built[0].samples.push_back({picture, (number * 48 + i) * 1500 + i % 7, 1500, i == 0});
    for (std::int64_t i = number * 75 / 2; i < (number + 1) * 75 / 2; ++i)
        built[1].samples.push_back({sound, i * 1024, 1024, true});
    return built;
}

std::unique_ptr<RecordingFile> record(std::int64_t seconds)
{
    auto recording = RecordingFile::create(std::make_shared<NullFile>(), {});
    if (!recording || !(*recording)->start(tracks()))
        return nullptr;
    const auto picture = DataBlock::owning(std::vector<std::byte>(16'000));
    const auto sound = DataBlock::owning(std::vector<std::byte>(512));
    for (std::int64_t i = 0; i < seconds * 10 / 8; ++i) {
        if (!(*recording)->write(fragment(i, picture, sound)))
            return nullptr;
    }
    return std::move(*recording);
}

void writeFragment(benchmark::State& state)
{
    const auto recording = record(1);
    const auto picture = DataBlock::owning(std::vector<std::byte>(16'000));
    const auto sound = DataBlock::owning(std::vector<std::byte>(512));
    std::int64_t number = 10;
    for (auto _ : state)
        benchmark::DoNotOptimize(recording->write(fragment(number++, picture, sound)));
}
BENCHMARK(writeFragment)->Unit(benchmark::kMicrosecond);

void finish(benchmark::State& state)
{
    for (auto _ : state) {
        state.PauseTiming();
        auto recording = record(state.range(0));
        state.ResumeTiming();
        benchmark::DoNotOptimize(recording->finish({}));
    }
}
BENCHMARK(finish)->Arg(60)->Arg(3600)->Arg(36000)->Iterations(3)->ArgName("seconds")->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace velmora::mp4
