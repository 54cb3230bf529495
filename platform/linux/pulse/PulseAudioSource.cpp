#include "platform/linux/pulse/PulseAudioSource.h"

#include "platform/linux/pulse/PulseHandles.h"
#include "platform/linux/pulse/PulseProperties.h"
#include "platform/linux/sound/BlockDelivery.h"
#include "platform/linux/sound/StreamMatcher.h"

#include <cstring>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velmora::linux_backend {

namespace {

constexpr pa_usec_t tickInterval = 50'000;
constexpr pa_usec_t answerTimeout = 2'000'000;

// Stamps are interpolated between the reports of the server and its own estimates of its delays.
constexpr std::int64_t stampTolerance = 20'000'000;

// What one read brings. Short enough for the track to stay near, long enough to leave the sink's own rhythm alone.
constexpr std::uint32_t framesPerFragment = 2048;

constexpr const char* errorDomain = "Velmora.PulseAudioSource";

Error pulseError(pa_context* context, const char* what)
{
    const int code = context ? pa_context_errno(context) : PA_ERR_UNKNOWN;
    return Error{errorDomain, code, std::string{what} + ": " + pa_strerror(code), nullptr};
}

}  // namespace

/// Everything between start and stop. Its objects belong to the loop's thread; start touches them under the loop's lock, the
/// destructor after the thread has ended.
class PulseAudioSource::Session {
public:
    Session(const AudioTarget& target, AudioSourceFormat format, BlockCallback block)
        : format_(format)
        , matcher_(target)
        , delivery_(format, std::move(block), monotonicNow())
    {
    }

    ~Session()
    {
        if (loop_)
            pa_threaded_mainloop_stop(loop_.get());
        recordings_.clear();
        setTimer(0);
        context_.reset();
    }

    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    Result<void> start();

private:
    /// A stream of the target and what we record of it.
    struct Recording {
        Session& session;
        std::uint32_t sinkInput;
        int mixerInput;
        PulseStreamHandle stream;
    };

    /// What start waits for.
    enum class Answer { none, realServer, pipeWire, broken, timeout };

    void answer(Answer answer);
    void setTimer(pa_usec_t due);
    void onContextState();
    void onSubscription(pa_subscription_event_type_t type, std::uint32_t index);
    void ask(std::uint32_t sinkInput);
    void onSinkInput(const pa_sink_input_info& info);
    void onSink(const pa_sink_info& info);
    void record(std::uint32_t sinkInput, std::uint32_t monitorSource);
    void onRecordingState(Recording& recording);
    void read(Recording& recording);
    void forget(std::uint32_t sinkInput);

    pa_mainloop_api* api() { return pa_threaded_mainloop_get_api(loop_.get()); }
    static void discard(pa_operation* operation) { PulseOperationHandle{operation}.reset(); }

    const AudioSourceFormat format_;
    const StreamMatcher matcher_;
    BlockDelivery delivery_;
    std::vector<float> samples_;
    Answer answer_ = Answer::none;

    PulseLoopHandle loop_;
    PulseContextHandle context_;
    pa_time_event* timer_ = nullptr;
    std::map<std::uint32_t, std::unique_ptr<Recording>> recordings_;  ///< by sink input
    std::map<std::uint32_t, std::uint32_t> selected_;  ///< sink inputs of the target, each with the sink that plays it
};

