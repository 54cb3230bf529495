// What the X server reports at any time, and the thread that sleeps until it does.
#pragma once

#include "base/Mutex.h"
#include "base/Result.h"
#include "base/UniqueFunction.h"
#include "platform/linux/kernel/WakeUp.h"
#include "platform/linux/x11/Connection.h"

#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace velmora::linux_backend {

/// One connection for all services that only listen, with one thread: it wakes for an event or for work given to run(), and for nothing
/// else. Connects with the first run(). A connection that was lost stays lost: the thread ends, and every later run() fails.
class X11EventThread {
public:
    /// Called only on the thread.
    class Listener {
    public:
        virtual ~Listener() = default;

        virtual void handle(const xcb_generic_event_t& event) = 0;

        /// Everything that had arrived has been handled: the time to answer several events at once.
        virtual void eventsHandled(Connection& connection) = 0;
    };

    /// What work on the thread may use.
    struct Context {
        Connection& connection;
        std::vector<std::shared_ptr<Listener>>& listeners;
    };

    /// `displayName` as in DISPLAY; empty: that variable.
    explicit X11EventThread(std::string displayName = "");
    ~X11EventThread();
    X11EventThread(const X11EventThread&) = delete;
    X11EventThread& operator=(const X11EventThread&) = delete;

    /// Runs `work` on the thread and returns when it has run; events that earlier work had read in have been handled before. Main thread
    /// only. Fails, without running `work`, when the display cannot be reached (the next call tries again) or the connection was lost.
    Result<void> run(UniqueFunction<void(Context&)> work);

private:
    struct Job {
        UniqueFunction<void(Context&)> work;
        bool isDone = false;
        bool hasRun = false;
    };

    void loop();
    void runJob(Context& context);
    void endJobs();
    void dispatch(const xcb_generic_event_t& event);

    const std::string displayName_;
    WakeUp wakeUp_;
    std::unique_ptr<Connection> connection_;
    std::thread thread_;
    std::vector<std::shared_ptr<Listener>> listeners_;  // the thread's

    Mutex mutex_;
    ConditionVariable jobDone_;
    Job* waiting_ GUARDED_BY(mutex_) = nullptr;
    bool isStopping_ GUARDED_BY(mutex_) = false;
    bool isLost_ GUARDED_BY(mutex_) = false;
};

}  // namespace velmora::linux_backend
