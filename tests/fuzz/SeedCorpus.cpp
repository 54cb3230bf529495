// Writes the inputs that the fuzzers start from, with this system's own writer. They are small and do not depend on the date.
//
//     fuzz_seeds FOLDER
//
// leaves FOLDER/movie_reader, FOLDER/repair and FOLDER/trim_planner.
#include "media/mp4/RecordingFile.h"
#include "media/mp4/Trimmer.h"
#include "tests/fuzz/TrimInput.h"
#include "tests/support/media/MemoryFile.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

using namespace velmora;

namespace {

constexpr std::int32_t soundRate = 48000;
constexpr std::uint32_t pictureTicks = 3000;  // 30 a second
constexpr int picturesInFragment = 6;
constexpr int fragmentCount = 3;

std::vector<std::byte> bytes(std::initializer_list<int> values)
{
    std::vector<std::byte> result;
    for (const auto value : values)
        result.push_back(static_cast<std::byte>(value));
    return result;
}

// ISO 14496-15 5.3.3.1: High profile, one parameter set of each kind, both meaningless.
FormatDescriptionRef pictureFormat()
{
    return std::make_shared<const FormatDescription>(VideoFormat{FourCharacterCode{"avc1"}, 320, 240, ColourDescription::bt709(),
        bytes({1, 100, 0, 31, 0xFF, 0xE1, 0, 4, 0x67, 100, 0, 31, 1, 0, 2, 0x68, 0xEE, 0xFD, 0xF8, 0xF8, 0})});
}

// ISO 14496-3 1.6.2.1: AAC-LC, 48 kHz, two channels.
FormatDescriptionRef soundFormat()
{
    return std::make_shared<const FormatDescription>(AudioFormat{FourCharacterCode{"mp4a"}, soundRate, 2, bytes({0x11, 0x90})});
}

/// A NAL unit of six bytes, preceded by its length.
DataBlock picture(int number, bool isSync)
{
    return DataBlock::owning(bytes({0, 0, 0, 6, isSync ? 0x65 : 0x41, number, 1, 2, 3, 4}));
}

struct Seed {
    bool hasSound = true;
    std::int64_t soundStart = 0;  ///< frames
    std::uint32_t reserveSize = 2048;
    bool isFinished = true;
};

void expect(bool condition, const char* what)
{
    fuzz::require(condition, what);
}

std::vector<std::byte> recording(const Seed& seed)
{
    const auto file = std::make_shared<test::MemoryFile>();
    mp4::RecordingOptions options;
    options.reserveSize = seed.reserveSize;
    options.creationTime = 3'800'000'000;
    auto writer = mp4::RecordingFile::create(file, options);
    expect(writer.has_value(), "no recording");
    std::vector<mp4::RecordedTrack> tracks{{pictureFormat(), mp4::videoTimescale, 0}};
    if (seed.hasSound)
        tracks.push_back({soundFormat(), soundRate, 1024});
    expect((*writer)->start(tracks).has_value(), "no index");
    std::int64_t time = 0;
    std::int64_t soundTime = seed.soundStart;
    for (int fragment = 0; fragment < fragmentCount; ++fragment) {
        mp4::RecordedFragment samples{{0, {}}};
        for (int i = 0; i < picturesInFragment; ++i, time += pictureTicks)
            samples[0].samples.push_back({picture(fragment * picturesInFragment + i, i == 0), time, pictureTicks, i == 0});
        mp4::RecordedRun sound{1, {}};
        for (; seed.hasSound && soundTime * mp4::videoTimescale < time * soundRate; soundTime += 1024)
            sound.samples.push_back({DataBlock::owning(bytes({0x21, 0x10, 4, fragment})), soundTime, 1024, true});
        if (!sound.samples.empty())
            samples.push_back(std::move(sound));
        expect((*writer)->write(samples).has_value(), "no fragment");
    }
    if (seed.isFinished) {
        std::vector<mp4::TrackEnd> ends(tracks.size());
        expect((*writer)->finish(ends).has_value(), "no end");
    }
    return file->content();
}

std::vector<std::byte> partOf(const std::vector<std::byte>& movie, const TimeRange& range)
{
    test::MemoryFile source{movie};
    test::MemoryFile target;
    mp4::TrimOptions options;
    options.creationTime = 3'800'000'000;
    expect(mp4::trim(source, range, target, {}, options).has_value(), "no part");
    return target.content();
}

/// Without the last `count` bytes: a loss of power.
std::vector<std::byte> torn(std::vector<std::byte> movie, std::size_t count)
{
    movie.resize(movie.size() - count);
    return movie;
}

void save(const std::filesystem::path& path, const std::vector<std::byte>& head, const std::vector<std::byte>& movie)
{
    std::filesystem::create_directories(path.parent_path());
    std::ofstream stream{path, std::ios::binary};
    for (const auto& part : {head, movie})
        stream.write(reinterpret_cast<const char*>(part.data()), static_cast<std::streamsize>(part.size()));
    expect(stream.good(), "a seed cannot be written");
}

}  // namespace

int main(int count, char** arguments)
{
    if (count != 2) {
        std::fputs("usage: fuzz_seeds FOLDER\n", stderr);
        return 2;
    }
    const std::filesystem::path folder{arguments[1]};
    const auto whole = recording({});
    const auto unfinished = recording({.isFinished = false});
    const auto cramped = recording({.reserveSize = 64, .isFinished = false});
    const auto part = partOf(whole, {{130, 600}, {300, 600}});

    const auto readers = folder / "movie_reader";
    save(readers / "whole", {}, whole);
    save(readers / "index-behind", {}, recording({.reserveSize = 64}));
    save(readers / "pictures-only", {}, recording({.hasSound = false}));
    save(readers / "late-sound", {}, recording({.soundStart = 9000}));
    save(readers / "part", {}, part);
    save(readers / "unfinished", {}, cramped);
    save(readers / "torn", {}, torn(cramped, 20));

    const auto repairs = folder / "repair";
    save(repairs / "unfinished", {}, unfinished);
    save(repairs / "unfinished-cramped", {}, cramped);
    save(repairs / "unfinished-pictures-only", {}, recording({.hasSound = false, .reserveSize = 2048, .isFinished = false}));
    save(repairs / "unfinished-late-sound", {}, recording({.soundStart = 9000, .reserveSize = 64, .isFinished = false}));
    save(repairs / "torn", {}, torn(cramped, 20));
    save(repairs / "torn-index", {}, torn(cramped, cramped.size() - 300));

    // Range and movie: as in TrimInput.
    const auto trims = folder / "trim_planner";
    save(trims / "inside", bytes({0, 0, 0, 0, 130, 0, 0, 1, 44}), whole);
    save(trims / "all", bytes({0, 0, 0, 0, 0, 0, 0, 255, 255}), whole);
    save(trims / "from-a-key-frame", bytes({1, 0, 0, 0, 200, 0, 0, 1, 144}), recording({.hasSound = false, .reserveSize = 64}));
    save(trims / "late-sound", bytes({2, 0, 0, 20, 0, 0, 0, 80, 0}), recording({.soundStart = 9000}));
    save(trims / "part-of-a-part", bytes({3, 0, 0, 10, 0, 0, 0, 60, 0}), part);
    save(trims / "unfinished", bytes({4, 5, 0, 0, 0, 25, 0, 0, 0}), cramped);
    return 0;
}
