// Reads what a file's index says, without touching its media. Files of any origin, damaged and hostile ones included.
#pragma once

#include "media/mp4/File.h"
#include "media/mp4/Movie.h"
#include "media/mp4/RecordingLayout.h"

#include <cstdint>
#include <filesystem>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace velmora::mp4 {

/// How far our own writer has got with a file.
struct RecordingState {
    bool isFinished = false;
    std::uint32_t reserveSize = 0;  ///< of an unfinished one
};

/// What a file may hold beyond what was read from it.
struct Unread {
    MediaTime from;  ///< of the movie: everything shown before it is there
    std::string what;  ///< the reason, in words that continue a sentence
};

struct MovieFile {
    /// Tracks of pictures and sound only; other tracks are not read. A fragmented file's samples are those of all whole fragments,
    /// on the time line that Track::edits describes: for a recording of ours in their order, for a file that is not ours to repair by
    /// their times, each once.
    Movie movie;
    std::optional<Unread> unread;  ///< never for a recording of ours, which ends where it was cut off
    std::optional<RecordingState> recording;  ///< set for files of our own writer
    std::uint64_t fileSize = 0;
    // Of an unfinished recording of ours; of other files they say nothing.
    std::uint64_t lastFragment = 0;  ///< offset of the last whole fragment; 0 without fragments
    std::uint64_t wholeEnd = 0;  ///< where the last whole fragment ends, or where the first would begin
};

/// Reads the index of `file`, progressive or fragmented, from the bytes before `end`. Errors: the system's; ErrorCode::notAMovie,
/// damaged, tooLarge; nothingInside for a recording of our own that ended before its index was written.
Result<MovieFile> readMovie(File& file, std::uint64_t end = std::numeric_limits<std::uint64_t>::max());

struct TrackSummary {
    FormatDescriptionRef format;  ///< codec, size, colour, sample rate, channel count
    MediaTime duration;
    std::size_t sampleCount = 0;
    std::size_t syncSampleCount = 0;
};

struct MovieSummary {
    MediaTime duration;
    std::vector<TrackSummary> tracks;
    bool isFragmented = false;
    std::optional<RecordingState> recording;
};

/// What a list of clips shows. Any thread; reads the index only.
Result<MovieSummary> readMovieSummary(const std::filesystem::path& path);

}  // namespace velmora::mp4
