#include "platform/linux/pipewire/PipeWireAudioSource.h"

#include "base/MonotonicClock.h"
#include "engine/sound/BlockDelivery.h"
#include "platform/linux/kernel/ProcessRecords.h"
#include "platform/linux/pipewire/CaptureNode.h"
#include "platform/linux/pipewire/PipeWireHandles.h"
#include "platform/linux/pipewire/ServerConnection.h"

#include <cerrno>
#include <chrono>
#include <ctime>
#include <utility>

namespace velmora::linux_backend {

using namespace std::chrono_literals;

namespace {

// How often silence is handed on and lost servers are looked for.
constexpr auto tickInterval = 50ms;
constexpr auto reconnectInterval = 250ms;

// How long a server may take to answer the first question.
constexpr std::chrono::nanoseconds answerTimeout = 2s;

// Stamps are the graph's own clock: exact, except for the blocks that InputTimeline exists for.
constexpr auto stampTolerance = 1ms;

}  // namespace

/// Everything between start and stop. Its objects belong to the loop's thread; start touches them under the loop's lock, the
/// destructor after the thread has ended.
class PipeWireAudioSource::Session {
public:
    Session(const engine::AudioTarget& target, engine::AudioSourceFormat format, BlockCallback block)
        : format_(format)
        , matcher_(target, systemProcesses())
        , delivery_(format, std::move(block), MonotonicClock::now())
        , input_(delivery_.mixer().addInput(stampTolerance))
    {
    }

    ~Session()
    {
        if (loop_)
            pw_thread_loop_stop(loop_.get());
        disconnect();
        timer_.reset();
        arrived_.reset();
        context_.reset();
    }

    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    Result<void> start();

private:
    Result<void> connect();
    void disconnect();
    void tick();
    void drain();

    const engine::AudioSourceFormat format_;
    const engine::StreamMatcher matcher_;
    engine::BlockDelivery delivery_;
    const int input_;
    std::vector<float> samples_;
    MonotonicTime lastAttempt_;

    ThreadLoopHandle loop_;
    ContextHandle context_;
    LoopSource timer_;
    LoopSource arrived_;
    std::unique_ptr<ServerConnection> connection_;
};

Result<void> PipeWireAudioSource::Session::start()
{
    auto made = makeThreadLoop("velmora-sound");
    if (!made)
        return fail(std::move(made.error()));
    loop_ = std::move(*made);
    auto* loop = pw_thread_loop_get_loop(loop_.get());
    // The configuration for clients that process in real time: it raises the priority of the thread that copies.
    context_.reset(pw_context_new(loop, pw_properties_new(PW_KEY_CONFIG_NAME, realTimeConfiguration(), nullptr), 0));
    if (!context_)
        return fail(posixError(errno, "PipeWire gave no context"));
    arrived_ = LoopSource{loop,
        pw_loop_add_event(
            loop, [](void* self, std::uint64_t) { static_cast<Session*>(self)->drain(); }, this)};
    timer_ = LoopSource{loop,
        pw_loop_add_timer(
            loop, [](void* self, std::uint64_t) { static_cast<Session*>(self)->tick(); }, this)};
    if (!arrived_.get() || !timer_.get())
        return fail(posixError(errno, "PipeWire gave no event source"));

    if (const int result = pw_thread_loop_start(loop_.get()); result < 0)
        return fail(posixError(-result, "The sound thread did not start"));
    ThreadLoopLock lock{loop_.get()};
    if (auto connected = connect(); !connected)
        return connected;

    // A server that accepts a connection and then says nothing would keep the caller for ever.
    timespec deadline{};
    pw_thread_loop_get_time(loop_.get(), &deadline, answerTimeout.count());
    while (!connection_->hasAnswered() && !connection_->isBroken()) {
        if (pw_thread_loop_timed_wait_full(loop_.get(), &deadline) < 0)
            return fail(posixError(ETIMEDOUT, "The PipeWire server did not answer"));
    }
    if (connection_->isBroken())
        return fail(posixError(ECONNRESET, "The PipeWire server closed the connection"));

    auto first = toTimespec(tickInterval);
    auto interval = first;
    pw_loop_update_timer(loop, timer_.get(), &first, &interval, false);
    return {};
}

Result<void> PipeWireAudioSource::Session::connect()
{
    lastAttempt_ = MonotonicClock::now();
    auto* loop = loop_.get();
    auto connection = ServerConnection::create(context_.get(), pw_thread_loop_get_loop(loop), arrived_.get(), format_.sampleRate, matcher_,
        [loop] { pw_thread_loop_signal(loop, false); });
    if (!connection)
        return fail(std::move(connection.error()));
    connection_ = std::move(*connection);
    return {};
}

void PipeWireAudioSource::Session::disconnect()
{
    connection_.reset();
}

void PipeWireAudioSource::Session::drain()
{
    const auto now = MonotonicClock::now();
    if (connection_) {
        MonotonicTime stamp;
        while (connection_->captureNode().take(stamp, samples_))
            delivery_.mixer().write(input_, stamp, samples_, now);
    }
    delivery_.deliver(now);
}

void PipeWireAudioSource::Session::tick()
{
    drain();
    if (connection_ && connection_->isBroken())
        disconnect();
    // Without a server there is nobody to report to: the track goes on in silence until one answers again.
    if (!connection_ && MonotonicClock::now() - lastAttempt_ >= reconnectInterval)
        static_cast<void>(connect());
}

PipeWireAudioSource::PipeWireAudioSource() = default;

PipeWireAudioSource::~PipeWireAudioSource()
{
    stop();
}

Result<void> PipeWireAudioSource::start(const engine::AudioTarget& target, engine::AudioSourceFormat format, BlockCallback block)
{
    if (auto supported = engine::checkFormat(format); !supported)
        return supported;
    auto session = std::make_unique<Session>(target, format, std::move(block));
    if (auto started = session->start(); !started)
        return started;
    session_ = std::move(session);
    return {};
}

void PipeWireAudioSource::stop()
{
    session_.reset();
}

}  // namespace velmora::linux_backend
