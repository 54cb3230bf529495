// The system's own capture stream, as far as the stream of the seam needs it.
#pragma once

#include "base/Result.h"
#include "base/UniqueFunction.h"
#include "media/PixelBuffer.h"
#include "platform/CaptureStream.h"
#include "platform/mac/MediaConversion.h"

#include <memory>

namespace velmora::mac_backend {

/// Any thread, and nothing here waits.
class SystemStreamObserver {
public:
    virtual ~SystemStreamObserver() = default;

    virtual void systemDidCapture(const PixelBufferRef& picture, MediaTime time) = 0;
    virtual void systemDidCapture(const CapturedSound& sound) = 0;

    /// The stream has ended by itself. It may say so before it has said that it had started.
    virtual void systemDidStop(const Error& error) = 0;
};

/// Started once, stopped at most once and only while it runs; its end stops it too. The observer is held weakly.
class SystemStream {
public:
    using Completion = UniqueFunction<void(Result<void>)>;

    virtual ~SystemStream() = default;

    virtual void setObserver(std::weak_ptr<SystemStreamObserver> observer) = 0;
    virtual Result<void> addOutput(platform::StreamOutputType type) = 0;

    /// Each completion is called once, on any thread.
    virtual void start(Completion completion) = 0;
    virtual void stop(Completion completion) = 0;
};

}  // namespace velmora::mac_backend
