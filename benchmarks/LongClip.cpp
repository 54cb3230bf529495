#include "benchmarks/LongClip.h"

#include "benchmarks/ProcessUse.h"
#include "media/mp4/PendingFile.h"
#include "media/mp4/PosixFile.h"
#include "media/mp4/RecordingFile.h"
#include "media/mp4/Trimmer.h"

#include <algorithm>
#include <cstddef>
#include <random>
#include <vector>

namespace velmora::benchmarks {

namespace {

constexpr std::int64_t rate = 60;

void check(const Result<void>& result)
{
    if (!result)
        throw std::runtime_error(result.error().localizedDescription);
}

void writeLongClip(const std::filesystem::path& path, std::int64_t seconds)
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
    for (std::int64_t picture = 0; picture < seconds * rate;) {
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

}  // namespace

std::shared_ptr<mp4::File> openLongClip(const std::filesystem::path& folder, std::int64_t seconds)
{
    const auto path = folder / "velmora-long-clip.mp4";
    writeLongClip(path, seconds);
    auto source = valueOf(mp4::PosixFile::openForReading(path));
    std::filesystem::remove(path);
    return source;
}

double copySeconds(mp4::File& source, const std::filesystem::path& folder)
{
    const auto size = valueOf(source.size());
    const Stopwatch stopwatch;
    const auto target = valueOf(mp4::PendingFile::create(folder));
    std::vector<std::byte> buffer(1 << 20);
    if (!valueOf(target->file().copyFrom(source, 0, 0, size, buffer)))
        throw std::runtime_error("the clip is shorter than it was");
    check(target->sync());
    return stopwatch.seconds();
}

double trimSeconds(mp4::File& source, const std::filesystem::path& folder, const TimeRange& range)
{
    const Stopwatch stopwatch;
    const auto target = valueOf(mp4::PendingFile::create(folder));
    valueOf(mp4::trim(source, range, target->file()));
    check(target->sync());
    return stopwatch.seconds();
}

}  // namespace velmora::benchmarks
