// A mutex that clang's thread-safety analysis understands (libstdc++'s std::mutex is not a capability to it).
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

#if defined(__clang__)
#define VELMORA_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define VELMORA_THREAD_ATTRIBUTE(x)
#endif

#define CAPABILITY(name) VELMORA_THREAD_ATTRIBUTE(capability(name))
#define SCOPED_CAPABILITY VELMORA_THREAD_ATTRIBUTE(scoped_lockable)
#define GUARDED_BY(mutex) VELMORA_THREAD_ATTRIBUTE(guarded_by(mutex))
#define REQUIRES(...) VELMORA_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define ACQUIRE(...) VELMORA_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define RELEASE(...) VELMORA_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))
#define EXCLUDES(...) VELMORA_THREAD_ATTRIBUTE(locks_excluded(__VA_ARGS__))
#define NO_THREAD_SAFETY_ANALYSIS VELMORA_THREAD_ATTRIBUTE(no_thread_safety_analysis)

namespace velmora {

class CAPABILITY("mutex") Mutex {
public:
    void lock() ACQUIRE() { mutex_.lock(); }
    void unlock() RELEASE() { mutex_.unlock(); }

private:
    friend class ConditionVariable;
    std::mutex mutex_;
};

class SCOPED_CAPABILITY MutexLock {
public:
    explicit MutexLock(Mutex& mutex) ACQUIRE(mutex) : mutex_(mutex) { mutex_.lock(); }
    ~MutexLock() RELEASE() { mutex_.unlock(); }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

private:
    Mutex& mutex_;
};

/// Waits on a Mutex that the caller holds. Wake-ups may be spurious: test the condition in a loop.
class ConditionVariable {
public:
    void wait(Mutex& mutex) REQUIRES(mutex)
    {
        std::unique_lock<std::mutex> held(mutex.mutex_, std::adopt_lock);
        condition_.wait(held);
        held.release();
    }

    /// False when `deadline` has passed without a wake-up.
    template <typename Clock, typename Duration>
    bool waitUntil(Mutex& mutex, std::chrono::time_point<Clock, Duration> deadline) REQUIRES(mutex)
    {
        std::unique_lock<std::mutex> held(mutex.mutex_, std::adopt_lock);
        const auto status = condition_.wait_until(held, deadline);
        held.release();
        return status == std::cv_status::no_timeout;
    }

    void notifyOne() { condition_.notify_one(); }
    void notifyAll() { condition_.notify_all(); }

private:
    std::condition_variable condition_;
};

}  // namespace velmora
