#include "platform/mac/MacCaptureStream.h"

#include "base/Mutex.h"
#include "platform/mac/StreamDelivery.h"

#include <optional>
#include <utility>

namespace velmora::mac_backend {

namespace {

using platform::CaptureStream;
using platform::StreamOutputType;

constexpr const char* errorDomain = "Velmora.CaptureStream";
enum ErrorCode { noMicrophone = 1, sizeStays = 2 };

class MacCaptureStream final : public CaptureStream, public SystemStreamObserver, public std::enable_shared_from_this<MacCaptureStream> {
public:
    MacCaptureStream(Result<std::unique_ptr<SystemStream>> system, const platform::StreamConfiguration& configuration,
        std::weak_ptr<platform::StreamDelegate> delegate, engine::KeyFrameRequests keyFrameRequests)
        : system_(std::move(system))
        , delegate_(std::move(delegate))
        , delivery_(std::make_shared<StreamDelivery>(configuration, std::move(keyFrameRequests)))
    {
    }
    MacCaptureStream(const MacCaptureStream&) = delete;
    MacCaptureStream& operator=(const MacCaptureStream&) = delete;
    ~MacCaptureStream() override { delivery_->end(); }

    Result<void> addStreamOutput(
        std::weak_ptr<platform::StreamOutput> output, StreamOutputType type, std::shared_ptr<Executor> queue) override
    {
        if (type == StreamOutputType::microphone)
            return fail(errorDomain, noMicrophone, "A capture stream has no microphone.");
        if (system_) {
            if (auto added = (*system_)->addOutput(type); !added)
                return added;
        }
        delivery_->addOutput(std::move(output), type, std::move(queue));
        return {};
    }

    void startCapture(Completion completion) override
    {
        if (!system_)
            return completion(fail(system_.error()));
        {
            MutexLock lock(mutex_);
            phase_ = Phase::starting;
        }
        (*system_)->setObserver(weak_from_this());
        delivery_->begin(weak_from_this());
        (*system_)->start([self = shared_from_this(), completion = std::move(completion)](Result<void> result) mutable {
            const bool hasStarted = result.has_value();
            completion(std::move(result));
            self->didStart(hasStarted);
        });
    }

    void updateSize(std::int32_t, std::int32_t, Completion completion) override
    {
        completion(fail(errorDomain, sizeStays, "The pictures of this stream keep their size."));
    }

    void stopCapture(Completion completion) override
    {
        delivery_->end();
        {
            MutexLock lock(mutex_);
            if (phase_ == Phase::starting && !stop_) {
                stop_ = std::move(completion);
                return;
            }
            if (phase_ == Phase::running) {
                phase_ = Phase::ended;
                stop_ = std::move(completion);
            }
        }
        if (completion)
            return completion({});
        stopSystem();
    }

    void systemDidCapture(const PixelBufferRef& picture, MediaTime time) override { delivery_->deliver(picture, time); }
    void systemDidCapture(const CapturedSound& sound) override { delivery_->deliver(sound); }

    void systemDidStop(const Error& error) override
    {
        {
            MutexLock lock(mutex_);
            if (phase_ == Phase::starting && !ownEnd_)
                ownEnd_ = error;
            if (phase_ != Phase::running)
                return;
            phase_ = Phase::ended;
        }
        reportEnd(error);
    }

private:
    enum class Phase { idle, starting, running, ended };

    void didStart(bool hasStarted)
    {
        Completion stop;
        std::optional<Error> ownEnd;
        {
            MutexLock lock(mutex_);
            ownEnd = std::move(ownEnd_);
            phase_ = hasStarted && !ownEnd && !stop_ ? Phase::running : Phase::ended;
            if (phase_ == Phase::running)
                return;
            // A stream that runs is stopped below.
            if (!hasStarted || ownEnd)
                stop = std::exchange(stop_, nullptr);
        }
        if (stop)
            stop({});
        else if (hasStarted && !ownEnd)
            stopSystem();
        else if (ownEnd && hasStarted)
            reportEnd(*ownEnd);
        else
            delivery_->end();
    }

    /// With the phase ended and somebody's stop waiting.
    void stopSystem()
    {
        Completion stop;
        {
            MutexLock lock(mutex_);
            stop = std::exchange(stop_, nullptr);
        }
        (*system_)->stop(
            [self = shared_from_this(), completion = std::move(stop)](Result<void> result) mutable { completion(std::move(result)); });
    }

    void reportEnd(const Error& error)
    {
        delivery_->end();
        if (const auto delegate = delegate_.lock())
            delegate->streamDidStopWithError(*this, error);
    }

    const Result<std::unique_ptr<SystemStream>> system_;
    const std::weak_ptr<platform::StreamDelegate> delegate_;
    const std::shared_ptr<StreamDelivery> delivery_;

    Mutex mutex_;
    Phase phase_ GUARDED_BY(mutex_) = Phase::idle;
    std::optional<Error> ownEnd_ GUARDED_BY(mutex_);  // said before the start's completion
    Completion stop_ GUARDED_BY(mutex_);  // waits for the system's stream to have started, or to have stopped
};

}  // namespace

std::shared_ptr<CaptureStream> makeCaptureStream(Result<std::unique_ptr<SystemStream>> system,
    const platform::StreamConfiguration& configuration, std::weak_ptr<platform::StreamDelegate> delegate,
    engine::KeyFrameRequests keyFrameRequests)
{
    return std::make_shared<MacCaptureStream>(std::move(system), configuration, std::move(delegate), std::move(keyFrameRequests));
}

}  // namespace velmora::mac_backend
