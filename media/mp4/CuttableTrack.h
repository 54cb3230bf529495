// A track of which parts can be taken: what it shows and when, which the planners of one part and of several have in common.
#pragma once

#include "base/Result.h"
#include "media/TimeRange.h"
#include "media/mp4/Movie.h"

#include <cstdint>
#include <string>

namespace velmora::mp4 {

/// From this time scale on, a tick is too short to be seen.
inline constexpr std::int32_t fineTimescale = 10000;

/// ErrorCode::unsupported: the file cannot be trimmed exactly, because of that.
[[nodiscard]] tl::unexpected<Error> cannotBeCut(const std::string& why);
[[nodiscard]] tl::unexpected<Error> tooLargeForAFile();

/// Fails unless the track has one sample description, of H.264 pictures or AAC-LC sound.
[[nodiscard]] Result<void> checkTrack(const Track& track);

/// Which part of a track's media is shown, and when that begins.
struct ShownMedia {
    MediaTime begin;  ///< on the movie's time line
    std::int64_t mediaBegin = 0;  ///< on the track's scale, like the next one
    std::int64_t mediaEnd = 0;
};

/// Fails with `unsupported` where edits put several parts together or change the speed.
[[nodiscard]] Result<ShownMedia> shownMedia(const Movie& movie, const Track& track);

/// When what is shown ends, on the movie's time line.
[[nodiscard]] MediaTime endOf(const ShownMedia& shown, const Track& track);

/// The part of the movie that is kept.
struct Kept {
    TimeRange range;
    bool isWhole = false;  ///< the range is all there is
};

/// `range` cut to a movie of that length; an end that is the movie's as nearly as its time scale can express means that end. Fails with
/// `invalidRange`.
[[nodiscard]] Result<Kept> keptRange(const TimeRange& range, MediaTime duration);

/// The track without its samples and edits.
[[nodiscard]] Track emptyCopy(const Track& source);

/// The track with a tick for each frame of sound, because players count what they leave out at an edit in ticks, as if these were frames.
[[nodiscard]] Result<Track> onItsOwnClock(const Track& source, std::int32_t rate, std::int32_t packetFrames);

}  // namespace velmora::mp4
