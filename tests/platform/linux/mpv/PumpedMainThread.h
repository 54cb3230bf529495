// The main thread of a test: work from other threads waits until the test runs it.
#pragma once

#include "base/Mutex.h"
#include "base/SerialQueue.h"

#include <chrono>
#include <deque>
#include <utility>

namespace velmora::test {

class PumpedMainThread final : public Executor {
public:
    void async(UniqueFunction<void()> work) override
    {
        const MutexLock lock(mutex_);
        pending_.push_back(std::move(work));
        arrived_.notifyAll();
    }

    /// Runs work as it comes until `done`; false when that has not happened within a time in which everything happens.
    template <typename Condition>
    [[nodiscard]] bool runUntil(Condition done)
    {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds{60};
        while (!done()) {
            UniqueFunction<void()> work;
            {
                const MutexLock lock(mutex_);
                while (pending_.empty()) {
                    if (!arrived_.waitUntil(mutex_, deadline))
                        return false;
                }
                work = std::move(pending_.front());
                pending_.pop_front();
            }
            work();
        }
        return true;
    }

    /// Runs what is there.
    void runPending()
    {
        bool isThrough = false;
        async([&isThrough] { isThrough = true; });
        static_cast<void>(runUntil([&isThrough] { return isThrough; }));
    }

private:
    Mutex mutex_;
    ConditionVariable arrived_;
    std::deque<UniqueFunction<void()>> pending_ GUARDED_BY(mutex_);
};

}  // namespace velmora::test
