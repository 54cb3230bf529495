// A part of any movie is made of that movie's own samples and reads back as it was planned, or it is refused in words. So is what is left
// when that part is cut out, but for what is to be encoded anew.
#include "media/mp4/MovieReader.h"
#include "media/mp4/Trimmer.h"
#include "tests/fuzz/TrimInput.h"
#include "tests/support/media/MemoryFile.h"

#include <algorithm>
#include <limits>

using namespace velmora;

namespace {

constexpr std::uint64_t largestWritten = std::uint64_t{1} << 22;  // bytes and samples; more only takes time

std::vector<std::byte> read(mp4::File& file, const mp4::Sample& sample)
{
    std::vector<std::byte> bytes(sample.size);
    const auto complete = file.readAt(sample.offset, bytes);
    fuzz::require(complete && *complete, "a sample lies outside the file");
    return bytes;
}

void checkWritten(test::MemoryFile& source, const mp4::Movie& plan, test::MemoryFile& target)
{
    const auto written = mp4::readMovie(target);
    fuzz::require(written.has_value(), "a part that was written cannot be read");
    fuzz::require(
        !written->movie.isFragmented && written->movie.tracks.size() == plan.tracks.size(), "a part has other tracks than planned");
    fuzz::require(
        mp4::presentationDuration(written->movie) == mp4::presentationDuration(plan), "a part lasts longer or shorter than planned");
    for (std::size_t i = 0; i < plan.tracks.size(); ++i) {
        const auto& planned = plan.tracks[i].samples;
        const auto& found = written->movie.tracks[i].samples;
        fuzz::require(planned.count() == found.count() && planned.syncSamples() == found.syncSamples(), "a part has other samples");
        fuzz::require(written->movie.tracks[i].edits == plan.tracks[i].edits, "a part has other edits than planned");
        mp4::SampleTable::Cursor from{planned};
        mp4::SampleTable::Cursor to{found};
        mp4::Sample a;
        mp4::Sample b;
        while (from.next(a) && to.next(b)) {
            fuzz::require(a.decodeTime - planned.firstDecodeTime() == b.decodeTime - found.firstDecodeTime()
                    && a.compositionOffset == b.compositionOffset && a.duration == b.duration,
                "a sample has another time than planned");
            fuzz::require(read(source, a) == read(target, b), "a sample has other bytes than its source");
        }
    }
}

void checkRuns(const mp4::SplicePlan& plan, std::size_t sampleCount)
{
    std::size_t encoded = 0;
    for (const auto& run : plan.pictureRuns) {
        fuzz::require(run.firstDecoded <= run.lastDecoded && run.lastDecoded < sampleCount && !run.encoded.empty(), "a run makes no sense");
        for (const auto index : run.encoded)
            fuzz::require(run.firstDecoded <= index && index <= run.lastDecoded, "a picture is encoded that is not decoded");
        encoded += run.encoded.size();
    }
    for (std::size_t i = 0; i < plan.pictures.size(); ++i) {
        const auto& picture = plan.pictures[i];
        fuzz::require(picture.decode <= picture.presentation, "a picture is shown before it is decoded");
        fuzz::require(i == 0 || plan.pictures[i - 1].decode < picture.decode, "pictures are decoded at one time");
        encoded -= picture.origin.source == mp4::SampleOrigin::anew ? 1 : 0;
    }
    fuzz::require(encoded == 0, "other pictures are encoded than are shown");
    if (!plan.sound)
        return;
    std::int64_t next = 0;
    for (const auto& run : plan.sound->runs) {
        fuzz::require(run.first == next && run.count > 0, "a packet of sound is there twice or missing");
        fuzz::require(
            !run.isCopied || run.firstInSource + static_cast<std::size_t>(run.count) <= plan.sound->sources[run.source].packets.size(),
            "a packet of sound is copied that does not exist");
        next += run.count;
    }
    fuzz::require(next == plan.sound->packetCount(), "the sound ends too soon or too late");
}

void checkCut(test::MemoryFile& source, const TimeRange& range)
{
    const TimeRange all{MediaTime::zero(), {std::numeric_limits<std::int32_t>::max(), 1}};
    const auto splice = mp4::readAndPlanSplice({{&source, {}, all, {range}}});
    if (!splice) {
        fuzz::require(!splice.error().localizedDescription.empty(), "an error without words");
        return;
    }
    if (splice->plan.isTrim)
        return;
    for (const auto& track : splice->movies[0].movie.tracks) {
        if (track.isVideo() && !track.samples.isEmpty())
            checkRuns(splice->plan, track.samples.count());
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const auto input = fuzz::TrimInput::parse({data, size});
    if (!input)
        return 0;
    test::MemoryFile source{input->movie};
    checkCut(source, input->range);
    const auto plan = mp4::readAndPlanTrim(source, input->range);
    if (!plan) {
        fuzz::require(!plan.error().localizedDescription.empty(), "an error without words");
        return 0;
    }
    fuzz::require(std::count_if(plan->tracks.begin(), plan->tracks.end(), [](const auto& track) { return track.isVideo(); }) == 1,
        "a part without pictures, or with two tracks of them");
    std::uint64_t work = 0;
    for (const auto& track : plan->tracks) {
        fuzz::require(!track.samples.isEmpty(), "a track of a part is empty");
        work += track.samples.byteCount() + track.samples.count();
    }
    if (work > largestWritten)
        return 0;
    test::MemoryFile target;
    const auto outcome = mp4::writeTrim(source, *plan, target);
    if (!outcome) {
        fuzz::require(!outcome.error().localizedDescription.empty(), "an error without words");
        return 0;
    }
    checkWritten(source, *plan, target);
    return 0;
}
