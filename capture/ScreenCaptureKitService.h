// The capture of the one window that the user chose.
#pragma once

#include "base/Mutex.h"
#include "base/Result.h"
#include "base/SerialQueue.h"
#include "base/SharedCell.h"
#include "base/WaitGroup.h"
#include "capture/ManualRecordingWriter.h"
#include "capture/PictureSizeGate.h"
#include "capture/VideoHardwareEncoder.h"
#include "capture/replay/RollingBuffer.h"
#include "platform/CaptureStream.h"
#include "platform/FileManager.h"
#include "platform/Screens.h"
#include "platform/ShareableContent.h"
#include "windows/CapturedWindowInfo.h"

#include <atomic>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velmora {

class ScreenCaptureKitService;

/// Called on the main thread.
class ScreenCaptureKitServiceDelegate {
public:
    virtual ~ScreenCaptureKitServiceDelegate() = default;

    virtual void captureServiceDidEncounterError(ScreenCaptureKitService& service, const Error& error) = 0;
    virtual void captureServiceDidStopUnexpectedly(ScreenCaptureKitService& service, const std::string& reason) = 0;
};

/// Owns the stream, sends every picture to the encoder, and feeds compressed frames and raw sound to the writer of the running
/// recording. While no recording runs, the pictures follow the size that the window has settled at: what a recording holds has one size.
/// Main thread only, except for what the stream and the encoder call. At most one stream and one recording exist.
class ScreenCaptureKitService final : public platform::StreamOutput,
                                      public platform::StreamDelegate,
                                      public std::enable_shared_from_this<ScreenCaptureKitService> {
    struct Private { };

public:
    static constexpr std::string_view errorDomain = "Velmora.ScreenCaptureKitService";
    enum ErrorCode { windowUnavailable = -1, noCaptureSession = -2, noRecordingSession = -3 };

    struct Services {
        std::shared_ptr<platform::ShareableContentProvider> shareableContent;
        std::shared_ptr<platform::CaptureStreamFactory> captureStreams;
        std::shared_ptr<platform::CompressionSessionFactory> compressionSessions;
        std::shared_ptr<platform::AssetWriterFactory> assetWriters;
        std::shared_ptr<platform::FileManager> fileManager;
        std::shared_ptr<platform::Screens> screens;
        std::shared_ptr<Executor> mainExecutor;
    };

    /// `superseded`: a later start or a stop came before this start was done; its stream has been stopped.
    enum class StartOutcome { started, superseded };
    using StartCompletion = UniqueFunction<void(Result<StartOutcome>)>;
    using StopRecordingCompletion = UniqueFunction<void(Result<std::filesystem::path>)>;

    static std::shared_ptr<ScreenCaptureKitService> create(Services services);

    ScreenCaptureKitService(Private, Services services);
    ~ScreenCaptureKitService() override;
    ScreenCaptureKitService(const ScreenCaptureKitService&) = delete;
    ScreenCaptureKitService& operator=(const ScreenCaptureKitService&) = delete;

    void setDelegate(std::weak_ptr<ScreenCaptureKitServiceDelegate> delegate) { delegate_ = std::move(delegate); }

    /// Stops what runs and captures `window`. `completion` is called exactly once, on the main thread. Nothing is kept of a start that
    /// failed.
    void startCapture(const CapturedWindowInfo& window, StartCompletion completion);

    /// Stops at once; a running recording is discarded, and its file is gone once the writer's queue gets to it. When idle it does nothing
    /// but void a start in flight.
    void stopCapture();

    /// Begins a recording to `url`. Fails with noCaptureSession, or with the writer's own error unchanged.
    Result<void> startManualRecording(const std::filesystem::path& url);

    /// Ends the recording and saves it. `completion` is called exactly once, on the main thread.
    void stopManualRecording(StopRecordingCompletion completion);

    /// Returns when every stream that was asked to stop has stopped, what it delivered has been handled, every recording that was cancelled is
    /// out of the way, and every one that was stopped is on the disk or has failed. Call it before the program ends, on the main thread.
    void drain();

    /// Calls `completion` once, on the main thread, when every stream that was asked to stop has stopped.
    void notifyWhenStopped(UniqueFunction<void()> completion);

    [[nodiscard]] bool isRecordingManualClip() const;

    /// Keeps the last `seconds` of what is captured, from now on and for every stream that is started later; each begins anew. None: keeps
    /// nothing any more. While something is kept, the pictures keep their size.
    void setReplayDuration(std::optional<double> seconds);
    [[nodiscard]] const std::optional<double>& replayDuration() const { return replayDuration_; }

    /// What is kept of the running stream; null when nothing is.
    [[nodiscard]] std::shared_ptr<RollingBuffer> replayBuffer() const;
    [[nodiscard]] bool isCapturing() const { return isCapturing_; }
    [[nodiscard]] const std::optional<CapturedWindowInfo>& activeWindow() const { return activeWindow_; }
    [[nodiscard]] const VideoHardwareEncoder& encoder() const { return encoder_; }
    [[nodiscard]] const SerialQueue& sampleQueue() const { return *sampleQueue_; }
    [[nodiscard]] const SerialQueue& audioQueue() const { return *audioQueue_; }

    void streamDidOutputSampleBuffer(
        const platform::CaptureStream& stream, const SampleBufferRef& sample, platform::StreamOutputType type) override;
    void streamDidStopWithError(const platform::CaptureStream& stream, const Error& error) override;
    void streamContentDidSettle(const platform::CaptureStream& stream, std::int32_t width, std::int32_t height) override;

private:
    struct Start;

    /// Samples of one stream and one encoder.
    struct Replay {
        std::shared_ptr<RollingBuffer> buffer;
        FormatDescriptionRef format;  ///< of the pictures; null until there is a key frame

        void appendVideoSample(const SampleBufferRef& sample);
        void appendAudioSample(const SampleBufferRef& sample) const;
    };

    [[nodiscard]] bool keepsSize() const { return replayDuration_ || isRecordingManualClip(); }
    void beginReplay();

    void continueWithContent(std::shared_ptr<Start> start, Result<platform::ShareableContent> content);
    void startStream(std::shared_ptr<Start> start, const platform::ShareableContent& content);
    void streamDidStart(const std::shared_ptr<Start>& start, Result<void> result);
    [[nodiscard]] bool endIfSuperseded(Start& start);
    void encode(const platform::CaptureStream& stream, const SampleBuffer& sample);
    void followSize();
    void sizeWasChecked(PictureSize size, bool isPossible);
    void sizeWasUpdated(PictureSize size, bool isDone);
    void retire(const std::shared_ptr<ManualRecordingWriter>& writer);
    void stop(std::shared_ptr<platform::CaptureStream> stream);

    const Services services_;
    std::weak_ptr<ScreenCaptureKitServiceDelegate> delegate_;
    std::shared_ptr<platform::CaptureStream> stream_;
    VideoHardwareEncoder encoder_;
    const std::shared_ptr<SerialQueue> sampleQueue_;
    const std::shared_ptr<SerialQueue> audioQueue_;
    std::optional<CapturedWindowInfo> activeWindow_;
    std::atomic<bool> isCapturing_ = false;  // read by the sample queues without a lock

    // The lock is held to test, detach or hand on one sample, and to make and install a writer, which opens its file; only stopCapture()
    // bypasses it. The cell keeps that from being a data race.
    SharedCell<ManualRecordingWriter> activeManualWriter_;
    mutable Mutex manualWriterLock_;

    std::optional<double> replayDuration_;
    Replay replay_ GUARDED_BY(manualWriterLock_);  // without a buffer while nothing is kept

    // The running stream, for the sample queues: a picture that an earlier stream left in a queue is no longer ours.
    std::atomic<const platform::CaptureStream*> liveStream_ = nullptr;

    std::optional<PictureSize> settledSize_;  // of the window, where the pictures have or had another one
    PictureSize pictureSize_;
    bool isFollowingSize_ = false;  // a size is being checked, or the stream has been told one
    PictureSizeGate sizeGate_;

    std::uint64_t startGeneration_ = 0;
    std::vector<std::weak_ptr<ManualRecordingWriter>> retiredWriters_;
    const std::shared_ptr<WaitGroup> stoppingStreams_ = std::make_shared<WaitGroup>();
    const std::shared_ptr<WaitGroup> finishingFiles_ = std::make_shared<WaitGroup>();
};

}  // namespace velmora
