// A repair makes a recording whole with every sample that it had, or leaves the file as it was.
#include "media/mp4/Repair.h"
#include "tests/fuzz/FuzzTarget.h"
#include "tests/support/media/MemoryFile.h"

using namespace velmora;

namespace {

struct Place {
    std::uint64_t offset = 0;
    std::uint32_t size = 0;

    friend bool operator==(const Place&, const Place&) = default;
};

/// Where the samples are, of the tracks that have any.
std::vector<std::vector<Place>> places(const mp4::Movie& movie)
{
    std::vector<std::vector<Place>> result;
    for (const auto& track : movie.tracks) {
        if (track.samples.isEmpty())
            continue;
        auto& samples = result.emplace_back();
        mp4::SampleTable::Cursor cursor{track.samples};
        mp4::Sample sample;
        while (cursor.next(sample))
            samples.push_back({sample.offset, sample.size});
    }
    return result;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const auto bytes = fuzz::bytesOf({data, size});
    test::MemoryFile file{bytes};
    const auto before = mp4::readWholeFragments(file);
    const auto report = mp4::repair(file);
    if (!report || report->wasFinished) {
        fuzz::require(file.content() == bytes, "a file that was not repaired was changed");
        fuzz::require(report || !report.error().localizedDescription.empty(), "an error without words");
        return 0;
    }
    fuzz::require(before.has_value(), "a file that cannot be read was repaired");
    fuzz::require(report->droppedBytes <= size, "more was dropped than there was");

    const auto after = mp4::readMovie(file);
    fuzz::require(after.has_value(), "a repaired file cannot be read");
    fuzz::require(after->recording && after->recording->isFinished && !after->movie.isFragmented, "a repaired file is not whole");
    fuzz::require(places(before->movie) == places(after->movie), "a repair moved or lost samples");
    const auto content = file.content();
    for (const auto& samples : places(after->movie)) {
        for (const auto& [offset, length] : samples)
            fuzz::require(
                std::equal(content.begin() + static_cast<std::ptrdiff_t>(offset),
                    content.begin() + static_cast<std::ptrdiff_t>(offset + length), bytes.begin() + static_cast<std::ptrdiff_t>(offset)),
                "a repair changed a sample");
    }
    const auto again = mp4::repair(file);
    fuzz::require(again && again->wasFinished, "a repaired file is not finished");
    fuzz::require(file.content() == content, "a second repair changed the file");
    return 0;
}
