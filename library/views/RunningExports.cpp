#include "library/views/RunningExports.h"

#include <algorithm>
#include <utility>

namespace velmora {

void RunningExports::start(std::shared_ptr<platform::ExportSession> session, UniqueFunction<void()> completion)
{
    {
        const MutexLock lock(state_->mutex);
        state_->sessions.push_back(session);
    }
    session->exportAsynchronously([state = state_, raw = session.get(), completion = std::move(completion)]() mutable {
        std::shared_ptr<platform::ExportSession> ended;
        completion();
        const MutexLock lock(state->mutex);
        const auto known = std::find_if(state->sessions.begin(), state->sessions.end(), [&](const auto& one) { return one.get() == raw; });
        if (known != state->sessions.end()) {
            // Released outside the lock.
            ended = std::move(*known);
            state->sessions.erase(known);
        }
        state->ended.notifyAll();
    });
}

void RunningExports::cancelAll()
{
    std::vector<std::shared_ptr<platform::ExportSession>> running;
    {
        const MutexLock lock(state_->mutex);
        running = state_->sessions;
    }
    for (const auto& session : running)
        session->cancelExport();
    const MutexLock lock(state_->mutex);
    while (!state_->sessions.empty())
        state_->ended.wait(state_->mutex);
}

}  // namespace velmora
