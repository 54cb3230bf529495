// Makes whole a recording that a crash or a loss of power left unfinished.
#pragma once

#include "media/MediaTime.h"
#include "media/mp4/File.h"
#include "media/mp4/MovieReader.h"

#include <cstdint>
#include <filesystem>

namespace velmora::mp4 {

/// What readMovie() reads, without fragments at the end whose pictures never reached the disk.
Result<MovieFile> readWholeFragments(File& file);

struct RepairReport {
    bool wasFinished = false;  ///< there was nothing to do, and nothing was done
    MediaTime duration;
    std::uint64_t droppedBytes = 0;  ///< an incomplete fragment at the end, which the index leaves out
};

/// Finishes the file as the recorder would have, in place. Waits for the disk; any thread. Errors: ErrorCode::foreign (not ours),
/// inUse (being recorded), nothingInside, damaged and tooLarge (the index, of a file of any origin), notAMovie, which write nothing; the
/// system's, after which the file is as finishInPlace() leaves it.
Result<RepairReport> repair(const std::filesystem::path& path);

/// The same for a file that is open for reading and writing.
Result<RepairReport> repair(File& file);

}  // namespace velmora::mp4
