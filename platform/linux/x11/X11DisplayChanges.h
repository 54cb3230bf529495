// Says when the displays of an X server change.
#pragma once

#include "base/Result.h"
#include "base/SerialQueue.h"
#include "platform/linux/x11/X11EventThread.h"

#include <functional>
#include <memory>

namespace velmora::linux_backend {

/// A display was added, removed, moved or changed its mode, as RandR reports it. Main thread only.
class X11DisplayChanges {
public:
    /// Listens from now on. `changed` is called by way of `mainExecutor`, as long as this object lives; all changes not yet heard of
    /// are reported with one call. Fails when the display cannot be reached or does not offer RandR 1.2.
    static Result<std::unique_ptr<X11DisplayChanges>> observe(
        std::shared_ptr<X11EventThread> events, std::shared_ptr<Executor> mainExecutor, std::function<void()> changed);

    ~X11DisplayChanges();
    X11DisplayChanges(const X11DisplayChanges&) = delete;
    X11DisplayChanges& operator=(const X11DisplayChanges&) = delete;

private:
    class Listener;
    struct State;

    explicit X11DisplayChanges(std::shared_ptr<X11EventThread> events) : events_(std::move(events)) { }

    const std::shared_ptr<X11EventThread> events_;
    std::shared_ptr<State> state_;
    std::shared_ptr<Listener> listener_;  // the thread's
};

}  // namespace velmora::linux_backend
