// What a trim costs beside copying the bytes: a clip of an hour, trimmed and copied in turn, each flushed to the disk. The
// temporary folder needs room for three times 3.7 GB.

#include "benchmarks/Figures.h"
#include "media/mp4/PendingFile.h"
#include "media/mp4/PosixFile.h"
#include "media/mp4/RecordingFile.h"
#include "media/mp4/Trimmer.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace velmora;
using Clock = std::chrono::steady_clock;

constexpr std::int64_t clipSeconds = 3600;
constexpr std::int64_t rate = 60;
constexpr int rounds = 3;

[[noreturn]] void giveUp(const Error& error)
{
    std::fprintf(stderr, "%s\n", error.localizedDescription.c_str());
    std::exit(1);
}

template <typename T>
T valueOf(Result<T> result)
{
    if (!result)
        giveUp(result.error());
    return std::move(*result);
}

void check(const Result<void>& result)
{
    if (!result)
        giveUp(result.error());
}

/// 8 Mbit/s of pictures and 192 kbit/s of sound that no file system can make smaller, in the recorder's own fragments.
void writeHour(const std::filesystem::path& path)
{
    std::vector<std::byte> noise(1 << 20);
    std::mt19937_64 random{1};
    std::generate(noise.begin(), noise.end(), [&random] { return static_cast<std::byte>(random()); });
    const auto block = [&noise, &random](std::size_t size) {
        const auto begin = random() % (noise.size() - size);
        return DataBlock::owning(
            {noise.begin() + static_cast<std::ptrdiff_t>(begin), noise.begin() + static_cast<std::ptrdiff_t>(begin + size)});
    };
    const std::vector<mp4::RecordedTrack> tracks{{std::make_shared<const FormatDescription>(VideoFormat{"avc1", 1280, 720,
                                                      ColourDescription::bt709(), std::vector<std::byte>(40, std::byte{1})}),
                                                     mp4::videoTimescale, 0},
        {std::make_shared<const FormatDescription>(AudioFormat{"mp4a", 48000, 2, {std::byte{0x11}, std::byte{0x90}}}), 48000, 1024}};
    const auto recording = valueOf(mp4::RecordingFile::create(valueOf(mp4::PosixFile::create(path)), {}));
    check(recording->start(tracks));
    std::int64_t packets = 0;
    for (std::int64_t picture = 0; picture < clipSeconds * rate;) {
        mp4::RecordedFragment fragment{{0, {}}, {1, {}}};
        // 0.8 s; every 30th is a key frame, five times as large as the others.
        for (int i = 0; i < 48; ++i, ++picture) {
            const bool isSync = picture % 30 == 0;
            fragment[0].samples.push_back({block(isSync ? 73'500 : 14'700), picture * mp4::videoTimescale / rate, 1500, isSync});
        }
        for (; packets * 1024 < picture * 48000 / rate; ++packets)
            fragment[1].samples.push_back({block(512), packets * 1024, 1024, true});
        check(recording->write(fragment));
    }
    valueOf(recording->finish({}));
}

double seconds(Clock::duration duration)
{
    return std::chrono::duration<double>(duration).count();
}

/// All bytes into a new file, as a trim writes it.
double copy(mp4::File& source, const std::filesystem::path& folder)
{
    const auto size = valueOf(source.size());
    const auto begin = Clock::now();
    const auto target = valueOf(mp4::PendingFile::create(folder));
    std::vector<std::byte> buffer(1 << 20);
    if (!valueOf(target->file().copyFrom(source, 0, 0, size, buffer)))
        std::exit(1);
    check(target->sync());
    return seconds(Clock::now() - begin);
}

double trim(mp4::File& source, const std::filesystem::path& folder, const TimeRange& range)
{
    const auto begin = Clock::now();
    const auto target = valueOf(mp4::PendingFile::create(folder));
    valueOf(mp4::trim(source, range, target->file()));
    check(target->sync());
    return seconds(Clock::now() - begin);
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

}  // namespace

int main(int argc, char** argv)
{
    benchmarks::Figures figures{argc, argv};
    const auto folder = std::filesystem::temp_directory_path();
    const auto path = folder / "velmora-trim-figures.mp4";
    writeHour(path);
    const auto source = valueOf(mp4::PosixFile::openForReading(path));
    // From here on nothing is left behind, however this ends.
    std::filesystem::remove(path);
    const auto gigabytes = static_cast<double>(valueOf(source->size())) / 1e9;

    // Not the whole clip: a lead-in, a cut picture, a packet that is cut.
    const TimeRange range{{1234, 1000}, {clipSeconds * 1000 - 1234, 1000}};
    figures.add("The clip of an hour", gigabytes, 1, "GB");
    figures.row([&] {
        std::vector<double> copies;
        std::vector<double> trims;
        std::vector<double> plans;
        for (int round = 0; round < rounds; ++round) {
            copies.push_back(copy(*source, folder));
            trims.push_back(trim(*source, folder, range));
            const auto begin = Clock::now();
            valueOf(mp4::readAndPlanTrim(*source, range));
            plans.push_back(seconds(Clock::now() - begin));
        }
        figures.compare(
            "Its trim beside a copy of its bytes, median", {{"velmora", median(trims)}, {"copy", median(copies)}}, 2, "s", true);
        figures.add("of that planning", median(plans), 2, "s");
    });
    try {
        figures.write();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "trim_figures: %s\n", error.what());
        return 1;
    }
    return 0;
}
