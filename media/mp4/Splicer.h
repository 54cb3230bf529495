// Reads movies, plans what is kept of them, and writes it to a file of its own.
#pragma once

#include "media/TimeRange.h"
#include "media/mp4/File.h"
#include "media/mp4/MovieReader.h"
#include "media/mp4/SpliceAssembly.h"
#include "media/mp4/SplicePlanner.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace velmora::mp4 {

struct TrimOptions {
    std::uint64_t creationTime = currentFileTime();
    std::size_t largestBlock = std::size_t{8} << 20;  ///< bytes copied from one call of the progress to the next
};

enum class TrimOutcome { written, cancelled };

/// Called with values from 0 to 1; false cancels.
using TrimProgress = std::function<bool(double)>;

/// A file of which something is kept.
struct KeptFile {
    File* file = nullptr;
    std::string name;  ///< for errors, where there are several
    TimeRange range;
    /// What of the range is left out, in any order; overlapping cuts are one.
    std::vector<TimeRange> cuts = {};
};

/// A plan and what it was made from.
struct OpenSplice {
    std::vector<MovieFile> movies;  ///< of each file
    SplicePlan plan;
};

/// What is kept of the files, one after the other, in their order. An unfinished recording of ours is taken as far as its whole fragments go.
/// What is wrong with a range or a file is found here. Errors: those of readMovie() and planSplice(), the system's; invalidRange where
/// nothing is left.
Result<OpenSplice> readAndPlanSplice(const std::vector<KeptFile>& files);

/// Writes a plan's movie into `target`, which is empty: an ordinary MP4 of this writer, its index in front and nothing in it that the movie
/// does not need. The files are only read. Waits for the disks, but does not ensure that the bytes have reached them. After a failure or a
/// cancel `target` is useless. Precondition: `plan` was made from these files, and `anew` for it.
Result<TrimOutcome> writeSplice(const std::vector<File*>& files, const SplicePlan& plan, const AnewMedia& anew, File& target,
    const TrimProgress& progress = {}, const TrimOptions& options = {});

}  // namespace velmora::mp4
