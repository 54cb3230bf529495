// What becomes of the pictures and the sound of one stream, from the system's hands to the outputs' queues.
#pragma once

#include "base/Mutex.h"
#include "engine/codecs/KeyFrameRequests.h"
#include "engine/sound/BlockDelivery.h"
#include "platform/CaptureStream.h"
#include "platform/mac/MediaConversion.h"

#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

namespace velmora::mac_backend {

/// Pictures are handed on as they come, and repeated by a thread of this object's own: when none has come for half a second, and sooner
/// when somebody waits for a key frame. Sound becomes a track without gaps in blocks of 1024 frames, silence where the system has none. Any
/// thread.
class StreamDelivery : public std::enable_shared_from_this<StreamDelivery> {
public:
    static constexpr std::chrono::milliseconds repeatInterval{500};

    StreamDelivery(const platform::StreamConfiguration& configuration, engine::KeyFrameRequests keyFrameRequests);
    ~StreamDelivery();
    StreamDelivery(const StreamDelivery&) = delete;
    StreamDelivery& operator=(const StreamDelivery&) = delete;

    /// Before begin() only.
    void addOutput(std::weak_ptr<platform::StreamOutput> output, platform::StreamOutputType type, std::shared_ptr<Executor> queue);

    /// Once. What comes from now on is handed on in the name of `stream`.
    void begin(std::weak_ptr<const platform::CaptureStream> stream);

    void deliver(const PixelBufferRef& picture, MediaTime time);
    void deliver(const CapturedSound& sound);

    /// When it has returned, nothing is handed to a queue any more, and no output is called with what waits in one. Idempotent.
    void end();

private:
    struct Output {
        std::weak_ptr<platform::StreamOutput> output;
        platform::StreamOutputType type;
        std::shared_ptr<Executor> queue;
    };

    void run();
    void repeatAt(MonotonicTime now) REQUIRES(mutex_);
    void handOn(const SampleBufferRef& sample, platform::StreamOutputType type) REQUIRES(mutex_);
    [[nodiscard]] SampleBufferRef sampleOf(const PixelBufferRef& picture) REQUIRES(mutex_);

    const std::chrono::nanoseconds interval_;
    const std::optional<engine::AudioSourceFormat> soundFormat_;
    engine::KeyFrameRequests keyFrameRequests_;

    Mutex mutex_;
    ConditionVariable changed_;
    std::vector<Output> outputs_ GUARDED_BY(mutex_);  // complete before the beginning
    std::weak_ptr<const platform::CaptureStream> stream_ GUARDED_BY(mutex_);
    bool hasBegun_ GUARDED_BY(mutex_) = false;
    PixelBufferRef lastPicture_ GUARDED_BY(mutex_);
    FormatDescriptionRef format_ GUARDED_BY(mutex_);  // of the last picture
    MonotonicTime lastTime_ GUARDED_BY(mutex_);
    bool isPictureWanted_ GUARDED_BY(mutex_) = false;
    std::optional<engine::BlockDelivery> sound_ GUARDED_BY(mutex_);
    int soundInput_ GUARDED_BY(mutex_) = 0;
    MonotonicTime soundDue_ GUARDED_BY(mutex_);
    std::thread thread_ GUARDED_BY(mutex_);
    engine::KeyFrameRequests::Registration observation_ GUARDED_BY(mutex_);
    std::atomic<bool> hasEnded_ = false;  // written under the mutex
};

}  // namespace velmora::mac_backend
