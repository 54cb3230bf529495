// Collects what a compression session calls back.
#pragma once

#include "base/Mutex.h"
#include "platform/CompressionSession.h"

#include <cstddef>
#include <memory>
#include <thread>
#include <utility>
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

    /// The samples of all calls; calls without one are left out.
    [[nodiscard]] std::vector<SampleBufferRef> samples()
    {
        std::vector<SampleBufferRef> all;
        for (const auto& call : calls()) {
            if (call.sample)
                all.push_back(call.sample);
        }
        return all;
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

}  // namespace velmora::test
