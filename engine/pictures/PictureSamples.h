// Turns the pictures of a pool into the samples of one stream.
#pragma once

#include "base/MonotonicClock.h"
#include "engine/pictures/PicturePool.h"
#include "media/SampleBuffer.h"
#include "platform/StreamConfiguration.h"

#include <chrono>
#include <cstdint>
#include <vector>

namespace velmora::engine {

/// Counts the samples of a stream, which has an identity of its own. Used on one thread.
class PictureSamples {
public:
    explicit PictureSamples(const platform::StreamConfiguration& configuration);

    /// The minimum frame interval; 0 when the configuration sets no limit.
    [[nodiscard]] std::chrono::nanoseconds interval() const { return interval_; }

    /// A picture as it was at `time`; `dirty` is what has changed since the sample before. The sample holds the picture.
    [[nodiscard]] SampleBufferRef make(PicturePool& pool, PooledPicture& picture, MonotonicTime time, std::vector<PixelRect> dirty);

private:
    std::chrono::nanoseconds interval_;
    FormatDescriptionRef format_;
    std::uint64_t stream_;
    std::uint64_t sequence_ = 0;
};

}  // namespace velmora::engine
