// Seam: a video encoder.
#pragma once

#include "base/UniqueFunction.h"
#include "media/SampleBuffer.h"

#include <cstdint>
#include <memory>
#include <string>
#include <tl/expected.hpp>
#include <variant>

namespace velmora::platform {

/// 0 is success; every other value is the platform's own code.
using CompressionStatus = std::int32_t;

enum class CompressionProperty { realTime, profileLevel, maxKeyFrameInterval, averageBitRate, allowFrameReordering };

enum class ProfileLevel { h264HighAutoLevel };

using CompressionPropertyValue = std::variant<bool, std::int64_t, ProfileLevel>;

/// Compresses pictures of one size. Not thread-safe except where stated.
class CompressionSession {
public:
    /// Called for every picture that was submitted, in their order, on a thread of the session's own, never two at a time. A status
    /// other than 0, or no sample, means that this picture was not encoded.
    using OutputCallback = UniqueFunction<void(CompressionStatus, SampleBufferRef)>;

    /// Discards what is pending.
    virtual ~CompressionSession() = default;

    virtual CompressionStatus setProperty(CompressionProperty property, CompressionPropertyValue value) = 0;

    /// Prepares everything for which the first picture would otherwise have to wait.
    virtual CompressionStatus prepareToEncodeFrames() = 0;

    /// Submits a picture and returns without waiting for it to be encoded. Safe against a concurrent completeFrames or invalidate.
    virtual CompressionStatus encodeFrame(const PixelBufferRef& pixelBuffer, MediaTime presentationTimeStamp, MediaTime duration) = 0;

    /// Returns when the output callback has been called for everything submitted before.
    virtual CompressionStatus completeFrames() = 0;

    /// Ends the session: no callback runs after this returns, and every later call fails.
    virtual void invalidate() = 0;
};

class CompressionSessionFactory {
public:
    virtual ~CompressionSessionFactory() = default;

    /// `codec` is "avc1". Width and height are those of the pictures to come, in pixels.
    virtual tl::expected<std::shared_ptr<CompressionSession>, CompressionStatus> makeSession(
        std::int32_t width, std::int32_t height, FourCharacterCode codec, CompressionSession::OutputCallback output) = 0;

    /// 0 when pictures of this size can be compressed; else what makeSession() would fail with. Takes as long as the first session for a size
    /// takes to be made, and saves that session the time. Any thread.
    [[nodiscard]] virtual CompressionStatus checkSize([[maybe_unused]] std::int32_t width, [[maybe_unused]] std::int32_t height)
    {
        return 0;
    }

    /// What a status from makeSession() means, for people; empty when only the number is known.
    [[nodiscard]] virtual std::string description([[maybe_unused]] CompressionStatus status) const { return {}; }
};

}  // namespace velmora::platform
