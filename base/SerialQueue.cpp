#include "base/SerialQueue.h"

#include "base/CurrentThread.h"
#include "base/Mutex.h"

#include <cassert>
#include <thread>
#include <utility>
#include <vector>

namespace velmora {

struct SerialQueue::State {
    std::string label;
    QualityOfService qualityOfService;

    Mutex mutex;
    ConditionVariable wakeUp;
    std::vector<UniqueFunction<void()>> pending GUARDED_BY(mutex);
    bool ending GUARDED_BY(mutex) = false;
    std::thread thread GUARDED_BY(mutex);

    void run()
    {
        setUpCurrentThread(label, qualityOfService);
        // The two vectors trade places, so a queue that has hit its stride allocates nothing.
        std::vector<UniqueFunction<void()>> batch;
        for (;;) {
            {
                MutexLock lock(mutex);
                while (pending.empty() && !ending)
                    wakeUp.wait(mutex);
                if (pending.empty())
                    return;
                batch.swap(pending);
            }
            for (auto& work : batch) {
                work();
                work.reset();
            }
            batch.clear();
        }
    }
};

SerialQueue::SerialQueue(std::string label, QualityOfService qualityOfService) : state_(std::make_shared<State>())
{
    state_->label = std::move(label);
    state_->qualityOfService = qualityOfService;
}

SerialQueue::~SerialQueue()
{
    std::thread thread;
    {
        MutexLock lock(state_->mutex);
        state_->ending = true;
        thread = std::move(state_->thread);
    }
    state_->wakeUp.notifyAll();
    if (!thread.joinable())
        return;
    if (thread.get_id() == std::this_thread::get_id())
        thread.detach();
    else
        thread.join();
}

void SerialQueue::submit(const std::shared_ptr<State>& state, UniqueFunction<void()> work)
{
    {
        MutexLock lock(state->mutex);
        state->pending.push_back(std::move(work));
        if (!state->thread.joinable())
            state->thread = std::thread([state] { state->run(); });
    }
    state->wakeUp.notifyOne();
}

void SerialQueue::async(UniqueFunction<void()> work)
{
    // The work may release the queue before this returns.
    const auto state = state_;
    submit(state, std::move(work));
}

void SerialQueue::sync(UniqueFunction<void()> work)
{
    async(std::move(work));
    drain();
}

void SerialQueue::drain() const
{
    assert(!isCurrent());
    Mutex mutex;
    ConditionVariable finished;
    bool done = false;
    submit(state_, [&] {
        MutexLock lock(mutex);
        done = true;
        finished.notifyAll();
    });
    MutexLock lock(mutex);
    while (!done)
        finished.wait(mutex);
}

bool SerialQueue::isCurrent() const
{
    MutexLock lock(state_->mutex);
    return state_->thread.get_id() == std::this_thread::get_id();
}

const std::string& SerialQueue::label() const
{
    return state_->label;
}

SerialQueue::QualityOfService SerialQueue::qualityOfService() const
{
    return state_->qualityOfService;
}

}  // namespace velmora
