// Owners of libpulse's objects.
#pragma once

#include <memory>
#include <pulse/pulseaudio.h>

namespace velmora::linux_backend {

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
