// A sink that plays to nobody and claims to be heard late. Usage: slow_sink MILLISECONDS. Prints "ready" when it can be linked.

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <pipewire/pipewire.h>
#include <spa/param/audio/format-utils.h>
#include <spa/param/latency-utils.h>

namespace {

struct Sink {
    pw_stream* stream = nullptr;
    bool reported = false;
};

void process(void* data)
{
    auto& sink = *static_cast<Sink*>(data);
    if (pw_buffer* buffer = pw_stream_dequeue_buffer(sink.stream))
        pw_stream_queue_buffer(sink.stream, buffer);
}

void stateChanged(void* data, pw_stream_state, pw_stream_state state, const char*)
{
    auto& sink = *static_cast<Sink*>(data);
    if (!sink.reported && (state == PW_STREAM_STATE_PAUSED || state == PW_STREAM_STATE_STREAMING)) {
        sink.reported = true;
        std::puts("ready");
        std::fflush(stdout);
    }
}

}  // namespace

int main(int argc, char** argv)
{
    const std::uint64_t milliseconds = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 300;
    pw_init(nullptr, nullptr);
    Sink sink;
    pw_main_loop* loop = pw_main_loop_new(nullptr);
    pw_stream_events events{};
    events.version = PW_VERSION_STREAM_EVENTS;
    events.process = process;
    events.state_changed = stateChanged;
    sink.stream = pw_stream_new_simple(pw_main_loop_get_loop(loop), "slow sink",
        pw_properties_new(PW_KEY_MEDIA_CLASS, "Audio/Sink", PW_KEY_NODE_NAME, "slow-sink", "priority.session", "2000", nullptr), &events,
        &sink);
    std::array<std::uint8_t, 1024> bytes{};
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, bytes.data(), bytes.size());
    spa_audio_info_raw format{};
    format.format = SPA_AUDIO_FORMAT_F32;
    format.rate = 48000;
    format.channels = 2;
    format.position[0] = SPA_AUDIO_CHANNEL_FL;
    format.position[1] = SPA_AUDIO_CHANNEL_FR;
    const spa_pod* parameter = spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &format);
    pw_stream_connect(sink.stream, PW_DIRECTION_INPUT, PW_ID_ANY,
        static_cast<pw_stream_flags>(PW_STREAM_FLAG_MAP_BUFFERS | PW_STREAM_FLAG_RT_PROCESS), &parameter, 1);
    spa_latency_info latency{};
    latency.direction = SPA_DIRECTION_INPUT;
    latency.min_ns = latency.max_ns = milliseconds * 1'000'000;
    parameter = spa_latency_build(&builder, SPA_PARAM_Latency, &latency);
    pw_stream_update_params(sink.stream, &parameter, 1);
    pw_main_loop_run(loop);
    pw_stream_destroy(sink.stream);
    pw_main_loop_destroy(loop);
    pw_deinit();
    return 0;
}
