// Writes a part of a movie to a file of its own, without encoding anything.
#pragma once

#include "media/TimeRange.h"
#include "media/mp4/File.h"
#include "media/mp4/Movie.h"
#include "media/mp4/Splicer.h"

namespace velmora::mp4 {

/// Writes the part of `source` that planTrim() plans for `range` into `target`, which is empty: an ordinary MP4 of this writer, its
/// index in front and nothing in it that the part does not need. An unfinished recording of ours is trimmed as far as its whole fragments
/// go. `source` is only read. Waits for the disks, but does not ensure that the bytes have reached them. What is wrong with the range
/// or the source is found before anything is written; after any other failure or a cancel `target` is useless. Errors: those of
/// readMovie() and planTrim(), the system's.
Result<TrimOutcome> trim(
    File& source, const TimeRange& range, File& target, const TrimProgress& progress = {}, const TrimOptions& options = {});

/// The first half of it: reads and plans only.
Result<Movie> readAndPlanTrim(File& source, const TimeRange& range);

/// The second half. Precondition: `plan` was made from this `source`.
Result<TrimOutcome> writeTrim(File& source, Movie plan, File& target, const TrimProgress& progress = {}, const TrimOptions& options = {});

}  // namespace velmora::mp4
