// An encoder that takes no time: it puts out the same few encoded pictures over and over; they do decode.
#pragma once

#include "platform/CompressionSession.h"
#include "tests/support/media/EncodedClip.h"

#include <functional>
#include <memory>

namespace velmora::test {

/// Of the pictures that it puts out, the n-th shows the number n modulo `pictures`; each multiple of `pictures` is a key frame.
struct RepeatedClip {
    explicit RepeatedClip(int pictureCount)
        : pictures(pictureCount)
        , encoded(encodeClip(steadyTimes(pictureCount, 60), {.width = 64, .height = 48, .keyFrameInterval = pictureCount}))
    {
    }

    int pictures;
    EncodedClip encoded;
};

class RepeatedClipSession final : public platform::CompressionSession {
public:
    using Status = platform::CompressionStatus;
    /// What becomes of the n-th frame: 0, or the status with which it fails. One that fails is not encoded, so nothing after it needs it.
    using Outcome = std::function<Status(std::size_t frame)>;

    RepeatedClipSession(std::shared_ptr<const RepeatedClip> clip, Outcome outcome, OutputCallback output)
        : clip_(std::move(clip))
        , outcome_(std::move(outcome))
        , output_(std::move(output))
    {
    }

    Status setProperty(platform::CompressionProperty, platform::CompressionPropertyValue) override { return 0; }
    Status prepareToEncodeFrames() override { return 0; }
    Status completeFrames() override { return 0; }
    void invalidate() override { }

    Status encodeFrame(const PixelBufferRef&, MediaTime presentationTimeStamp, MediaTime duration) override
    {
        if (const Status status = outcome_ ? outcome_(frames_++) : 0) {
            output_(status, nullptr);
            return 0;
        }
        auto sample = std::make_shared<SampleBuffer>(*clip_->encoded.samples[encoded_++ % clip_->encoded.samples.size()]);
        sample->presentationTimeStamp = presentationTimeStamp;
        sample->duration = duration;
        output_(0, std::move(sample));
        return 0;
    }

private:
    const std::shared_ptr<const RepeatedClip> clip_;
    const Outcome outcome_;
    OutputCallback output_;
    std::size_t frames_ = 0;
    std::size_t encoded_ = 0;
};

class RepeatedClipSessions final : public platform::CompressionSessionFactory {
public:
    explicit RepeatedClipSessions(int pictureCount, RepeatedClipSession::Outcome outcome = {})
        : clip_(std::make_shared<const RepeatedClip>(pictureCount))
        , outcome_(std::move(outcome))
    {
    }

    tl::expected<std::shared_ptr<platform::CompressionSession>, platform::CompressionStatus> makeSession(
        std::int32_t, std::int32_t, FourCharacterCode, platform::CompressionSession::OutputCallback output) override
    {
        return std::make_shared<RepeatedClipSession>(clip_, outcome_, std::move(output));
    }

private:
    const std::shared_ptr<const RepeatedClip> clip_;
    const RepeatedClipSession::Outcome outcome_;
};

}  // namespace velmora::test
