// A program that plays a sine through PipeWire and obeys its standard input: "pause", "play", "quit",
// "click" (answers with the CLOCK_MONOTONIC nanoseconds at which a click is heard), "delay" (answers with the nanoseconds between the
// graph and the ear).
// Usage: tone_player FREQUENCY [NAME] [CHANNELS]. Prints "playing" when its first samples have been taken.

#include <array>
#include <atomic>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <numbers>
#include <pipewire/pipewire.h>
#include <spa/param/audio/format-utils.h>
#include <string_view>
#include <unistd.h>

namespace {

constexpr int rate = 48000;

struct Player {
    pw_main_loop* loop = nullptr;
    pw_stream* stream = nullptr;
    spa_source* heard = nullptr;
    double frequency = 440;
    std::uint32_t channels = 2;
    std::uint64_t frame = 0;
    std::atomic<bool> clickWanted{false};
    std::atomic<std::int64_t> clickTime{0};
    std::atomic<bool> started{false};
    bool reportedStart = false;
};

std::int64_t delayOf(const pw_time& time)
{
    return time.rate.denom == 0 ? 0 : time.delay * 1'000'000'000 * time.rate.num / time.rate.denom;
}

void process(void* data)
{
    auto& player = *static_cast<Player*>(data);
    pw_buffer* buffer = pw_stream_dequeue_buffer(player.stream);
    if (!buffer)
        return;
    auto& block = buffer->buffer->datas[0];
    auto* samples = static_cast<float*>(block.data);
    const std::uint32_t frameSize = sizeof(float) * player.channels;
    std::uint32_t frames = block.maxsize / frameSize;
    if (buffer->requested && buffer->requested < frames)
        frames = static_cast<std::uint32_t>(buffer->requested);
    const bool click = player.clickWanted.exchange(false);
    for (std::uint32_t i = 0; i < frames; ++i, ++player.frame) {
        const double phase = std::fmod(player.frequency * static_cast<double>(player.frame) / rate, 1.0);
        const float sample = click && i == 0 ? 1.0F : 0.5F * static_cast<float>(std::sin(2 * std::numbers::pi * phase));
        for (std::uint32_t channel = 0; channel < player.channels; ++channel)
            *samples++ = sample;
    }
    block.chunk->offset = 0;
    block.chunk->stride = static_cast<std::int32_t>(frameSize);
    block.chunk->size = frames * frameSize;
    pw_time time{};
    pw_stream_get_time_n(player.stream, &time, sizeof time);
    pw_stream_queue_buffer(player.stream, buffer);
    if (click)
        player.clickTime.store(time.now + delayOf(time));
    if (click || !player.started.exchange(true))
        pw_loop_signal_event(pw_main_loop_get_loop(player.loop), player.heard);
}

void onHeard(void* data, std::uint64_t)
{
    auto& player = *static_cast<Player*>(data);
    if (!player.reportedStart) {
        player.reportedStart = true;
        std::puts("playing");
    }
    if (const auto time = player.clickTime.exchange(0))
        std::printf("%lld\n", static_cast<long long>(time));
    std::fflush(stdout);
}

void onCommand(void* data, int file, std::uint32_t)
{
    auto& player = *static_cast<Player*>(data);
    std::array<char, 256> line{};
    const auto count = ::read(file, line.data(), line.size());
    const std::string_view command{line.data(), static_cast<std::size_t>(count > 0 ? count : 0)};
    if (command.empty() || command == "quit\n") {
        pw_main_loop_quit(player.loop);
        return;
    }
    if (command == "pause\n" || command == "play\n")
        pw_stream_set_active(player.stream, command == "play\n");
    else if (command == "click\n")
        player.clickWanted = true;
    else if (command == "delay\n") {
        pw_time time{};
        pw_stream_get_time_n(player.stream, &time, sizeof time);
        std::printf("%lld\n", static_cast<long long>(delayOf(time)));
        std::fflush(stdout);
    }
}

}  // namespace

int main(int argc, char** argv)
{
    Player player;
    if (argc > 1)
        player.frequency = std::strtod(argv[1], nullptr);
    const char* name = argc > 2 ? argv[2] : "tone player";
    if (argc > 3)
        player.channels = static_cast<std::uint32_t>(std::strtoul(argv[3], nullptr, 10));

    pw_init(nullptr, nullptr);
    player.loop = pw_main_loop_new(nullptr);
    auto* loop = pw_main_loop_get_loop(player.loop);
    player.heard = pw_loop_add_event(loop, onHeard, &player);
    pw_loop_add_io(loop, STDIN_FILENO, SPA_IO_IN | SPA_IO_HUP, false, onCommand, &player);

    pw_stream_events events{};
    events.version = PW_VERSION_STREAM_EVENTS;
    events.process = process;
    player.stream = pw_stream_new_simple(loop, name,
        pw_properties_new(PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CATEGORY, "Playback", PW_KEY_APP_NAME, name, nullptr), &events, &player);
    std::array<std::uint8_t, 1024> bytes{};
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, bytes.data(), bytes.size());
    spa_audio_info_raw format{};
    format.format = SPA_AUDIO_FORMAT_F32;
    format.rate = rate;
    format.channels = player.channels;
    if (player.channels == 1) {
        format.position[0] = SPA_AUDIO_CHANNEL_MONO;
    } else {
        format.position[0] = SPA_AUDIO_CHANNEL_FL;
        format.position[1] = SPA_AUDIO_CHANNEL_FR;
    }
    const spa_pod* parameter = spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &format);
    if (pw_stream_connect(player.stream, PW_DIRECTION_OUTPUT, PW_ID_ANY,
            static_cast<pw_stream_flags>(PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS | PW_STREAM_FLAG_RT_PROCESS), &parameter,
            1)
        < 0)
        return 1;
    pw_main_loop_run(player.loop);
    pw_stream_destroy(player.stream);
    pw_main_loop_destroy(player.loop);
    pw_deinit();
    return 0;
}
