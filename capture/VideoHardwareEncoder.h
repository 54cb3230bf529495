// Compresses the frames of the captured window as they come.
#pragma once

#include "base/SerialQueue.h"
#include "base/SharedCell.h"
#include "platform/CompressionSession.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>

namespace velmora {

/// H.264 High, 8 Mbit/s, a key frame at least every 30 frames, no frame reordering. A session exists from the first frame on, and is made
/// anew when the frame size changes, after invalidate(), or for the next frame where it could not be made. Failures are logged and cost the
/// frame; nothing is reported.
class VideoHardwareEncoder {
public:
    using EncodedSampleCallback = std::function<void(const SampleBufferRef&)>;

    static constexpr std::int64_t maxKeyFrameInterval = 30;  ///< frames
    static constexpr std::int64_t averageBitRate = 8'000'000;  ///< bits per second

    explicit VideoHardwareEncoder(std::shared_ptr<platform::CompressionSessionFactory> sessions);
    ~VideoHardwareEncoder();
    VideoHardwareEncoder(const VideoHardwareEncoder&) = delete;
    VideoHardwareEncoder& operator=(const VideoHardwareEncoder&) = delete;

    /// Sets where compressed samples go: one at a time, in the session's order, on the queue "com.velmora.encoder.output". Any thread.
    void setOnEncodedSample(EncodedSampleCallback callback);

    /// On the capture service's sample queue. Returns without waiting for the compression; a frame that needs a new session waits for that.
    void encode(const PixelBufferRef& pixelBuffer, MediaTime presentationTimeStamp, MediaTime duration);

    /// Whether pictures of this size could be encoded: found out on a queue, where `completion` is called. No session is made, and the one there
    /// is goes on. Any thread.
    void checkSize(std::int32_t width, std::int32_t height, UniqueFunction<void(bool isPossible)> completion);

    /// Delivers what is pending and drops the session; waits for the compression. Any thread.
    void invalidate();

    /// Like invalidate(), but waits for nothing: the session is completed and ended on a queue of its own, and from now on none of its samples
    /// is delivered. The next session is made only after that. Any thread.
    void abandon();

    /// The size that the session was made for, or that its creation failed for; 0 when none.
    [[nodiscard]] std::int64_t currentWidth() const { return currentWidth_; }
    [[nodiscard]] std::int64_t currentHeight() const { return currentHeight_; }

    [[nodiscard]] const SerialQueue& outputQueue() const { return output_->queue; }

    /// Where abandoned sessions end and sizes are checked.
    [[nodiscard]] const SerialQueue& endingQueue() const { return endingQueue_; }

    /// True unless the first attachment dictionary says that the sample is not a sync sample or depends on others.
    static bool isKeyFrame(const SampleBuffer& sample);

private:
    /// What a session's callback needs; the session does not keep the encoder alive.
    struct Output {
        SerialQueue queue{"com.velmora.encoder.output", SerialQueue::QualityOfService::userInteractive};
        SharedCell<const EncodedSampleCallback> onEncodedSample;
    };

    struct Session {
        std::shared_ptr<platform::CompressionSession> compression;
        std::shared_ptr<std::atomic<bool>> isAbandoned;

        void end() const;
    };

    void setUpSession(std::int32_t width, std::int32_t height);

    std::shared_ptr<platform::CompressionSessionFactory> sessions_;
    SharedCell<const Session> session_;
    std::atomic<std::int64_t> currentWidth_ = 0;
    std::atomic<std::int64_t> currentHeight_ = 0;
    std::shared_ptr<Output> output_;
    SerialQueue endingQueue_{"com.velmora.encoder.ending"};
};

}  // namespace velmora
