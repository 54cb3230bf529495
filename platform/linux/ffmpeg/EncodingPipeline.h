// What happens to a picture on the encoding thread.
#pragma once

#include "engine/codecs/KeyFrameRequests.h"
#include "engine/codecs/OutputOrder.h"
#include "engine/codecs/PictureQueue.h"
#include "engine/codecs/StillKeyFrames.h"
#include "platform/CompressionSession.h"
#include "platform/linux/ffmpeg/PictureConverter.h"
#include "platform/linux/ffmpeg/VideoEncoder.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace velmora::linux_backend {

/// Conversion, encoding, time stamps and the order of the outcomes. Used on one thread; has no lock.
class EncodingPipeline {
public:
    using OpenEncoder = UniqueFunction<tl::expected<std::unique_ptr<VideoEncoder>, AvError>(const VideoEncoderSettings&)>;

    struct Outcome {
        platform::CompressionStatus status = 0;
        SampleBufferRef sample;
    };

    /// A picture is made a key frame when one is asked for by then.
    EncodingPipeline(std::int32_t width, std::int32_t height, OpenEncoder open, engine::KeyFrameRequests keyFrameRequests = {});

    /// Opens the encoder unless it is open. 0 or an AVERROR.
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
    void keyFrameWasMade(MediaTime presentationTimeStamp);
    void giveEncoderUp(int status);
    void finish(VideoEncoder::Packet packet);

    const std::int32_t width_;
    const std::int32_t height_;
    OpenEncoder open_;
    engine::KeyFrameRequests keyFrameRequests_;
    std::unique_ptr<VideoEncoder> encoder_;
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
