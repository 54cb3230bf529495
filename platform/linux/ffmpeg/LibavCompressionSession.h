// Video compression with libavcodec.
#pragma once

#include "platform/CompressionSession.h"
#include "platform/linux/ffmpeg/EncodingPipeline.h"

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

namespace velmora::linux_backend {

/// Converts and encodes on a thread of its own, which begins with the first picture or with prepareToEncodeFrames.
///
/// - encodeFrame fails for a picture of another size or format and for a time that is not after the one before. Pictures wait in a
///   queue of three; one that finds it full takes the place of the youngest, which is called back without a sample.
/// - A picture 0.5 s or more after the last key frame becomes a key frame, so that a recording can begin soon at any frame rate; so does the
///   first that is encoded after one was asked for.
/// - H.264 in 4:2:0 has only even sizes (cropping counts in twos: ITU-R H.264 7.4.2.1.1): of an odd size the last column or row is coded
///   and shown twice, and the samples' format has the even size.
/// - Properties can be set until the encoder is made ready. The software encoder's bit rate is an average that busy pictures reach and
///   simple ones stay below; beyond it, only what was not used before is spent, at most 0.75 s' worth.
/// - Statuses are AVERROR codes; after invalidate, AVERROR_EOF. From the output callback itself completeFrames fails with
///   AVERROR(EDEADLK); invalidate there, and destruction, end the session with the running callback.
class LibavCompressionSession final : public platform::CompressionSession {
public:
    /// `open` is called on the session's thread whenever an encoder is needed.
    LibavCompressionSession(std::int32_t width, std::int32_t height, EncodingEffort effort, OutputCallback output,
        EncodingPipeline::OpenEncoder open, engine::KeyFrameRequests keyFrameRequests = {});
    ~LibavCompressionSession() override;
    LibavCompressionSession(const LibavCompressionSession&) = delete;
    LibavCompressionSession& operator=(const LibavCompressionSession&) = delete;

    platform::CompressionStatus setProperty(platform::CompressionProperty property, platform::CompressionPropertyValue value) override;
    platform::CompressionStatus prepareToEncodeFrames() override;
    platform::CompressionStatus encodeFrame(
        const PixelBufferRef& pixelBuffer, MediaTime presentationTimeStamp, MediaTime duration) override;
    platform::CompressionStatus completeFrames() override;
    void invalidate() override;

private:
    struct State;
    std::shared_ptr<State> state_;
};

class LibavCompressionSessionFactory final : public platform::CompressionSessionFactory {
public:
    /// Its sessions make the key frames that are asked for.
    explicit LibavCompressionSessionFactory(engine::KeyFrameRequests keyFrameRequests = {}) : keyFrameRequests_(std::move(keyFrameRequests))
    {
    }

    /// Fails with the AVERROR of the last encoder when none can encode this size.
    tl::expected<std::shared_ptr<platform::CompressionSession>, platform::CompressionStatus> makeSession(
        std::int32_t width, std::int32_t height, FourCharacterCode codec, platform::CompressionSession::OutputCallback output) override;
    [[nodiscard]] platform::CompressionStatus checkSize(std::int32_t width, std::int32_t height) override;
    [[nodiscard]] std::string description(platform::CompressionStatus status) const override;

private:
    const engine::KeyFrameRequests keyFrameRequests_;
};

}  // namespace velmora::linux_backend
