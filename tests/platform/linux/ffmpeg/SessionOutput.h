// Collects what a compression session calls back.
#pragma once

#include "base/Mutex.h"
#include "platform/CompressionSession.h"

#include <memory>
#include <vector>

namespace velmora::linux_backend::testing {

class SessionOutput {
public:
    struct Call {
        platform::CompressionStatus status = 0;
        SampleBufferRef sample;
    };

    /// The callback; keeps `output` alive. While the output is held, it waits before it returns.
    static platform::CompressionSession::OutputCallback callback(std::shared_ptr<SessionOutput> output)
    {
        return [output = std::move(output)](
                   platform::CompressionStatus status, SampleBufferRef sample) { output->take(status, std::move(sample)); };
    }

    void hold()
    {
        MutexLock lock(mutex_);
        held_ = true;
    }

    void release()
    {
        MutexLock lock(mutex_);
        held_ = false;
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

private:
    void take(platform::CompressionStatus status, SampleBufferRef sample)
    {
        MutexLock lock(mutex_);
        calls_.push_back({status, std::move(sample)});
        changed_.notifyAll();
        while (held_)
            changed_.wait(mutex_);
    }

    Mutex mutex_;
    ConditionVariable changed_;
    std::vector<Call> calls_ GUARDED_BY(mutex_);
    bool held_ GUARDED_BY(mutex_) = false;
};

}  // namespace velmora::linux_backend::testing
