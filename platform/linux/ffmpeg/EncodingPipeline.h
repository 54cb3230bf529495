// What happens to a picture on the encoding thread.
#pragma once

#include "base/MonotonicClock.h"
#include "engine/codecs/KeyFrameRequests.h"
#include "engine/codecs/OutputOrder.h"
#include "engine/codecs/PictureQueue.h"
#include "engine/codecs/StillKeyFrames.h"
#include "platform/CompressionSession.h"
#include "platform/linux/ffmpeg/EffortPolicy.h"
#include "platform/linux/ffmpeg/PictureConverter.h"
#include "platform/linux/ffmpeg/SecondEncoder.h"
#include "platform/linux/ffmpeg/VideoEncoder.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace velmora::linux_backend {

/// Conversion, encoding, time stamps and the order of the outcomes. A software encoder gives way to one of another effort when pictures are
/// dropped before they reach it, or when there is time to spare (EffortPolicy): within one stream, at a key frame. Used on one thread.
class EncodingPipeline {
public:
    using OpenEncoder = SecondEncoder::Open;

    /// What stands around it.
    struct Environment {
        std::function<MonotonicTime()> now = MonotonicClock::now;
        std::shared_ptr<Executor> opening = nullptr;  ///< where a second encoder is opened; null: a queue, when it is needed
    };

    struct Outcome {
        platform::CompressionStatus status = 0;
        SampleBufferRef sample;
    };

    /// A picture is made a key frame when one is asked for by then.
    EncodingPipeline(std::int32_t width, std::int32_t height, OpenEncoder open, engine::KeyFrameRequests keyFrameRequests = {})
        : EncodingPipeline(width, height, std::move(open), std::move(keyFrameRequests), Environment{})
    {
    }

    EncodingPipeline(
        std::int32_t width, std::int32_t height, OpenEncoder open, engine::KeyFrameRequests keyFrameRequests, Environment environment);

    /// Opens the encoder unless it is open; of the settings' effort the first time. 0 or an AVERROR.
    int prepare(const VideoEncoderSettings& settings);

    void encode(engine::PendingPicture picture, const VideoEncoderSettings& settings);

    /// Gets out of the encoder what it holds back. One that holds nothing is left as it is; any other is opened again for the next picture.
    void drain();

    /// The outcome of the next picture, in the order of the pictures; none while it is not known.
    std::optional<Outcome> nextOutcome() { return order_.pop(); }

private:
    [[nodiscard]] std::int64_t encoderTimeOf(MediaTime presentationTimeStamp);
    [[nodiscard]] bool needsKeyFrame(MediaTime presentationTimeStamp) const;
    bool repeatKeyFrame(const engine::PendingPicture& picture, std::int64_t encoderTime);
    int encodeAnew(engine::PendingPicture picture, std::int64_t encoderTime);
    int bringEncoderBack(std::int64_t encoderTime);
    int makeUnseenKeyFrame(std::int64_t encoderTime);
    void followEffort(const VideoEncoderSettings& settings);
    bool changeEncoder(MediaTime presentationTimeStamp, std::int64_t encoderTime);
    bool makeReady(VideoEncoder& next, std::int64_t encoderTime);
    void keyFrameWasMade(MediaTime presentationTimeStamp);
    void giveEncoderUp(int status);
    void finish(VideoEncoder::Packet packet);

    const std::int32_t width_;
    const std::int32_t height_;
    const std::function<MonotonicTime()> now_;
    engine::KeyFrameRequests keyFrameRequests_;
    SecondEncoder second_;
    bool secondIsThere_ = false;
    std::optional<EffortPolicy> policy_;
    std::uint64_t droppedInAll_ = 0;
    std::unique_ptr<VideoEncoder> encoder_;
    bool nextNumber_ = false;  ///< of the encoder's two for key frames
    bool isFirstNumberTaken_ = false;  ///< the encoder is new, and its first key frame would have the number of the last one before it
    std::optional<PictureConverter> converter_;
    engine::StillKeyFrames stillKeyFrames_;
    engine::OutputOrder<Outcome> order_;
    std::vector<VideoEncoder::Packet> packets_;
    FormatDescriptionRef format_;
    MediaTime firstTime_;
    MediaTime lastKeyFrameTime_;
    std::int64_t lastEncoderTime_ = -1;
    int failuresInARow_ = 0;
    std::optional<engine::KeyFrameRequests::Number> asked_;  // by the time that the picture is encoded
};

}  // namespace velmora::linux_backend
