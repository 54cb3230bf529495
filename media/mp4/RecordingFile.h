// A recording on the disk, one fragment after another. Everything here waits for the disk.
#pragma once

#include "media/SampleBuffer.h"
#include "media/mp4/File.h"
#include "media/mp4/Movie.h"
#include "media/mp4/RecordingLayout.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace velmora::mp4 {

struct RecordingOptions {
    /// No more time than this passes from the beginning of a fragment to its end: what a crash can cost, beside what is on its way.
    MediaTime longestFragment{800, 1000};
    /// The next picture comes no later than this. Without sound, which tells how time goes on between two, a fragment ends early.
    MediaTime longestPause{500, 1000};
    std::uint64_t largestFragment = std::uint64_t{32} << 20;  ///< bytes
    std::uint32_t reserveSize = defaultReserveSize;
    std::uint64_t creationTime = currentFileTime();
};

/// A track of a recording. The format must be one that canDescribe().
struct RecordedTrack {
    FormatDescriptionRef format;
    std::int32_t timescale = 0;
    std::int64_t priming = 0;  ///< ticks that the decoder puts out before the first one that counts
};

struct RecordedSample {
    DataBlock data;
    /// On the track's scale from the beginning of the recording; never before the previous sample's. With priming, the decoder's
    /// first output belongs to the first decode time minus the priming.
    std::int64_t decodeTime = 0;
    std::uint32_t duration = 0;  ///< 0: until the next sample
    bool isSync = true;
};

struct RecordedRun {
    std::size_t track = 0;
    std::vector<RecordedSample> samples;
    std::uint32_t closingDuration = 0;  ///< of the last sample, if none ever follows; 0: the one that it has
};

/// Samples that reach the disk together; at most one run for each track.
using RecordedFragment = std::vector<RecordedRun>;

/// Used on one thread. The first failure ends the recording: what was written before it is finished at once and stays playable, or
/// the file is removed when that is nothing; every later call returns the same error.
class RecordingFile {
public:
    /// Takes the lock of a file just created, and writes the head of the layout. After a failure the file is gone, but one that somebody
    /// else has taken in the meantime (ErrorCode::inUse) is left to them.
    static Result<std::unique_ptr<RecordingFile>> create(std::shared_ptr<File> file, const RecordingOptions& options);

    /// Writes the index of the tracks. Once, before the first fragment.
    Result<void> start(const std::vector<RecordedTrack>& tracks);

    /// Returns when the fragment would survive a loss of power.
    Result<void> write(const RecordedFragment& fragment);

    /// Makes the file whole. False when nothing was recorded; the file is removed then. Fails if the file is no longer where it was
    /// created: the error names the place where the whole file now is (placeOfMovedFile). `ends` belongs to the tracks by index.
    Result<bool> finish(const std::vector<TrackEnd>& ends);

    /// Bytes from the beginning of the file to the end of the last whole fragment.
    [[nodiscard]] std::uint64_t size() const { return end_; }

private:
    RecordingFile(std::shared_ptr<File> file, const RecordingOptions& options);

    Result<void> writeHead();
    Result<void> writeFragment(const RecordedFragment& fragment);
    Result<void> writeMedia(std::uint64_t offset, const std::vector<std::byte>& head, const RecordedFragment& fragment);
    [[nodiscard]] bool hasSamples() const;
    Result<bool> close(const std::vector<TrackEnd>& ends);
    Error failed(Error error);

    const std::shared_ptr<File> file_;
    const std::uint32_t reserveSize_;
    Movie movie_;
    std::uint64_t end_ = 0;  ///< of the last whole fragment
    std::uint32_t sequenceNumber_ = 0;
    std::vector<std::byte> buffer_;
    std::optional<Error> error_;
};

}  // namespace velmora::mp4
