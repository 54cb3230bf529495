// Where a stream's pictures come from (an X11 window, or what a portal shares).
#pragma once

#include "base/Result.h"
#include "base/UniqueFunction.h"
#include "media/SampleBuffer.h"

#include <cstdint>

namespace velmora::engine {

/// Delivers pictures of one window from a thread of its own. Started once, stopped once.
class VideoSource {
public:
    struct Callbacks {
        /// A picture with its time stamp of MonotonicClock; the source's contract is that of platform::CaptureStream.
        UniqueFunction<void(SampleBufferRef)> picture;
        /// The window is gone or the connection broke. At most once; no picture follows.
        UniqueFunction<void(const Error&)> stopped;
        /// As PictureStream::observeSize() says.
        UniqueFunction<void(std::int32_t width, std::int32_t height)> settled = {};
    };

    virtual ~VideoSource() = default;

    /// Returns when the source is running or has failed; the first picture may be delivered before that.
    virtual Result<void> start(Callbacks callbacks) = 0;

    /// PictureStream::updateSize() on the source's thread; returns when that is done, or nothing will come of it because the source has ended.
    /// The size is possible. Between start() and stop(), never from a callback.
    virtual Result<void> updateSize(std::int32_t width, std::int32_t height) = 0;

    /// PictureStream::wantPicture() on the source's thread, soon; returns at once. A source that cannot leaves it. Any thread, between start() and
    /// stop().
    virtual void wantPicture() { }

    /// Returns when no callback is running or will run. Idempotent. Never called from a callback.
    virtual void stop() = 0;
};

}  // namespace velmora::engine
