// Waiting for work that others have begun.
#pragma once

#include "base/Mutex.h"

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
        MutexLock lock(mutex_);
        --count_;
        changed_.notifyAll();
    }

    /// Returns when everything that entered has left.
    void wait()
    {
        MutexLock lock(mutex_);
        while (count_ > 0)
            changed_.wait(mutex_);
    }

private:
    Mutex mutex_;
    ConditionVariable changed_;
    int count_ GUARDED_BY(mutex_) = 0;
};

}  // namespace velmora
