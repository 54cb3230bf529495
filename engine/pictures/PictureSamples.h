// Turns the pictures of a pool into the samples of one stream.
#pragma once

#include "engine/pictures/PicturePool.h"
#include "media/SampleBuffer.h"
#include "platform/StreamConfiguration.h"

#include <cstdint>
#include <vector>

namespace velmora::engine {

/// Counts the samples of a stream, which has an identity of its own. Used on one thread.
class PictureSamples {
public:
    explicit PictureSamples(const platform::StreamConfiguration& configuration);

    /// The minimum frame interval in nanoseconds; 0 when the configuration sets no limit.
    [[nodiscard]] std::int64_t interval() const { return interval_; }

    /// `time` counts the nanoseconds of CLOCK_MONOTONIC; `dirty` is what has changed since the sample before. The sample holds the picture.
    [[nodiscard]] SampleBufferRef make(PicturePool& pool, PooledPicture& picture, std::int64_t time, std::vector<PixelRect> dirty);

private:
    std::int64_t interval_;
    FormatDescriptionRef format_;
    std::uint64_t stream_;
    std::uint64_t sequence_ = 0;
};

}  // namespace velmora::engine
