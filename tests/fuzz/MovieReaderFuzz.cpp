// Any bytes are a file that the reader understands within its bounds, or one that it refuses in words.
#include "media/mp4/MovieReader.h"
#include "media/mp4/ShownSamples.h"
#include "tests/fuzz/FuzzTarget.h"
#include "tests/support/media/MemoryFile.h"

using namespace velmora;

namespace {

void checkSamples(const mp4::Track& track, std::uint64_t fileSize)
{
    std::size_t count = 0;
    std::int64_t lastTime = track.samples.firstDecodeTime();
    mp4::SampleTable::Cursor cursor{track.samples};
    mp4::Sample sample;
    while (cursor.next(sample)) {
        ++count;
        fuzz::require(sample.offset <= fileSize && sample.size <= fileSize - sample.offset, "a sample lies outside the file");
        fuzz::require(sample.decodeTime >= lastTime, "samples are decoded before their predecessors");
        lastTime = sample.decodeTime;
    }
    fuzz::require(count == track.samples.count(), "samples are missing or doubled");
}

void checkPictures(const mp4::Movie& movie, const mp4::Track& track)
{
    const auto duration = mp4::presentationDuration(movie, track);
    for (const auto time : {MediaTime::zero(), MediaTime{duration.value / 2, duration.timescale}, duration}) {
        const auto shown = mp4::samplesShownAt(movie, track, time);
        fuzz::require(shown.has_value() != track.samples.isEmpty(), "a track shows a picture that it has not, or none that it has");
        if (shown) {
            fuzz::require(shown->first <= shown->last && shown->last < track.samples.count(), "a picture of samples that are none");
        }
    }
    std::optional<MediaTime> last;
    for (const auto time : mp4::pictureTimes(movie, track)) {
        fuzz::require(time.isValid() && (!last || *last < time), "the times of pictures do not ascend");
        last = time;
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    test::MemoryFile file{fuzz::bytesOf({data, size})};
    const auto read = mp4::readMovie(file);
    if (!read) {
        fuzz::require(!read.error().localizedDescription.empty(), "an error without words");
        return 0;
    }
    fuzz::require(read->wholeEnd <= size && read->lastFragment <= size, "the file ends before it is whole");
    fuzz::require(mp4::presentationDuration(read->movie) >= MediaTime::zero(), "a movie of negative duration");
    for (const auto& track : read->movie.tracks) {
        fuzz::require(track.format && track.timescale > 0, "a track without a format or a time scale");
        checkSamples(track, size);
        if (track.isVideo())
            checkPictures(read->movie, track);
    }
    return 0;
}
