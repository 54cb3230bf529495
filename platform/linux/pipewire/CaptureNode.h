// The stream to which the sound of the chosen application is linked.
#pragma once

#include "base/MonotonicClock.h"
#include "base/Result.h"
#include "engine/sound/SampleRing.h"
#include "platform/linux/pipewire/PipeWireHandles.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <spa/param/latency-utils.h>
#include <vector>

namespace velmora::linux_backend {

/// A stereo input node of ours that nobody but us links. Its real-time callback copies what comes, with its time, into a ring, from
/// which the loop's thread takes it. All functions belong to the loop's thread.
class CaptureNode {
public:
    /// `arrived` is signalled from the real-time thread when blocks can be taken.
    static Result<std::unique_ptr<CaptureNode>> create(pw_core* core, pw_loop* loop, spa_source* arrived, std::int32_t sampleRate);
    ~CaptureNode();
    CaptureNode(const CaptureNode&) = delete;
    CaptureNode& operator=(const CaptureNode&) = delete;

    /// The id of the node on the server; none before it has one.
    [[nodiscard]] std::optional<std::uint32_t> nodeID() const;

    /// An inactive node costs nothing: no driver has to run for it.
    void setActive(bool active);

    /// The delay of the device that plays what is captured. The node reports it as its own: otherwise its link would lower the delay
    /// that the player sees, and with it the player's lip-sync. Time stamps say when a sample is heard, so it is added to them.
    void setDeviceLatency(const spa_latency_info& latency);

    /// Takes the oldest block out; false when there is none.
    bool take(MonotonicTime& stamp, std::vector<float>& samples) { return ring_.read(stamp, samples); }

private:
    CaptureNode(pw_loop* loop, spa_source* arrived, std::int32_t sampleRate);

    void process();

    static const pw_stream_events events;

    pw_loop* const loop_;
    spa_source* const arrived_;
    const std::int32_t sampleRate_;
    engine::SampleRing ring_;
    std::uint32_t framesSinceSignal_ = 0;  // the real-time thread's
    // Quanta and time of delay; a mixture of old and new values for one block does no harm.
    std::atomic<float> latencyQuanta_{0};
    std::atomic<std::chrono::nanoseconds> latency_{};
    bool active_ = false;
    std::atomic<pw_stream*> published_{nullptr};
    StreamHandle stream_;
    ListenerHook listener_;
};

}  // namespace velmora::linux_backend