Result<void> PulseAudioSource::Session::start()
{
    loop_.reset(pa_threaded_mainloop_new());
    if (!loop_)
        return fail(errorDomain, PA_ERR_INTERNAL, "PulseAudio gave no event loop.");
    pa_threaded_mainloop_set_name(loop_.get(), "velmora-sound");
    context_.reset(pa_context_new(api(), "Velmora"));
    if (!context_)
        return fail(errorDomain, PA_ERR_INTERNAL, "PulseAudio gave no context.");
    pa_context_set_state_callback(
        context_.get(), [](pa_context*, void* self) { static_cast<Session*>(self)->onContextState(); }, this);
    pa_context_set_subscribe_callback(
        context_.get(),
        [](pa_context*, pa_subscription_event_type_t type, std::uint32_t index, void* self) {
            static_cast<Session*>(self)->onSubscription(type, index);
        },
        this);
    if (pa_context_connect(context_.get(), nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0)
        return fail(pulseError(context_.get(), "No PulseAudio server answers"));
    setTimer(pa_rtclock_now() + answerTimeout);
    if (pa_threaded_mainloop_start(loop_.get()) < 0)
        return fail(errorDomain, PA_ERR_INTERNAL, "The sound thread did not start.");

    PulseLoopLock lock{loop_.get()};
    while (answer_ == Answer::none)
        pa_threaded_mainloop_wait(loop_.get());
    switch (answer_) {
    case Answer::realServer:
        setTimer(pa_rtclock_now() + tickInterval);
        return {};
    case Answer::pipeWire:
        return fail(errorDomain, PA_ERR_NOTSUPPORTED, "The PulseAudio server is PipeWire's.");
    case Answer::timeout:
        return fail(errorDomain, PA_ERR_TIMEOUT, "The PulseAudio server did not answer.");
    case Answer::none:
    case Answer::broken:
        break;
    }
    return fail(pulseError(context_.get(), "No PulseAudio server answers"));
}

void PulseAudioSource::Session::answer(Answer answer)
{
    if (answer_ != Answer::none)
        return;
    answer_ = answer;
    pa_threaded_mainloop_signal(loop_.get(), 0);
}

/// One timer for both: the time an answer may take, then the track's beat. 0 ends it.
void PulseAudioSource::Session::setTimer(pa_usec_t due)
{
    if (due == 0) {
        if (timer_)
            api()->time_free(std::exchange(timer_, nullptr));
    } else if (timer_) {
        pa_context_rttime_restart(context_.get(), timer_, due);
    } else {
        timer_ = pa_context_rttime_new(
            context_.get(), due,
            [](pa_mainloop_api*, pa_time_event*, const timeval*, void* data) {
                auto& self = *static_cast<Session*>(data);
                if (self.answer_ == Answer::realServer) {
                    self.delivery_.deliver(monotonicNow());
                    self.setTimer(pa_rtclock_now() + tickInterval);
                } else {
                    self.answer(Answer::timeout);
                }
            },
            this);
    }
}

void PulseAudioSource::Session::onContextState()
{
    const auto state = pa_context_get_state(context_.get());
    if (!PA_CONTEXT_IS_GOOD(state)) {
        // A server that went away: its streams are gone, the track goes on in silence.
        answer(Answer::broken);
        return;
    }
    if (state != PA_CONTEXT_READY)
        return;
    discard(pa_context_get_server_info(
        context_.get(),
        [](pa_context*, const pa_server_info* info, void* self) {
            const std::string_view name{info && info->server_name ? info->server_name : ""};
            auto& session = *static_cast<Session*>(self);
            if (!info)
                session.answer(Answer::broken);
            else if (name.find("PipeWire") != std::string_view::npos)
                session.answer(Answer::pipeWire);
            else
                session.answer(Answer::realServer);
        },
        this));
    // The subscription comes before the list, so that no stream falls between the two.
    discard(pa_context_subscribe(context_.get(), PA_SUBSCRIPTION_MASK_SINK_INPUT, nullptr, nullptr));
    discard(pa_context_get_sink_input_info_list(
        context_.get(),
        [](pa_context*, const pa_sink_input_info* info, int, void* self) {
            if (info)
                static_cast<Session*>(self)->onSinkInput(*info);
        },
        this));
}

void PulseAudioSource::Session::onSubscription(pa_subscription_event_type_t type, std::uint32_t index)
{
    if ((type & PA_SUBSCRIPTION_EVENT_FACILITY_MASK) != PA_SUBSCRIPTION_EVENT_SINK_INPUT)
        return;
    if ((type & PA_SUBSCRIPTION_EVENT_TYPE_MASK) == PA_SUBSCRIPTION_EVENT_REMOVE) {
        selected_.erase(index);
        forget(index);
    } else {
        ask(index);
    }
}

void PulseAudioSource::Session::ask(std::uint32_t sinkInput)
{
    discard(pa_context_get_sink_input_info(
        context_.get(), sinkInput,
        [](pa_context*, const pa_sink_input_info* info, int, void* self) {
            if (info)
                static_cast<Session*>(self)->onSinkInput(*info);
        },
        this));
}

void PulseAudioSource::Session::onSinkInput(const pa_sink_input_info& info)
{
    const auto known = selected_.find(info.index);
    if (known == selected_.end() && matcher_.match(identityOf(info)) == StreamMatch::none)
        return;
    if (known != selected_.end() && known->second == info.sink && recordings_.contains(info.index))
        return;
    selected_.insert_or_assign(info.index, info.sink);
    forget(info.index);

    discard(pa_context_get_sink_info_by_index(
        context_.get(), info.sink,
        [](pa_context*, const pa_sink_info* sink, int, void* self) {
            if (sink)
                static_cast<Session*>(self)->onSink(*sink);
        },
        this));
}

/// Records the target's streams on this sink that are not recorded yet.
void PulseAudioSource::Session::onSink(const pa_sink_info& info)
{
    for (const auto& [sinkInput, sink] : selected_) {
        if (sink == info.index && !recordings_.contains(sinkInput))
            record(sinkInput, info.monitor_source);
    }
}

void PulseAudioSource::Session::record(std::uint32_t sinkInput, std::uint32_t monitorSource)
{
    const pa_sample_spec sampleFormat{
        PA_SAMPLE_FLOAT32NE, static_cast<std::uint32_t>(format_.sampleRate), static_cast<std::uint8_t>(format_.channelCount)};
    auto recording = std::make_unique<Recording>(Recording{*this, sinkInput, 0, nullptr});
    recording->stream.reset(pa_stream_new(context_.get(), "Velmora", &sampleFormat, nullptr));
    auto* stream = recording->stream.get();
    if (!stream || pa_stream_set_monitor_stream(stream, sinkInput) < 0)
        return;
    pa_stream_set_state_callback(
        stream,
        [](pa_stream*, void* data) {
            auto& self = *static_cast<Recording*>(data);
            self.session.onRecordingState(self);
        },
        recording.get());
    pa_stream_set_read_callback(
        stream,
        [](pa_stream*, std::size_t, void* data) {
            auto& self = *static_cast<Recording*>(data);
            self.session.read(self);
        },
        recording.get());
    pa_buffer_attr attributes{};
    std::memset(&attributes, 0xff, sizeof attributes);  // the server's choice
    attributes.fragsize = framesPerFragment * static_cast<std::uint32_t>(pa_frame_size(&sampleFormat));
    // It must never move: when the stream that it listens to ends, the server would put it on the default source, a microphone.
    const auto flags = static_cast<pa_stream_flags_t>(
        PA_STREAM_DONT_MOVE | PA_STREAM_INTERPOLATE_TIMING | PA_STREAM_AUTO_TIMING_UPDATE | PA_STREAM_ADJUST_LATENCY);
    if (pa_stream_connect_record(stream, std::to_string(monitorSource).c_str(), &attributes, flags) < 0)
        return;
    recording->mixerInput = delivery_.mixer().addInput(stampTolerance);
    recordings_.emplace(sinkInput, std::move(recording));
}

void PulseAudioSource::Session::onRecordingState(Recording& recording)
{
    if (PA_STREAM_IS_GOOD(pa_stream_get_state(recording.stream.get())))
        return;
    // The server ends it when the stream that it listens to moves to another sink; the change that is told next begins it anew there.
    forget(recording.sinkInput);
}

void PulseAudioSource::Session::read(Recording& recording)
{
    auto* stream = recording.stream.get();
    const auto frameSize = sizeof(float) * static_cast<std::size_t>(format_.channelCount);
    const void* data = nullptr;
    std::size_t size = 0;
    while (pa_stream_peek(stream, &data, &size) == 0 && size > 0) {
        const auto now = monotonicNow();
        pa_usec_t latency = 0;
        int negative = 0;
        // Before the first report of the server nothing is known of the time: at most the very beginning.
        if (pa_stream_get_latency(stream, &latency, &negative) == 0) {
            const auto delay = static_cast<std::int64_t>(latency) * 1000;
            // A monitor is ahead of its sink: what it brings is often still to be heard.
            const auto stamp = negative ? now + delay : now - delay;
            const auto count = size / frameSize * static_cast<std::size_t>(format_.channelCount);
            samples_.assign(count, 0.0F);  // a hole is silence
            if (data)
                std::memcpy(samples_.data(), data, count * sizeof(float));
            delivery_.mixer().write(recording.mixerInput, stamp, samples_, now);
        }
        pa_stream_drop(stream);
    }
    delivery_.deliver(monotonicNow());
}

void PulseAudioSource::Session::forget(std::uint32_t sinkInput)
{
    const auto found = recordings_.find(sinkInput);
    if (found == recordings_.end())
        return;
    delivery_.mixer().removeInput(found->second->mixerInput);
    recordings_.erase(found);
}

PulseAudioSource::PulseAudioSource() = default;

PulseAudioSource::~PulseAudioSource()
{
    stop();
}

Result<void> PulseAudioSource::start(const AudioTarget& target, AudioSourceFormat format, BlockCallback block)
{
    if (auto supported = checkFormat(format); !supported)
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
