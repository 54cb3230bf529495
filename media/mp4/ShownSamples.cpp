#include "media/mp4/ShownSamples.h"

#include <algorithm>
#include <cassert>

namespace velmora::mp4 {

namespace {

std::int64_t ticks(std::uint64_t duration, std::int32_t from, std::int32_t to)
{
    return static_cast<std::int64_t>(std::min(rescaled(duration, from, to), static_cast<std::uint64_t>(largestSeconds * to)));
}

/// `time` on the track's own time line.
std::int64_t mediaTimeAt(const Movie& movie, const Track& track, MediaTime time)
{
    const auto earliest = std::max(time, MediaTime::zero());
    const auto asked = std::min(earliest, MediaTime{largestSeconds, 1}).converted(track.timescale).value;
    // A track without edits is shown as it is.
    auto result = asked;
    std::int64_t begin = 0;
    for (const auto& edit : track.edits) {
        const auto end = begin + ticks(edit.duration, movie.timescale, track.timescale);
        if (edit.mediaTime >= 0) {
            if (edit.duration == 0 || asked < end)
                return edit.mediaTime + std::max<std::int64_t>(0, asked - begin);
            // The last moment that it shows, unless another edit follows.
            result = edit.mediaTime + (end - begin) - 1;
        }
        begin = std::min(end, largestSeconds * track.timescale);
    }
    return result;
}

struct Found {
    std::size_t index = 0;
    std::int64_t time = 0;
};

/// The last sample presented at or before `time`, else the one presented first.
Found find(const SampleTable& samples, std::int64_t time)
{
    Found shown;
    Found earliest;
    bool isShown = false;
    SampleTable::Cursor cursor{samples};
    Sample sample;
    for (std::size_t index = 0; cursor.next(sample); ++index) {
        const auto presented = sample.decodeTime + sample.compositionOffset;
        if (index == 0 || presented < earliest.time)
            earliest = {index, presented};
        if (presented <= time && (!isShown || presented >= shown.time)) {
            shown = {index, presented};
            isShown = true;
        }
    }
    return isShown ? shown : earliest;
}

std::int64_t presentationTimeOf(const SampleTable& samples, std::size_t wanted)
{
    SampleTable::Cursor cursor{samples};
    Sample sample;
    for (std::size_t index = 0; index <= wanted; ++index)
        cursor.next(sample);
    return sample.decodeTime + sample.compositionOffset;
}

}  // namespace

std::optional<ShownSamples> samplesShownAt(const Movie& movie, const Track& track, MediaTime time)
{
    assert(time.isValid());
    if (track.samples.isEmpty())
        return std::nullopt;
    const auto shown = find(track.samples, mediaTimeAt(movie, track, time));
    const auto& syncs = track.samples.syncSamples();
    auto sync = std::upper_bound(syncs.begin(), syncs.end(), shown.index);
    if (sync == syncs.begin())
        return ShownSamples{0, shown.index, shown.time};
    --sync;
    // A picture that is decoded after a sync sample but shown before it may need what came before that one.
    if (sync != syncs.begin() && presentationTimeOf(track.samples, *sync) > shown.time)
        --sync;
    return ShownSamples{*sync, shown.index, shown.time};
}

std::vector<MediaTime> pictureTimes(const Movie& movie, const Track& track)
{
    std::vector<std::int64_t> presented;
    presented.reserve(track.samples.count());
    SampleTable::Cursor cursor{track.samples};
    for (Sample sample; cursor.next(sample);)
        presented.push_back(sample.decodeTime + sample.compositionOffset);
    std::sort(presented.begin(), presented.end());

    std::vector<MediaTime> times;
    const auto add = [&](std::int64_t ticks) {
        if (const MediaTime time{ticks, track.timescale}; times.empty() || times.back() < time)
            times.push_back(time);
    };
    if (track.edits.empty()) {
        for (const auto time : presented)
            add(time);
        return times;
    }
    std::int64_t begin = 0;
    for (const auto& edit : track.edits) {
        const auto length = ticks(edit.duration, movie.timescale, track.timescale);
        const bool lastsToTheEnd = edit.duration == 0;
        if (edit.mediaTime >= 0 && !presented.empty()) {
            // An edit begins with the picture shown there, however long it has been shown already.
            auto picture = std::upper_bound(presented.begin(), presented.end(), edit.mediaTime);
            if (picture != presented.begin())
                --picture;
            for (; picture != presented.end() && (lastsToTheEnd || *picture < edit.mediaTime + length); ++picture)
                add(begin + std::max<std::int64_t>(0, *picture - edit.mediaTime));
        }
        begin = std::min(begin + length, largestSeconds * track.timescale);
    }
    return times;
}

}  // namespace velmora::mp4
