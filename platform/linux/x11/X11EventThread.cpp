#include "platform/linux/x11/X11EventThread.h"

#include "platform/linux/x11/Errors.h"

#include <cassert>
#include <cerrno>
#include <poll.h>
#include <pthread.h>
#include <utility>

namespace velmora::linux_backend {

X11EventThread::X11EventThread(std::string displayName) : displayName_(std::move(displayName)) { }

X11EventThread::~X11EventThread()
{
    if (!thread_.joinable())
        return;
    {
        MutexLock lock(mutex_);
        isStopping_ = true;
    }
    wakeUp_.signal();
    thread_.join();
}

Result<void> X11EventThread::run(UniqueFunction<void(Context&)> work)
{
    assert(std::this_thread::get_id() != thread_.get_id());
    if (!thread_.joinable()) {
        if (!wakeUp_.isValid())
            return fail(posixError(EMFILE, "The X display cannot be listened to"));
        auto connection = Connection::open(displayName_.empty() ? nullptr : displayName_.c_str());
        if (!connection)
            return fail(std::move(connection.error()));
        connection_ = std::move(*connection);
        thread_ = std::thread([this] { loop(); });
    }
    Job job;
    job.work = std::move(work);
    MutexLock lock(mutex_);
    assert(!waiting_);
    if (!isLost_) {
        waiting_ = &job;
        wakeUp_.signal();
        while (!job.isDone)
            jobDone_.wait(mutex_);
    }
    if (!job.hasRun)
        return failX11(X11ErrorCode::connectionLost, "The connection to the X display was lost.");
    return {};
}

void X11EventThread::loop()
{
    pthread_setname_np(pthread_self(), "x11Events");
    Context context{*connection_, listeners_};
    bool any = false;
    for (;;) {
        wakeUp_.clear();
        runJob(context);
        while (const Event event = connection_->poll()) {
            dispatch(*event);
            any = true;
        }
        if (std::exchange(any, false)) {
            for (const auto& listener : listeners_)
                listener->eventsHandled(*connection_);
        }
        {
            MutexLock lock(mutex_);
            if (isStopping_)
                return;
        }
        if (connection_->isBroken()) {
            endJobs();
            return;
        }
        // Flushing and waiting for a reply can read in events, after which the socket would not wake us.
        connection_->flush();
        if (const Event event = connection_->pollQueued()) {
            dispatch(*event);
            any = true;
            continue;
        }
        pollfd sources[] = {{connection_->fileDescriptor(), POLLIN, 0}, {wakeUp_.descriptor(), POLLIN, 0}};
        poll(sources, 2, -1);
    }
}

void X11EventThread::runJob(Context& context)
{
    Job* job = nullptr;
    {
        MutexLock lock(mutex_);
        job = std::exchange(waiting_, nullptr);
    }
    if (!job)
        return;
    job->work(context);
    MutexLock lock(mutex_);
    job->hasRun = true;
    job->isDone = true;
    jobDone_.notifyAll();
}

void X11EventThread::endJobs()
{
    MutexLock lock(mutex_);
    isLost_ = true;
    if (waiting_)
        std::exchange(waiting_, nullptr)->isDone = true;
    jobDone_.notifyAll();
}

void X11EventThread::dispatch(const xcb_generic_event_t& event)
{
    for (const auto& listener : listeners_)
        listener->handle(event);
}

}  // namespace velmora::linux_backend
