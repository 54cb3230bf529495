// Writes one live recording to one MP4 file.
#pragma once

#include "base/Result.h"
#include "base/SerialQueue.h"
#include "platform/AssetWriter.h"
#include "platform/FileManager.h"

#include <filesystem>
#include <memory>

namespace velmora {

/// Takes compressed video samples as they are and raw sound, which the asset writer encodes to AAC. The file begins at the first key
/// frame; everything before it is dropped. Appending never blocks: all work runs on the queue "com.velmora.manualWriter", in the order
/// of submission. The caller appends from any thread, stops appending, then calls exactly one of finish() and cancel().
class ManualRecordingWriter : public std::enable_shared_from_this<ManualRecordingWriter> {
    struct Private { };

public:
    using FinishCompletion = UniqueFunction<void(Result<std::filesystem::path>)>;

    /// Replaces a file at `outputURL`. Fails with the platform's error, unchanged, when the file cannot be created; a sound input that
    /// cannot be attached makes the recording video-only.
    static Result<std::shared_ptr<ManualRecordingWriter>> create(
        std::filesystem::path outputURL, platform::AssetWriterFactory& writers, std::shared_ptr<platform::FileManager> fileManager);

    ManualRecordingWriter(Private, std::filesystem::path outputURL, std::shared_ptr<platform::FileManager> fileManager);
    ~ManualRecordingWriter();
    ManualRecordingWriter(const ManualRecordingWriter&) = delete;
    ManualRecordingWriter& operator=(const ManualRecordingWriter&) = delete;

    [[nodiscard]] const std::filesystem::path& outputURL() const { return outputURL_; }
    [[nodiscard]] const SerialQueue& writeQueue() const { return writeQueue_; }

    void appendVideoSample(SampleBufferRef sample);
    void appendAudioSample(SampleBufferRef sample);

    /// Completes the file. `completion` is called exactly once, on any thread, with outputURL() or an error. The writer is kept alive
    /// until then.
    void finish(FinishCompletion completion);

    /// Abandons the recording; its file leaves its path. Returns at once; the writer is kept alive until it is done.
    void cancel();

    /// Returns when everything submitted so far has run. Never called from the write queue.
    void drain();

private:
    bool startSession(const SampleBufferRef& keyFrame);
    void writeVideo(const SampleBufferRef& sample);
    void writeAudio(const SampleBufferRef& sample);
    void finishWriting(FinishCompletion completion);
    [[nodiscard]] std::string errorText(const char* fallback) const;

    const std::filesystem::path outputURL_;
    const std::shared_ptr<platform::FileManager> fileManager_;

    // All of these are used on the write queue only.
    std::shared_ptr<platform::AssetWriter> writer_;
    std::shared_ptr<platform::AssetWriterInput> videoInput_;
    std::shared_ptr<platform::AssetWriterInput> audioInput_;
    bool hasStartedSession_ = false;
    MediaTime sessionStartTime_ = MediaTime::zero();

    // Last: its end waits for work that uses the members above.
    SerialQueue writeQueue_{"com.velmora.manualWriter", SerialQueue::QualityOfService::userInitiated};
};

}  // namespace velmora
