#include "platform/linux/pipewire/CaptureNode.h"

#include <array>
#include <cerrno>
#include <spa/param/audio/format-utils.h>
#include <string>

namespace velmora::linux_backend {

namespace {

constexpr std::size_t channelCount = 2;
constexpr std::uint32_t framesPerSignal = 1024;

constexpr std::chrono::nanoseconds durationOf(std::int64_t frames, std::int32_t sampleRate)
{
    return frames * std::chrono::nanoseconds{std::chrono::seconds{1}} / sampleRate;
}

}  // namespace

const pw_stream_events CaptureNode::events = [] {
    pw_stream_events table{};
    table.version = PW_VERSION_STREAM_EVENTS;
    table.process = [](void* data) { static_cast<CaptureNode*>(data)->process(); };
    return table;
}();

CaptureNode::CaptureNode(pw_loop* loop, spa_source* arrived, std::int32_t sampleRate)
    : loop_(loop)
    , arrived_(arrived)
    , sampleRate_(sampleRate)
    , ring_(static_cast<std::size_t>(sampleRate) * channelCount, 512)
{
}

CaptureNode::~CaptureNode()
{
    // Ends the real-time thread's calls; only then may the listener go.
    if (stream_)
        pw_stream_disconnect(stream_.get());
}

Result<std::unique_ptr<CaptureNode>> CaptureNode::create(pw_core* core, pw_loop* loop, spa_source* arrived, std::int32_t sampleRate)
{
    // A volume that somebody once set for this stream must not come back, and the session manager must leave its links alone.
    auto* properties = pw_properties_new(PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CATEGORY, "Capture", PW_KEY_MEDIA_ROLE, "Production",
        PW_KEY_NODE_NAME, "velmora.capture", PW_KEY_NODE_AUTOCONNECT, "false", PW_KEY_NODE_DONT_RECONNECT, "true",
        PW_KEY_NODE_ALWAYS_PROCESS, "true", "state.restore-props", "false", "state.restore-target", "false", nullptr);
    std::unique_ptr<CaptureNode> node{new CaptureNode(loop, arrived, sampleRate)};
    node->stream_.reset(pw_stream_new(core, "Velmora", properties));
    if (!node->stream_)
        return fail(posixError(errno, "PipeWire gave no stream"));
    pw_stream_add_listener(node->stream_.get(), node->listener_.get(), &events, node.get());

    std::array<std::uint8_t, 1024> bytes{};
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, bytes.data(), bytes.size());
    spa_audio_info_raw format{};
    format.format = SPA_AUDIO_FORMAT_F32;
    format.rate = static_cast<std::uint32_t>(sampleRate);
    format.channels = channelCount;
    format.position[0] = SPA_AUDIO_CHANNEL_FL;
    format.position[1] = SPA_AUDIO_CHANNEL_FR;
    const spa_pod* parameter = spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &format);
    const auto flags = static_cast<pw_stream_flags>(
        PW_STREAM_FLAG_INACTIVE | PW_STREAM_FLAG_MAP_BUFFERS | PW_STREAM_FLAG_RT_PROCESS | PW_STREAM_FLAG_DONT_RECONNECT);
    node->published_.store(node->stream_.get(), std::memory_order_release);
    const int result = pw_stream_connect(node->stream_.get(), PW_DIRECTION_INPUT, PW_ID_ANY, flags, &parameter, 1);
    if (result < 0)
        return fail(posixError(-result, "PipeWire refused the capture stream"));
    return node;
}

std::optional<std::uint32_t> CaptureNode::nodeID() const
{
    const auto id = pw_stream_get_node_id(stream_.get());
    return id == SPA_ID_INVALID ? std::nullopt : std::optional{id};
}

void CaptureNode::setActive(bool active)
{
    if (active == active_)
        return;
    active_ = active;
    pw_stream_set_active(stream_.get(), active);
}

void CaptureNode::setDeviceLatency(const spa_latency_info& latency)
{
    latencyQuanta_.store((latency.min_quantum + latency.max_quantum) / 2, std::memory_order_relaxed);
    const auto frames = (std::int64_t{latency.min_rate} + latency.max_rate) / 2;
    const std::chrono::nanoseconds time{static_cast<std::int64_t>(latency.min_ns / 2 + latency.max_ns / 2)};
    latency_.store(time + durationOf(frames, sampleRate_), std::memory_order_relaxed);

    std::array<std::uint8_t, 512> bytes{};
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, bytes.data(), bytes.size());
    const spa_pod* parameter = spa_latency_build(&builder, SPA_PARAM_Latency, &latency);
    pw_stream_update_params(stream_.get(), &parameter, 1);
}

/// On the real-time thread.
void CaptureNode::process()
{
    // This also makes everything written before the stream was connected visible to this thread.
    auto* stream = published_.load(std::memory_order_acquire);
    while (pw_buffer* buffer = pw_stream_dequeue_buffer(stream)) {
        pw_time time{};
        const auto& data = buffer->buffer->datas[0];
        if (data.data && pw_stream_get_time_n(stream, &time, sizeof time) == 0 && time.now > 0) {
            const auto offset = std::min(data.chunk->offset, data.maxsize);
            const auto size = std::min(data.chunk->size, data.maxsize - offset);
            const auto frames = size / (sizeof(float) * channelCount);
            const auto quantum = durationOf(static_cast<std::int64_t>(frames), sampleRate_);
            const auto latency = latency_.load(std::memory_order_relaxed)
                + std::chrono::nanoseconds{
                    static_cast<std::int64_t>(latencyQuanta_.load(std::memory_order_relaxed) * static_cast<float>(quantum.count()))};
            const auto* samples = reinterpret_cast<const float*>(static_cast<const std::byte*>(data.data) + offset);
            // A full ring means that the loop's thread is stuck; then this block is lost, and the count of frames shows it.
            ring_.write(MonotonicTime{std::chrono::nanoseconds{time.now}} + latency, {samples, frames * channelCount});
            framesSinceSignal_ += static_cast<std::uint32_t>(frames);
        }
        pw_stream_queue_buffer(stream, buffer);
    }
    if (framesSinceSignal_ >= framesPerSignal) {
        framesSinceSignal_ = 0;
        pw_loop_signal_event(loop_, arrived_);
    }
}

}  // namespace velmora::linux_backend
