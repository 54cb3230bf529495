// Writes a live recording without ever making the caller wait for the disk.
#pragma once

#include "base/UniqueFunction.h"
#include "media/mp4/RecordingFile.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <vector>

namespace velmora::mp4 {

/// Gathers samples into fragments and hands each to a thread of its own. Only create(), moveFile() and cancel() touch the disk on the
/// caller's thread, and none of them writes media. Used on one thread, except error(), bytesInFlight() and
/// fileSize(), which are safe on any. May be destroyed at any time, also in a completion; without finish() or cancel() the file then stays as a
/// crash would leave it, without the last, incomplete fragment.
class RecordingWriter {
public:
    /// True when the file is whole; false when nothing was recorded and the file is removed.
    using Completion = UniqueFunction<void(Result<bool>)>;

    /// Writes the head of the layout into a file just created.
    static Result<std::unique_ptr<RecordingWriter>> create(std::shared_ptr<File> file, RecordingOptions options = {});

    ~RecordingWriter();
    RecordingWriter(const RecordingWriter&) = delete;
    RecordingWriter& operator=(const RecordingWriter&) = delete;

    /// Once, before the first sample.
    void start(std::vector<RecordedTrack> tracks);

    /// `track` is an index into the tracks of start(). A duration of 0 means until the track's next sample; any other counts
    /// where no sample follows. Decode times within a track rise.
    void append(std::size_t track, RecordedSample sample);

    /// Sends what was appended to the disk before its fragment is complete: no picture follows before `end`, from the beginning of the recording.
    void handOn(MediaTime end);

    /// Ends the recording; nothing may be called afterwards. `completion` runs exactly once, on the writer's thread, with the file
    /// closed. `ends` belongs to the tracks by index. Without start() the file is removed.
    void finish(std::vector<TrackEnd> ends, Completion completion);

    /// Moves the file, at once, by File::moveTo(). The recording goes on there; finish() makes it whole there too, and reports a failure, as
    /// for every file that was moved.
    Result<void> moveFile(const std::filesystem::path& path);

    /// Where the file lies now, as File::currentPath() says it.
    [[nodiscard]] std::optional<std::filesystem::path> currentPath() const;

    /// Removes the file, at once; what is still queued is dropped. A file that somebody has moved, or whose folder has another name by
    /// now, is made whole where it lies instead, if anything was recorded. Nothing may be called afterwards.
    void cancel();

    /// Bytes of media that have been appended but have not reached the disk.
    [[nodiscard]] std::uint64_t bytesInFlight() const;

    /// Bytes of the file with the fragments that have reached the disk; 0 before the first. Takes no lock.
    [[nodiscard]] std::uint64_t fileSize() const;

    /// What ended the recording early, usually a full disk.
    [[nodiscard]] std::optional<Error> error() const;

private:
    struct State;

    struct TrackState {
        RecordedTrack configuration;
        std::vector<RecordedSample> pending;
        std::int64_t lastDecodeTime = 0;
        std::int64_t lastDuration = 0;  ///< between the last two samples; 0 before there are two
        bool hasSamples = false;
    };

    RecordingWriter(std::shared_ptr<State> state, const RecordingOptions& options);

    /// Sends what is pending on its way. `now` is as late as anything is known to be.
    void flush(std::optional<MediaTime> now);
    static bool isSound(const TrackState& track);
    [[nodiscard]] bool hasSoundAbout(MediaTime time) const;
    static std::uint32_t durationOfLast(const TrackState& track, std::optional<MediaTime> now);

    std::shared_ptr<State> state_;
    const MediaTime longestFragment_;
    const MediaTime longestPause_;
    const std::uint64_t largestFragment_;
    std::vector<TrackState> tracks_;
    std::optional<MediaTime> fragmentStart_;
    std::optional<MediaTime> handedOn_;  ///< what lies before is on its way to the disk
    std::uint64_t pendingBytes_ = 0;
};

}  // namespace velmora::mp4
