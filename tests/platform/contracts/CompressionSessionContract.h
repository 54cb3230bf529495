// What every CompressionSession has to do, whichever encoder it is made for. A back end's test makes an Encoder and instantiates the suite.
#pragma once

#include "base/Mutex.h"
#include "engine/codecs/KeyFrameRequests.h"
#include "platform/CompressionSession.h"

#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace velmora::test {

/// What a session has called back. Any thread.
class CompressionOutput {
public:
    struct Call {
        platform::CompressionStatus status = 0;
        SampleBufferRef sample;
        std::thread::id thread;
    };

    /// The callback; keeps `output` alive. It waits while the output is held.
    static platform::CompressionSession::OutputCallback callback(std::shared_ptr<CompressionOutput> output)
    {
        return [output = std::move(output)](
                   platform::CompressionStatus status, SampleBufferRef sample) { output->take(status, std::move(sample)); };
    }

    void hold()
    {
        MutexLock lock(mutex_);
        isHeld_ = true;
    }
    void release()
    {
        MutexLock lock(mutex_);
        isHeld_ = false;
        changed_.notifyAll();
    }
    void waitForCalls(std::size_t count)
    {
        MutexLock lock(mutex_);
        while (calls_.size() < count)
            changed_.wait(mutex_);
    }
    [[nodiscard]] std::vector<Call> calls()
    {
        MutexLock lock(mutex_);
        return calls_;
    }
    [[nodiscard]] bool isRunning()
    {
        MutexLock lock(mutex_);
        return isRunning_;
    }
    /// Two calls have run at once.
    [[nodiscard]] bool hasOverlapped()
    {
        MutexLock lock(mutex_);
        return hasOverlapped_;
    }

private:
    void take(platform::CompressionStatus status, SampleBufferRef sample)
    {
        MutexLock lock(mutex_);
        hasOverlapped_ = hasOverlapped_ || isRunning_;
        isRunning_ = true;
        calls_.push_back({status, std::move(sample), std::this_thread::get_id()});
        changed_.notifyAll();
        while (isHeld_)
            changed_.wait(mutex_);
        isRunning_ = false;
    }

    Mutex mutex_;
    ConditionVariable changed_;
    std::vector<Call> calls_ GUARDED_BY(mutex_);
    bool isHeld_ GUARDED_BY(mutex_) = false;
    bool isRunning_ GUARDED_BY(mutex_) = false;
    bool hasOverlapped_ GUARDED_BY(mutex_) = false;
};

/// An encoder, and whatever a test has to know of it.
class EncoderBackEnd {
public:
    virtual ~EncoderBackEnd() = default;

    virtual std::shared_ptr<platform::CompressionSessionFactory> makeFactory(engine::KeyFrameRequests requests) = 0;

    /// Encodes what it is given: its frames can be decoded, and it chooses its key frames.
    [[nodiscard]] virtual bool isReal() const { return true; }

    /// Returns when it is done with pictures that no session wants any more.
    virtual void settle() { }
};

struct NamedEncoder {
    std::string name;
    std::function<std::unique_ptr<EncoderBackEnd>()> make;
};

class CompressionSessionContract : public testing::TestWithParam<NamedEncoder> {
protected:
    static constexpr std::int32_t width = 128;
    static constexpr std::int32_t height = 96;

    std::shared_ptr<platform::CompressionSession> makeSession();

    /// Of the size of the session, different for each number.
    static PixelBufferRef picture(int number);

    /// Submits that many at 60 a second, from `first` on.
    static void submit(platform::CompressionSession& session, int count, int first = 0);

    /// The samples among the calls.
    [[nodiscard]] std::vector<SampleBufferRef> samples() const;

    const std::unique_ptr<EncoderBackEnd> encoder_ = GetParam().make();
    engine::KeyFrameRequests requests_;
    const std::shared_ptr<CompressionOutput> output_ = std::make_shared<CompressionOutput>();
    const std::shared_ptr<platform::CompressionSessionFactory> factory_ = encoder_->makeFactory(requests_);
};

}  // namespace velmora::test
