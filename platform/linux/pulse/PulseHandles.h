// Owners of libpulse's objects.
#pragma once

#include "base/Result.h"

#include <memory>
#include <pulse/pulseaudio.h>

namespace velmora::linux_backend {

inline constexpr const char* pulseErrorDomain = "Velmora.PulseAudioSource";

struct PulseDeleter {
    void operator()(pa_threaded_mainloop* loop) const { pa_threaded_mainloop_free(loop); }
    void operator()(pa_operation* operation) const { pa_operation_unref(operation); }
    void operator()(pa_context* context) const
    {
        pa_context_set_state_callback(context, nullptr, nullptr);
        pa_context_set_subscribe_callback(context, nullptr, nullptr);
        pa_context_disconnect(context);
        pa_context_unref(context);
    }
    void operator()(pa_stream* stream) const
    {
        pa_stream_set_state_callback(stream, nullptr, nullptr);
        pa_stream_set_read_callback(stream, nullptr, nullptr);
        pa_stream_disconnect(stream);
        pa_stream_unref(stream);
    }
};

using PulseLoopHandle = std::unique_ptr<pa_threaded_mainloop, PulseDeleter>;
using PulseContextHandle = std::unique_ptr<pa_context, PulseDeleter>;
using PulseStreamHandle = std::unique_ptr<pa_stream, PulseDeleter>;

/// What a request returns is not kept: its callback comes anyway.
using PulseOperationHandle = std::unique_ptr<pa_operation, PulseDeleter>;

/// A loop whose thread has not started. The library itself needs no start: everything else in it needs a loop.
[[nodiscard]] inline Result<PulseLoopHandle> makePulseLoop(const char* threadName)
{
    PulseLoopHandle loop{pa_threaded_mainloop_new()};
    if (!loop)
        return fail(pulseErrorDomain, PA_ERR_INTERNAL, "PulseAudio gave no event loop.");
    pa_threaded_mainloop_set_name(loop.get(), threadName);
    return loop;
}

/// The program as the server knows it, not connected.
[[nodiscard]] inline Result<PulseContextHandle> makePulseContext(pa_mainloop_api* api)
{
    if (PulseContextHandle context{pa_context_new(api, "Velmora")})
        return context;
    return fail(pulseErrorDomain, PA_ERR_INTERNAL, "PulseAudio gave no context.");
}

/// Holds the loop's lock: outside its thread, its objects are touched only under it.
class PulseLoopLock {
public:
    explicit PulseLoopLock(pa_threaded_mainloop* loop) : loop_(loop) { pa_threaded_mainloop_lock(loop_); }
    ~PulseLoopLock() { pa_threaded_mainloop_unlock(loop_); }
    PulseLoopLock(const PulseLoopLock&) = delete;
    PulseLoopLock& operator=(const PulseLoopLock&) = delete;

private:
    pa_threaded_mainloop* loop_;
};

}  // namespace velmora::linux_backend
