// Waiting for work that others have begun.
#pragma once

#include "base/Mutex.h"
#include "base/UniqueFunction.h"

#include <utility>
#include <vector>

namespace velmora {

/// Counts what is under way. Thread-safe.
class WaitGroup {
public:
    void enter()
    {
        MutexLock lock(mutex_);
        ++count_;
    }

    void leave()
    {
        std::vector<UniqueFunction<void()>> work;
        {
            MutexLock lock(mutex_);
            if (--count_ == 0)
                work = std::exchange(waiting_, {});
            changed_.notifyAll();
        }
        for (auto& piece : work)
            piece();
    }

    /// Returns when everything that entered has left.
    void wait()
    {
        MutexLock lock(mutex_);
        while (count_ > 0)
            changed_.wait(mutex_);
    }

    /// Runs `work` once when everything that entered has left: now, or on the thread of the last one to leave.
    void notify(UniqueFunction<void()> work)
    {
        {
            MutexLock lock(mutex_);
            if (count_ > 0) {
                waiting_.push_back(std::move(work));
                return;
            }
        }
        work();
    }

private:
    Mutex mutex_;
    ConditionVariable changed_;
    int count_ GUARDED_BY(mutex_) = 0;
    std::vector<UniqueFunction<void()>> waiting_ GUARDED_BY(mutex_);
};

}  // namespace velmora
