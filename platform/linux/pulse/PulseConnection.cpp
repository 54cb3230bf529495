#include "platform/linux/pulse/PulseConnection.h"

#include "base/MonotonicClock.h"
#include "platform/linux/pulse/PulseProperties.h"

#include <chrono>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>

namespace velmora::linux_backend {

namespace {

// Stamps are interpolated between the reports of the server and its own estimates of its delays.
constexpr std::chrono::milliseconds stampTolerance{20};

// What one read brings. Short enough for the track to keep up, long enough to leave the sink's own rhythm alone.
constexpr std::uint32_t framesPerFragment = 2048;

void discard(pa_operation* operation)
{
    PulseOperationHandle{operation}.reset();
}

}  // namespace

PulseConnection::PulseConnection(
    const engine::StreamMatcher& matcher, engine::AudioSourceFormat format, engine::BlockDelivery& delivery, std::function<void()> changed)
    : matcher_(matcher)
    , format_(format)
    , delivery_(delivery)
    , changed_(std::move(changed))
{
}

Result<std::unique_ptr<PulseConnection>> PulseConnection::create(pa_mainloop_api* api, const engine::StreamMatcher& matcher,
    engine::AudioSourceFormat format, engine::BlockDelivery& delivery, std::function<void()> changed)
{
    std::unique_ptr<PulseConnection> connection{new PulseConnection(matcher, format, delivery, std::move(changed))};
    auto made = makePulseContext(api);
    if (!made)
        return fail(std::move(made.error()));
    auto& context = connection->context_;
    context = std::move(*made);
    pa_context_set_state_callback(
        context.get(), [](pa_context*, void* self) { static_cast<PulseConnection*>(self)->onContextState(); }, connection.get());
    pa_context_set_subscribe_callback(
        context.get(),
        [](pa_context*, pa_subscription_event_type_t type, std::uint32_t index, void* self) {
            static_cast<PulseConnection*>(self)->onSubscription(type, index);
        },
        connection.get());
    if (pa_context_connect(context.get(), nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0)
        return fail(connection->error());
    return connection;
}

PulseConnection::~PulseConnection()
{
    while (!recordings_.empty())
        forget(recordings_.begin()->first);
}

Error PulseConnection::error() const
{
    const int code = pa_context_errno(context_.get());
    return Error{pulseErrorDomain, code, std::string{"No PulseAudio server answers: "} + pa_strerror(code), nullptr};
}

void PulseConnection::setState(State state)
{
    if (std::exchange(state_, state) != state)
        changed_();
}

void PulseConnection::onContextState()
{
    const auto state = pa_context_get_state(context_.get());
    if (!PA_CONTEXT_IS_GOOD(state))
        return setState(State::broken);
    if (state != PA_CONTEXT_READY)
        return;
    discard(pa_context_get_server_info(
        context_.get(), [](pa_context*, const pa_server_info* info, void* self) { static_cast<PulseConnection*>(self)->onServer(info); },
        this));
    // The subscription comes before the list, so that no stream falls between the two.
    discard(pa_context_subscribe(context_.get(), PA_SUBSCRIPTION_MASK_SINK_INPUT, nullptr, nullptr));
    discard(pa_context_get_sink_input_info_list(
        context_.get(),
        [](pa_context*, const pa_sink_input_info* info, int, void* self) {
            if (info)
                static_cast<PulseConnection*>(self)->onSinkInput(*info);
        },
        this));
}

void PulseConnection::onServer(const pa_server_info* info)
{
    if (!info)
        return setState(State::broken);
    const std::string_view name{info->server_name ? info->server_name : ""};
    setState(name.find("PipeWire") != std::string_view::npos ? State::pipeWire : State::realServer);
}

void PulseConnection::onSubscription(pa_subscription_event_type_t type, std::uint32_t index)
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

void PulseConnection::ask(std::uint32_t sinkInput)
{
    discard(pa_context_get_sink_input_info(
        context_.get(), sinkInput,
        [](pa_context*, const pa_sink_input_info* info, int, void* self) {
            if (info)
                static_cast<PulseConnection*>(self)->onSinkInput(*info);
        },
        this));
}

void PulseConnection::onSinkInput(const pa_sink_input_info& info)
{
    // The server says what it is before it tells us of its streams.
    if (state_ != State::realServer)
        return;
    const auto known = selected_.find(info.index);
    if (known == selected_.end() && matcher_.match(identityOf(info)) == engine::StreamMatch::none)
        return;
    if (known != selected_.end() && known->second == info.sink && recordings_.contains(info.index))
        return;
    selected_.insert_or_assign(info.index, info.sink);
    forget(info.index);

    discard(pa_context_get_sink_info_by_index(
        context_.get(), info.sink,
        [](pa_context*, const pa_sink_info* sink, int, void* self) {
            if (sink)
                static_cast<PulseConnection*>(self)->onSink(*sink);
        },
        this));
}

/// Records the target's streams on this sink that are not recorded yet.
void PulseConnection::onSink(const pa_sink_info& info)
{
    for (const auto& [sinkInput, sink] : selected_) {
        if (sink == info.index && !recordings_.contains(sinkInput))
            record(sinkInput, info.monitor_source);
    }
}

void PulseConnection::record(std::uint32_t sinkInput, std::uint32_t monitorSource)
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
            self.connection.onRecordingState(self);
        },
        recording.get());
    pa_stream_set_read_callback(
        stream,
        [](pa_stream*, std::size_t, void* data) {
            auto& self = *static_cast<Recording*>(data);
            self.connection.read(self);
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

void PulseConnection::onRecordingState(Recording& recording)
{
    if (PA_STREAM_IS_GOOD(pa_stream_get_state(recording.stream.get())))
        return;
    // The server ends it when the stream that it listens to moves to another sink; the change that is reported next starts it again there.
    forget(recording.sinkInput);
}

void PulseConnection::read(Recording& recording)
{
    auto* stream = recording.stream.get();
    const auto frameSize = sizeof(float) * static_cast<std::size_t>(format_.channelCount);
    const void* data = nullptr;
    std::size_t size = 0;
    while (pa_stream_peek(stream, &data, &size) == 0 && size > 0) {
        const auto now = MonotonicClock::now();
        pa_usec_t latency = 0;
        int negative = 0;
        // Before the server's first report nothing is known of the time: the very beginning at most is lost.
        if (pa_stream_get_latency(stream, &latency, &negative) == 0) {
            const std::chrono::microseconds delay{static_cast<std::int64_t>(latency)};
            // A monitor is ahead of its sink: what it brings has often not been heard yet.
            const auto stamp = negative ? now + delay : now - delay;
            const auto count = size / frameSize * static_cast<std::size_t>(format_.channelCount);
            samples_.assign(count, 0.0F);  // a hole is silence
            if (data)
                std::memcpy(samples_.data(), data, count * sizeof(float));
            delivery_.mixer().write(recording.mixerInput, stamp, samples_, now);
        }
        pa_stream_drop(stream);
    }
    delivery_.deliver(MonotonicClock::now());
}

void PulseConnection::forget(std::uint32_t sinkInput)
{
    const auto found = recordings_.find(sinkInput);
    if (found == recordings_.end())
        return;
    delivery_.mixer().removeInput(found->second->mixerInput);
    recordings_.erase(found);
}

}  // namespace velmora::linux_backend
