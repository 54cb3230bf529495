// What a recording is doing, for a progress line: counted between the features and the back end, which know nothing of it.
#pragma once

#include "media/MediaTime.h"
#include "platform/AssetWriter.h"
#include "platform/CompressionSession.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace velmora {

/// Counters that the wrapped services keep while a file is being written. Read on any thread.
class RecordingMeter {
public:
    std::atomic<std::uint64_t> writtenFrames = 0;
    std::atomic<std::uint64_t> droppedFrames = 0;  ///< not encoded or not taken by the file
    std::atomic<bool> writesSound = false;  ///< the file takes sound at all
    std::atomic<std::int64_t> lastSoundNanoseconds = 0;  ///< time stamp of the last block that was not silent; 0 when none was

    std::atomic<bool> hasFailed = false;  ///< a writer refused a sample for good

    /// Called once, on a thread of the encoder's, when its first picture comes out: it is ready. That picture goes nowhere, or a file that is
    /// quickly there would begin with it and lack those that the encoder dropped meanwhile. Set before the capture starts.
    std::function<void()> onFirstPicture;

    /// Called once, on the writer's queue, when the first sample is in the file. Set before the recording starts.
    std::function<void(MediaTime firstSampleTime)> onFirstSample;

    /// Called once, on the writer's queue, when the writer has failed and refuses a sample: a full disk, say. Set before the recording
    /// starts.
    std::function<void()> onWriterFailed;

    /// Called once, on the queue of the pictures, when no encoder can be made for them: nothing will be written. Set before the capture
    /// starts.
    std::function<void(const std::string& reason)> onEncoderFailed;
};

/// `writers` with every writer's samples counted by `meter`.
std::shared_ptr<platform::AssetWriterFactory> metered(
    std::shared_ptr<platform::AssetWriterFactory> writers, std::shared_ptr<RecordingMeter> meter);

/// `sessions` with every picture counted that was not encoded while a file is being written.
std::shared_ptr<platform::CompressionSessionFactory> metered(
    std::shared_ptr<platform::CompressionSessionFactory> sessions, std::shared_ptr<RecordingMeter> meter);

}  // namespace velmora
