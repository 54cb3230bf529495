#include "media/mp4/Movie.h"

#include <algorithm>
#include <cassert>
#include <chrono>
#include <limits>

namespace velmora::mp4 {

namespace {

__extension__ typedef unsigned __int128 Wide;

std::int64_t bounded(std::uint64_t time, std::int32_t timescale)
{
    return static_cast<std::int64_t>(std::min(time, static_cast<std::uint64_t>(largestSeconds * timescale)));
}

std::int64_t mediaStart(const Track& track)
{
    for (const auto& edit : track.edits) {
        if (edit.mediaTime >= 0)
            return edit.mediaTime;
    }
    return 0;
}

/// Frames of sound that play, on the track's own scale.
std::int64_t soundFrames(const Track& track, const TrackEnd& end)
{
    const auto decoded = static_cast<std::int64_t>(track.samples.duration()) - mediaStart(track);
    return std::max<std::int64_t>(0, end.presentedFrames ? std::min(*end.presentedFrames, decoded) : decoded);
}

/// When the sound of a recording ends, on the recording's time line; none without sound.
std::optional<MediaTime> endOfSound(const Movie& movie, const std::vector<TrackEnd>& ends)
{
    std::optional<MediaTime> latest;
    for (std::size_t i = 0; i < movie.tracks.size(); ++i) {
        const auto& track = movie.tracks[i];
        if (track.isVideo() || track.samples.isEmpty())
            continue;
        const auto frames = soundFrames(track, i < ends.size() ? ends[i] : TrackEnd{});
        const MediaTime end{track.samples.firstDecodeTime() + frames, track.timescale};
        if (!latest || end > *latest)
            latest = end;
    }
    return latest;
}

std::uint32_t lastPictureDuration(const Track& track, std::optional<MediaTime> endOfSound)
{
    const auto longest = longestLastPicture.converted(track.timescale).value;
    std::int64_t duration = track.samples.lastDuration();
    if (endOfSound) {
        const auto untilEnd = endOfSound->converted(track.timescale).value - track.samples.lastDecodeTime();
        if (untilEnd > 0)
            duration = untilEnd;
    }
    return static_cast<std::uint32_t>(std::clamp<std::int64_t>(duration, 1, longest));
}

}  // namespace

std::uint64_t rescaled(std::uint64_t value, std::int32_t from, std::int32_t to)
{
    assert(from > 0 && to > 0);
    if (from == to)
        return value;
    const auto divisor = static_cast<std::uint32_t>(from);
    const Wide result = (Wide{value} * static_cast<std::uint32_t>(to) + divisor / 2) / divisor;
    return result > std::numeric_limits<std::uint64_t>::max() ? std::numeric_limits<std::uint64_t>::max()
                                                              : static_cast<std::uint64_t>(result);
}

MediaTime presentationDuration(const Movie& movie, const Track& track)
{
    std::int64_t edited = 0;
    bool untilTheEnd = track.edits.empty();
    for (const auto& edit : track.edits) {
        const auto sum = static_cast<std::uint64_t>(edited) + static_cast<std::uint64_t>(bounded(edit.duration, movie.timescale));
        edited = bounded(sum, movie.timescale);
        untilTheEnd = untilTheEnd || (edit.duration == 0 && edit.mediaTime >= 0);
    }
    if (!untilTheEnd || track.samples.isEmpty())
        return {edited, movie.timescale};
    // Samples of a fragmented file are where their decode times put them, from the media's beginning.
    const auto media = bounded(track.samples.duration(), track.timescale);
    const auto lead = movie.isFragmented ? std::max<std::int64_t>(track.samples.firstDecodeTime(), 0) : 0;
    const auto shown = bounded(static_cast<std::uint64_t>(std::max<std::int64_t>(0, lead + media - mediaStart(track))), track.timescale);
    return MediaTime{edited, movie.timescale} + MediaTime{shown, track.timescale};
}

MediaTime presentationDuration(const Movie& movie)
{
    MediaTime longest{0, movie.timescale};
    for (const auto& track : movie.tracks) {
        const auto duration = presentationDuration(movie, track);
        if (duration > longest)
            longest = duration;
    }
    return longest;
}

std::uint64_t currentFileTime()
{
    constexpr std::uint64_t secondsFrom1904To1970 = 2'082'844'800;
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return secondsFrom1904To1970 + static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::seconds>(now).count());
}

void closeRecordedMovie(Movie& movie, const std::vector<TrackEnd>& ends)
{
    const auto soundEnd = endOfSound(movie, ends);
    for (std::size_t i = 0; i < movie.tracks.size(); ++i) {
        auto& track = movie.tracks[i];
        if (track.samples.isEmpty())
            continue;
        auto shown = static_cast<std::int64_t>(0);
        if (track.isVideo()) {
            track.samples.setLastDuration(lastPictureDuration(track, soundEnd));
            shown = static_cast<std::int64_t>(track.samples.duration());
        } else {
            shown = soundFrames(track, i < ends.size() ? ends[i] : TrackEnd{});
            // Readers that take the media's duration for the track's get the right one too.
            const auto end = track.samples.firstDecodeTime() + mediaStart(track) + shown;
            const std::int64_t last = track.samples.lastDuration();
            track.samples.setLastDuration(static_cast<std::uint32_t>(
                std::clamp<std::int64_t>(end - track.samples.lastDecodeTime(), std::min<std::int64_t>(1, last), last)));
        }
        const auto first = std::max<std::int64_t>(0, track.samples.firstDecodeTime());
        const auto start = mediaStart(track);
        // The end is rounded, not the length: tracks that end together end together.
        const auto beginning = rescaled(static_cast<std::uint64_t>(first), track.timescale, movie.timescale);
        const auto end = rescaled(static_cast<std::uint64_t>(first + shown), track.timescale, movie.timescale);
        track.edits.clear();
        if (beginning > 0)
            track.edits.push_back({beginning, -1});
        if (beginning > 0 || start > 0 || static_cast<std::uint64_t>(shown) < track.samples.duration())
            track.edits.push_back({end - beginning, start});
        track.samples.setFirstDecodeTime(0);
    }
    std::erase_if(movie.tracks, [](const Track& track) { return track.samples.isEmpty(); });
    movie.isFragmented = false;
}

}  // namespace velmora::mp4
