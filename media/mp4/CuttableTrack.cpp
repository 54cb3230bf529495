#include "media/mp4/CuttableTrack.h"

#include "media/mp4/AudioSpecificConfig.h"
#include "media/mp4/RecordingLayout.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <optional>

namespace velmora::mp4 {

namespace {

tl::unexpected<Error> invalidRange(const char* why)
{
    return fail(makeError(ErrorCode::invalidRange, why));
}

struct PresentedSpan {
    std::int64_t begin = std::numeric_limits<std::int64_t>::max();
    std::int64_t end = 0;
};

PresentedSpan presentedSpan(const SampleTable& samples)
{
    PresentedSpan span;
    SampleTable::Cursor cursor{samples};
    Sample sample;
    while (cursor.next(sample)) {
        const auto presented = sample.decodeTime + sample.compositionOffset;
        span.begin = std::min(span.begin, presented);
        span.end = std::max(span.end, presented + sample.duration);
    }
    return span;
}

}  // namespace

tl::unexpected<Error> cannotBeCut(const std::string& why)
{
    return fail(makeError(ErrorCode::unsupported, "The file cannot be trimmed exactly: " + why + "."));
}

tl::unexpected<Error> tooLargeForAFile()
{
    return fail(makeError(ErrorCode::tooLarge, "The clip is too long for one file."));
}

Result<void> checkTrack(const Track& track)
{
    if (track.sampleEntryCount != 1)
        return cannotBeCut("a track changes its format");
    if (const auto* video = track.format->video()) {
        if (video->codec != FourCharacterCode{"avc1"} && video->codec != FourCharacterCode{"avc3"})
            return cannotBeCut("its video is not H.264");
        return {};
    }
    const auto& audio = *track.format->audio();
    if (audio.codec != FourCharacterCode{"mp4a"} || audio.decoderConfiguration.empty())
        return cannotBeCut("its sound is not AAC");
    // Twice the rate in the sample entry means spectral band replication, whether the configuration says so or not.
    const auto rate = sampleRateOf(audio.decoderConfiguration);
    if (!isPlainAacLc(audio.decoderConfiguration) || (rate > 0 && audio.sampleRate == 2 * rate))
        return cannotBeCut("its sound is a kind of AAC that cannot be cut at a packet");
    if (track.samples.hasCompositionOffsets())
        return cannotBeCut("its sound is stored out of order");
    return {};
}

Result<ShownMedia> shownMedia(const Movie& movie, const Track& track)
{
    const auto span = presentedSpan(track.samples);
    ShownMedia shown{{0, movie.timescale}, 0, span.end};
    bool found = false;
    for (const auto& edit : track.edits) {
        if (edit.mediaTime < 0) {
            if (!found)
                shown.begin.value += static_cast<std::int64_t>(edit.duration);
            continue;
        }
        if (found)
            return cannotBeCut("it is put together from several parts");
        if (!edit.isAtNormalSpeed)
            return cannotBeCut("it does not play at its original speed");
        found = true;
        shown.mediaBegin = edit.mediaTime;
        if (edit.duration == 0)
            continue;
        const auto end = edit.mediaTime + static_cast<std::int64_t>(rescaled(edit.duration, movie.timescale, track.timescale));
        // The movie's scale may be too coarse for the end of the media.
        const MediaTime missing = MediaTime{span.end, track.timescale} - MediaTime{end, track.timescale};
        if (missing >= MediaTime{1, movie.timescale})
            shown.mediaEnd = end;
    }
    if (!track.edits.empty() && !found)
        shown.mediaEnd = shown.mediaBegin;
    if (span.begin > shown.mediaBegin) {
        shown.begin = shown.begin + MediaTime{span.begin - shown.mediaBegin, track.timescale};
        shown.mediaBegin = span.begin;
    }
    shown.mediaEnd = std::max(shown.mediaEnd, shown.mediaBegin);
    return shown;
}

MediaTime endOf(const ShownMedia& shown, const Track& track)
{
    return shown.begin + MediaTime{shown.mediaEnd - shown.mediaBegin, track.timescale};
}

Result<Kept> keptRange(const TimeRange& range, MediaTime duration)
{
    if (!range.start.isValid() || !range.end.isValid())
        return invalidRange("There is no such range.");
    Kept kept{range, false};
    kept.range.start = std::max(range.start, MediaTime::zero());
    if (!(kept.range.start < range.end))
        return invalidRange("The range ends before it begins.");
    if (range.end >= duration.converted(range.end.timescale))
        kept.range.end = duration;
    if (!(kept.range.start < duration))
        return invalidRange("The range begins after the end of the clip.");
    kept.isWhole = kept.range.start == MediaTime::zero() && kept.range.end >= duration;
    return kept;
}

Track emptyCopy(const Track& source)
{
    Track track = source;
    track.samples = SampleTable{};
    track.edits.clear();
    return track;
}

Result<Track> onItsOwnClock(const Track& source, std::int32_t rate, std::int32_t packetFrames)
{
    Track track = emptyCopy(source);
    track.timescale = rate;
    const auto frames = [&](std::int64_t ticks) { return MediaTime{ticks, source.timescale}.converted(rate).value; };
    for (auto edit : source.edits) {
        if (edit.mediaTime > 0)
            edit.mediaTime = frames(edit.mediaTime);
        track.edits.push_back(edit);
    }
    // Times that were rounded to the other scale are those of packets without a gap between them.
    const auto leeway = rate / source.timescale + 2;
    SampleTable::Cursor cursor{source.samples};
    std::optional<std::int64_t> next;
    std::int64_t time = 0;
    for (Sample sample; cursor.next(sample);) {
        time = frames(sample.decodeTime);
        if (next && std::abs(time - *next) <= leeway)
            time = *next;
        if (!track.samples.append({sample.offset, sample.size, time, 0, sample.isSync}))
            return tooLargeForAFile();
        next = time + packetFrames;
    }
    const auto end = frames(source.samples.firstDecodeTime() + static_cast<std::int64_t>(source.samples.duration()));
    track.samples.setLastDuration(
        static_cast<std::uint32_t>(std::clamp<std::int64_t>(end - time, 0, std::numeric_limits<std::uint32_t>::max())));
    return track;
}

}  // namespace velmora::mp4
