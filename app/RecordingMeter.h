// What a recording is doing, for a progress line: counted between the features and the back end, which know nothing of it.
#pragma once

#include "base/MonotonicClock.h"
#include "media/MediaTime.h"
#include "platform/AssetWriter.h"
#include "platform/CaptureStream.h"
#include "platform/CompressionSession.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace velmora {

/// What became of the pictures of one file from the first that is in it on. Read on any thread.
struct FileFrames {
    std::atomic<std::uint64_t> written = 0;
    std::atomic<std::uint64_t> lost = 0;  ///< because encoder or disk had not done with others; 0 where a back end does not tell
};

/// What the wrapped services notice of a capture and its recordings. The features keep most of it to themselves.
struct RecordingReport {
    enum class Event {
        captureBegins,
        soundIsMissing,  ///< the capture or the file goes on without it
        soundIsThere,  ///< again
        encoderFailed,  ///< none can be made, or so many pictures in a row were lost that none will come
        encoderWorks,  ///< after a failure
        fileBegins,
        fileFailed,  ///< nothing more can be written to it
        fileEndsEmpty,  ///< it is finished without a picture
        fileEnds,
        fileWasMoved,  ///< it is whole, but not where it was begun
    };

    Event event;
    std::string reason = {};  ///< for people, where there is one; for a file that was moved, the path where it is
    std::uint64_t file = 0;  ///< which of the files: 1 is the first
    std::shared_ptr<const std::atomic<std::uint64_t>> size = nullptr;  ///< fileBegins: the file's bytes on the disk, as samples come
    MonotonicTime time = MonotonicClock::now();
    std::shared_ptr<const FileFrames> frames = nullptr;  ///< fileBegins: of this file, as samples come

    /// fileBegins: pauses the file at a moment, or goes on at one. Any thread, as long as anybody likes.
    std::function<void(bool isPaused, MonotonicTime moment)> setPaused = nullptr;

    /// captureBegins: asks why nothing is heard of it (CaptureStream::explainSilence). Any thread, as long as anybody likes.
    std::function<void(platform::CaptureStream::UnheardCompletion)> explainSilence = nullptr;
};

/// Counters that the wrapped services keep while a file is being written. Read on any thread.
class RecordingMeter {
public:
    std::atomic<std::uint64_t> writtenFrames = 0;
    std::atomic<std::uint64_t> droppedFrames = 0;  ///< not encoded, or not accepted by the file
    std::atomic<std::uint64_t> lateFrames = 0;  ///< of these, the ones for which encoder or disk were too slow: nothing failed
    std::atomic<bool> writesSound = false;  ///< the file has sound at all
    std::atomic<MonotonicTime> lastSound{};  ///< time stamp of the last block that was not silent; the clock's zero when none was

    /// Called once, on a thread of the encoder's, when its first picture comes out: it is ready. That picture goes nowhere, or a file that is
    /// opened quickly would begin with it and lack those that the encoder dropped meanwhile. Set before the capture starts.
    std::function<void()> onFirstPicture;

    /// Called once, on the writer's queue, when the first sample is in the file. Set before the recording starts.
    std::function<void(MediaTime firstSampleTime)> onFirstSample;

    /// Called for everything of interest, on any thread; for each failure once until it has passed, of a file
    /// once for its pictures and once for its sound. Set before the capture starts.
    std::function<void(RecordingReport)> onReport;

    void report(RecordingReport::Event event, std::string reason = {}, std::uint64_t file = 0) const
    {
        if (onReport)
            onReport({.event = event, .reason = std::move(reason), .file = file});
    }
};

/// `writers` with every writer's samples counted by `meter`.
std::shared_ptr<platform::AssetWriterFactory> metered(
    std::shared_ptr<platform::AssetWriterFactory> writers, std::shared_ptr<RecordingMeter> meter);

/// `streams` with what becomes of their sound reported.
std::shared_ptr<platform::CaptureStreamFactory> metered(
    std::shared_ptr<platform::CaptureStreamFactory> streams, std::shared_ptr<RecordingMeter> meter);

/// `sessions` with every picture counted that was not encoded while a file is being written.
std::shared_ptr<platform::CompressionSessionFactory> metered(
    std::shared_ptr<platform::CompressionSessionFactory> sessions, std::shared_ptr<RecordingMeter> meter);

}  // namespace velmora
