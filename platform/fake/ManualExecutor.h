// An executor that a test steps by hand.
#pragma once

#include "base/Mutex.h"
#include "base/SerialQueue.h"

#include <cstddef>
#include <deque>

namespace velmora::fake {

/// Work waits until the test runs it, on the test's thread.
class ManualExecutor final : public Executor {
public:
    void async(UniqueFunction<void()> work) override
    {
        MutexLock lock(mutex_);
        pending_.push_back(std::move(work));
        arrived_.notifyAll();
    }

    [[nodiscard]] std::size_t pendingCount() const
    {
        MutexLock lock(mutex_);
        return pending_.size();
    }

    /// Runs the oldest piece; false when there is none.
    bool runOne()
    {
        UniqueFunction<void()> work;
        {
            MutexLock lock(mutex_);
            if (pending_.empty())
                return false;
            work = std::move(pending_.front());
            pending_.pop_front();
        }
        work();
        return true;
    }

    /// Runs everything, including what the work itself adds.
    void runAll()
    {
        while (runOne()) { }
    }

    /// Runs work as it arrives, waiting for it, until `done` is true.
    template <typename Condition>
    void runUntil(Condition done)
    {
        while (!done()) {
            {
                MutexLock lock(mutex_);
                while (pending_.empty())
                    arrived_.wait(mutex_);
            }
            runOne();
        }
    }

private:
    mutable Mutex mutex_;
    ConditionVariable arrived_;
    std::deque<UniqueFunction<void()>> pending_ GUARDED_BY(mutex_);
};

}  // namespace velmora::fake
