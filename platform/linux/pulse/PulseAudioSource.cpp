#include "platform/linux/pulse/PulseAudioSource.h"

#include "base/MonotonicClock.h"
#include "engine/sound/BlockDelivery.h"
#include "engine/sound/StreamMatcher.h"
#include "platform/linux/kernel/ProcessRecords.h"
#include "platform/linux/pulse/PulseConnection.h"
#include "platform/linux/pulse/PulseHandles.h"

#include <chrono>
#include <utility>

namespace velmora::linux_backend {

namespace {

constexpr pa_usec_t tickInterval = 50'000;

// How long a server may take to say what it is, and how often one that is lost is looked for: an attempt without one costs a few
// system calls.
constexpr std::chrono::seconds answerTimeout{2};
constexpr std::chrono::milliseconds reconnectInterval{250};

}  // namespace

/// Everything between start and stop. Its objects belong to the loop's thread; start touches them under the loop's lock, the
/// destructor after the thread has ended.
class PulseAudioSource::Session {
public:
    Session(const engine::AudioTarget& target, engine::AudioSourceFormat format, BlockCallback block)
        : format_(format)
        , matcher_(target, systemProcesses())
        , delivery_(format, std::move(block), MonotonicClock::now())
    {
    }

    ~Session()
    {
        if (loop_)
            pa_threaded_mainloop_stop(loop_.get());
        connection_.reset();
        if (timer_)
            api()->time_free(timer_);
        timers_.reset();
    }

    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    Result<void> start();

private:
    using State = PulseConnection::State;

    Result<void> connect();
    void tick();
    [[nodiscard]] bool isLate() const { return MonotonicClock::now() - lastAttempt_ > answerTimeout; }

    pa_mainloop_api* api() { return pa_threaded_mainloop_get_api(loop_.get()); }

    const engine::AudioSourceFormat format_;
    const engine::StreamMatcher matcher_;
    engine::BlockDelivery delivery_;
    bool isStarted_ = false;
    MonotonicTime lastAttempt_;

    PulseLoopHandle loop_;
    PulseContextHandle timers_;  ///< never connected: only a context makes timers of the monotonic clock
    pa_time_event* timer_ = nullptr;
    std::unique_ptr<PulseConnection> connection_;
};

Result<void> PulseAudioSource::Session::start()
{
    auto loop = makePulseLoop("velmora-sound");
    if (!loop)
        return fail(std::move(loop.error()));
    loop_ = std::move(*loop);
    auto timers = makePulseContext(api());
    if (!timers)
        return fail(std::move(timers.error()));
    timers_ = std::move(*timers);
    if (auto connected = connect(); !connected)
        return connected;
    timer_ = pa_context_rttime_new(
        timers_.get(), pa_rtclock_now() + tickInterval,
        [](pa_mainloop_api*, pa_time_event*, const timeval*, void* self) { static_cast<Session*>(self)->tick(); }, this);
    if (pa_threaded_mainloop_start(loop_.get()) < 0)
        return fail(pulseErrorDomain, PA_ERR_INTERNAL, "The sound thread did not start.");

    PulseLoopLock lock{loop_.get()};
    while (connection_->state() == State::connecting && !isLate())
        pa_threaded_mainloop_wait(loop_.get());
    switch (connection_->state()) {
    case State::realServer:
        isStarted_ = true;
        return {};
    case State::pipeWire:
        return fail(pulseErrorDomain, PA_ERR_NOTSUPPORTED, "The PulseAudio server is PipeWire's.");
    case State::connecting:
        return fail(pulseErrorDomain, PA_ERR_TIMEOUT, "The PulseAudio server did not answer.");
    case State::broken:
        break;
    }
    return fail(connection_->error());
}

Result<void> PulseAudioSource::Session::connect()
{
    lastAttempt_ = MonotonicClock::now();
    auto connection =
        PulseConnection::create(api(), matcher_, format_, delivery_, [loop = loop_.get()] { pa_threaded_mainloop_signal(loop, 0); });
    if (!connection)
        return fail(std::move(connection.error()));
    connection_ = std::move(*connection);
    return {};
}

void PulseAudioSource::Session::tick()
{
    pa_context_rttime_restart(timers_.get(), timer_, pa_rtclock_now() + tickInterval);
    if (!isStarted_) {
        // For whoever waits in start, to see whether the time is up.
        pa_threaded_mainloop_signal(loop_.get(), 0);
        return;
    }
    delivery_.deliver(MonotonicClock::now());
    if (connection_) {
        const auto state = connection_->state();
        if (state == State::broken || state == State::pipeWire || (state == State::connecting && isLate()))
            connection_.reset();
    }
    // Without a server there is nobody to report to: the track goes on in silence until one answers again.
    if (!connection_ && MonotonicClock::now() - lastAttempt_ >= reconnectInterval)
        static_cast<void>(connect());
}

PulseAudioSource::PulseAudioSource() = default;

PulseAudioSource::~PulseAudioSource()
{
    stop();
}

Result<void> PulseAudioSource::start(const engine::AudioTarget& target, engine::AudioSourceFormat format, BlockCallback block)
{
    if (auto supported = engine::checkFormat(format); !supported)
        return supported;
    auto session = std::make_unique<Session>(target, format, std::move(block));
    if (auto started = session->start(); !started)
        return started;
    session_ = std::move(session);
    return {};
}

void PulseAudioSource::stop()
{
    session_.reset();
}

}  // namespace velmora::linux_backend
