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
/// Pictures begin at a key frame. Those that are only there to be decoded lie before the edit (ISO 14496-12 8.6.6), one tick each and
/// the last of them 34 ms, or what the stream says that a picture lasts, or their average distance where that is longer, up to a second: players that honour edits to the
/// frame only need some distance there, and those that honour none show little that was not asked for. The first shown picture begins
/// with the edit, the last one ends at the range's end; what is decoded for pictures out of order and shown later lies close behind.
/// Sound begins one packet early, because an AAC decoder needs the packet before, and the edit cuts it to the sample. A track that
/// begins late keeps its distance, and so does sound behind a gap; the part's sound has a tick for each frame, whatever its time scale was.
/// Sound that is not heard in the range is left out; a last picture that the movie shows no longer is held.
///
/// `range` may have any time scale. It is cut to what the movie lasts; an end that is the movie's end as nearly as its time scale can
/// tell means that end. The whole movie keeps every sample and its time.
///
/// A fragmented movie is planned as a whole one, edits heeded. Errors: ErrorCode::invalidRange; unsupported, which says why, where the
/// rules cannot be kept: anything but one track of H.264 pictures and AAC-LC sound, several sample descriptions in a track, edits that put
/// several parts together or change the speed; nothingInside; tooLarge; damaged.
///
/// A part with a lead-in has its key frames called so only where every player understands it: not in the lead-in, but for the first, and
/// not within the lead-in's length of the end. One that is shorter than its lead-in says that it lasts as long (Movie::leastDuration, 35
/// ms as a rule), because GStreamer would show nothing of it.
///
/// `startsAfresh` is asked whether decoding can begin at a sample that the index calls a sync sample; without it all are believed.
[[nodiscard]] Result<Movie> planTrim(const Movie& source, const TimeRange& range, const StartsAfresh& startsAfresh = {});

}  // namespace velmora::mp4
