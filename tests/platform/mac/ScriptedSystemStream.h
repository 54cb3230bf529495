// The system's capture stream as a test plays it. What no page settles it does in the ways that a system may.
#pragma once

#include "base/MonotonicClock.h"
#include "base/Mutex.h"
#include "base/SerialQueue.h"
#include "media/LiveTime.h"
#include "platform/mac/SystemStream.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace velmora::mac_backend {

/// A test's hold on a system's stream, which the stream under test owns. Any thread.
struct SystemStreamScript {
    std::optional<Error> startError;
    std::optional<Error> addError;
    bool holdsStart = false;  ///< until answerStart()
    bool endsBeforeTheStartIsAnswered = false;

    Mutex mutex;
    std::weak_ptr<SystemStreamObserver> observer GUARDED_BY(mutex);
    SystemStream::Completion heldStart GUARDED_BY(mutex);
    bool isRunning GUARDED_BY(mutex) = false;
    int refusedStops GUARDED_BY(mutex) = 0;  ///< "attempt to stop the stream in its state"
    int stops GUARDED_BY(mutex) = 0;
    std::vector<platform::StreamOutputType> outputs GUARDED_BY(mutex);
    SerialQueue system{"com.velmora.tests.system"};

    std::shared_ptr<SystemStreamObserver> listening()
    {
        MutexLock lock(mutex);
        return observer.lock();
    }

    void answerStart()
    {
        SystemStream::Completion held;
        {
            MutexLock lock(mutex);
            held = std::exchange(heldStart, nullptr);
            isRunning = !startError;
        }
        if (endsBeforeTheStartIsAnswered)
            end(-3821);
        if (held)
            held(startError ? Result<void>{fail(*startError)} : Result<void>{});
    }

    void end(int code)
    {
        if (const auto target = listening())
            target->systemDidStop({"com.apple.ScreenCaptureKit.SCStreamErrorDomain", code, "The window has gone.", nullptr});
    }

    /// A picture of 64 x 48, each time in other memory; it lives as long as somebody keeps it.
    std::weak_ptr<const PixelBuffer> show(MediaTime time = liveTime(MonotonicClock::now()))
    {
        auto memory = std::make_shared<std::vector<std::byte>>(64 * 48 * 4);
        auto picture = std::make_shared<PixelBuffer>();
        picture->width = 64;
        picture->height = 48;
        picture->bytesPerRow = 64 * 4;
        picture->baseAddress = memory->data();
        picture->owner = std::move(memory);
        if (const auto target = listening())
            target->systemDidCapture(picture, time);
        return picture;
    }

    void play(const CapturedSound& sound)
    {
        if (const auto target = listening())
            target->systemDidCapture(sound);
    }

    [[nodiscard]] int stopCount()
    {
        MutexLock lock(mutex);
        return stops;
    }
};

class ScriptedSystemStream final : public SystemStream {
public:
    explicit ScriptedSystemStream(std::shared_ptr<SystemStreamScript> script) : script_(std::move(script)) { }
    ScriptedSystemStream(const ScriptedSystemStream&) = delete;
    ScriptedSystemStream& operator=(const ScriptedSystemStream&) = delete;
    ~ScriptedSystemStream() override
    {
        MutexLock lock(script_->mutex);
        if (script_->isRunning)
            ++script_->stops;
        script_->isRunning = false;
    }

    void setObserver(std::weak_ptr<SystemStreamObserver> observer) override
    {
        MutexLock lock(script_->mutex);
        script_->observer = std::move(observer);
    }

    Result<void> addOutput(platform::StreamOutputType type) override
    {
        if (script_->addError)
            return fail(*script_->addError);
        MutexLock lock(script_->mutex);
        script_->outputs.push_back(type);
        return {};
    }

    void start(Completion completion) override
    {
        {
            MutexLock lock(script_->mutex);
            script_->heldStart = std::move(completion);
        }
        if (!script_->holdsStart)
            script_->system.async([script = script_.get()] { script->answerStart(); });
    }

    void stop(Completion completion) override
    {
        Result<void> result;
        {
            MutexLock lock(script_->mutex);
            if (script_->isRunning) {
                ++script_->stops;
                script_->isRunning = false;
            } else {
                ++script_->refusedStops;
                result = fail("com.apple.ScreenCaptureKit.SCStreamErrorDomain", -3808, "The stream does not run.");
            }
        }
        script_->system.async([completion = std::move(completion), result]() mutable { completion(result); });
    }

private:
    const std::shared_ptr<SystemStreamScript> script_;
};

}  // namespace velmora::mac_backend
