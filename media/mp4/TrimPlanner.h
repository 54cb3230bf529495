// Which samples a part of a movie is made of, and how long each is shown.
#pragma once

#include "base/Result.h"
#include "media/TimeRange.h"
#include "media/mp4/Movie.h"

#include <functional>

namespace velmora::mp4 {

using StartsAfresh = std::function<Result<bool>(const Sample&)>;

/// The movie that shows and sounds `range` of `source` and nothing else, without a sample being changed; the offsets of its samples are
/// still those in the file of `source`.
///
/// Pictures begin at a key frame. Those that are there only to be decoded lie before the edit (ISO 14496-12 8.6.6), one tick each and
/// the last of them 34 ms, what the stream says a picture lasts, or their average distance, whichever is longest, up to a second: players
/// that honour edits to the frame only need some distance there, and those that honour none show little extra. The first shown one begins
/// with the edit, the last one ends at the range's end; pictures that are decoded for others and would be shown later follow close behind.
/// Sound begins one packet early, because an AAC decoder needs the packet before, and the edit cuts it to the sample. A track that
/// begins late keeps its distance, and so does sound after a gap; the part's sound has a tick for each frame, whatever its time scale was.
/// A track of sound that is not heard in the range is left out; where the movie's pictures end before the range, the last one is held.
///
/// `range` may have any time scale. It is cut to the length of the movie; an end that is the movie's end as nearly as its time scale can
/// express means that end. The whole movie keeps every sample and its time.
///
/// A fragmented movie is planned like a whole one, edits honoured. Errors: ErrorCode::invalidRange; unsupported, which says why, where the
/// rules cannot be kept: anything but one track of H.264 pictures and AAC-LC sound, several sample descriptions in a track, edits that put
/// several parts together or change the speed; nothingInside; tooLarge; damaged.
///
/// In a part with a lead-in, key frames are marked as such only where every player copes with it: not in the lead-in, except the first, and
/// not within the lead-in's length of the end. A part that is shorter than its lead-in claims to last as long (Movie::leastDuration, 35
/// ms as a rule), because GStreamer would show nothing of it.
///
/// `startsAfresh` is asked whether decoding can begin at a sample that the index calls a sync sample; without it all are trusted.
[[nodiscard]] Result<Movie> planTrim(const Movie& source, const TimeRange& range, const StartsAfresh& startsAfresh = {});

}  // namespace velmora::mp4
