// Owners of libpipewire's objects.
#pragma once

#include "base/Result.h"

#include <cerrno>
#include <cstdio>
#include <memory>
#include <pipewire/pipewire.h>
#include <utility>

namespace velmora::linux_backend {

struct PipeWireDeleter {
    void operator()(pw_main_loop* loop) const { pw_main_loop_destroy(loop); }
    void operator()(pw_thread_loop* loop) const { pw_thread_loop_destroy(loop); }
    void operator()(pw_context* context) const { pw_context_destroy(context); }
    void operator()(pw_core* core) const { pw_core_disconnect(core); }
    void operator()(pw_stream* stream) const { pw_stream_destroy(stream); }
    void operator()(pw_proxy* proxy) const { pw_proxy_destroy(proxy); }
};

using MainLoopHandle = std::unique_ptr<pw_main_loop, PipeWireDeleter>;
using ThreadLoopHandle = std::unique_ptr<pw_thread_loop, PipeWireDeleter>;
using ContextHandle = std::unique_ptr<pw_context, PipeWireDeleter>;
using CoreHandle = std::unique_ptr<pw_core, PipeWireDeleter>;
using StreamHandle = std::unique_ptr<pw_stream, PipeWireDeleter>;
using ProxyHandle = std::unique_ptr<pw_proxy, PipeWireDeleter>;

/// Starts the library where it was not; nothing of it is called before. Any thread. Both kinds of loops come from here, and all else needs one.
inline void startPipeWire()
{
    // Never undone: the library may serve other parts of the program, too.
    static const bool isStarted = [] {
        pw_init(nullptr, nullptr);
        return true;
    }();
    static_cast<void>(isStarted);
}

/// The configuration whose clients' data threads are real-time ones. 1.4 has one for all clients, and complains of the other's name. Asks the
/// library that runs, which need not be the one that was compiled with.
[[nodiscard]] inline const char* realTimeConfiguration()
{
    int major = 0;
    int minor = 0;
    const bool isKnown = std::sscanf(pw_get_library_version(), "%d.%d", &major, &minor) == 2;
    return isKnown && (major > 1 || (major == 1 && minor >= 4)) ? "client.conf" : "client-rt.conf";
}

/// A loop with a thread of its own, of that name.
[[nodiscard]] inline Result<ThreadLoopHandle> makeThreadLoop(const char* name)
{
    startPipeWire();
    if (ThreadLoopHandle loop{pw_thread_loop_new(name, nullptr)})
        return loop;
    return fail(posixError(errno, "PipeWire gave no event loop"));
}

/// A loop for the thread that runs it.
[[nodiscard]] inline Result<MainLoopHandle> makeMainLoop()
{
    startPipeWire();
    if (MainLoopHandle loop{pw_main_loop_new(nullptr)})
        return loop;
    return fail(posixError(errno, "PipeWire gave no event loop"));
}

/// A listener that ends with its owner. It stays where it is: the library keeps its address. It must end before what it listens to,
/// so an owner declares it after that.
class ListenerHook {
public:
    ListenerHook() = default;
    ~ListenerHook() { remove(); }
    ListenerHook(const ListenerHook&) = delete;
    ListenerHook& operator=(const ListenerHook&) = delete;

    /// For the library's add_listener functions; once.
    spa_hook* get() { return &hook_; }

    void remove()
    {
        if (hook_.link.prev)
            spa_hook_remove(&hook_);
        hook_ = {};
    }

private:
    spa_hook hook_{};
};

/// A timer or an event of a loop.
class LoopSource {
public:
    LoopSource() = default;
    LoopSource(pw_loop* loop, spa_source* source) : loop_(loop), source_(source) { }
    ~LoopSource() { reset(); }
    LoopSource(LoopSource&& other) noexcept : loop_(other.loop_), source_(std::exchange(other.source_, nullptr)) { }
    LoopSource& operator=(LoopSource&& other) noexcept
    {
        reset();
        loop_ = other.loop_;
        source_ = std::exchange(other.source_, nullptr);
        return *this;
    }

    [[nodiscard]] spa_source* get() const { return source_; }

    void reset()
    {
        if (auto* source = std::exchange(source_, nullptr))
            pw_loop_destroy_source(loop_, source);
    }

private:
    pw_loop* loop_ = nullptr;
    spa_source* source_ = nullptr;
};

/// Holds the loop's lock: outside its thread, its objects are touched only under it.
class ThreadLoopLock {
public:
    explicit ThreadLoopLock(pw_thread_loop* loop) : loop_(loop) { pw_thread_loop_lock(loop_); }
    ~ThreadLoopLock() { pw_thread_loop_unlock(loop_); }
    ThreadLoopLock(const ThreadLoopLock&) = delete;
    ThreadLoopLock& operator=(const ThreadLoopLock&) = delete;

private:
    pw_thread_loop* loop_;
};

}  // namespace velmora::linux_backend
