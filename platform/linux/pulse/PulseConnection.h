// One connection to a PulseAudio server: its streams watched, the target's recorded.
#pragma once

#include "base/Result.h"
#include "engine/sound/AudioSource.h"
#include "engine/sound/BlockDelivery.h"
#include "engine/sound/StreamMatcher.h"
#include "platform/linux/pulse/PulseHandles.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <vector>

namespace velmora::linux_backend {

/// Lives on the loop's thread; what it records goes into the mixer of `delivery`. A connection that is of no use stays quiet and is thrown
/// away by its owner.
class PulseConnection {
public:
    enum class State {
        connecting,
        realServer,
        pipeWire,  ///< PipeWire's PulseAudio service, of which nothing is recorded
        broken
    };

    /// Fails when the attempt cannot even begin; whether a server answers is reported through `changed`, like every change of the state. No
    /// server is ever started.
    static Result<std::unique_ptr<PulseConnection>> create(pa_mainloop_api* api, const engine::StreamMatcher& matcher,
        engine::AudioSourceFormat format, engine::BlockDelivery& delivery, std::function<void()> changed);
    ~PulseConnection();
    PulseConnection(const PulseConnection&) = delete;
    PulseConnection& operator=(const PulseConnection&) = delete;

    [[nodiscard]] State state() const { return state_; }

    /// Why it is broken.
    [[nodiscard]] Error error() const;

private:
    /// A stream of the target and what we record of it.
    struct Recording {
        PulseConnection& connection;
        std::uint32_t sinkInput;
        int mixerInput;
        PulseStreamHandle stream;
    };

    PulseConnection(const engine::StreamMatcher& matcher, engine::AudioSourceFormat format, engine::BlockDelivery& delivery,
        std::function<void()> changed);

    void setState(State state);
    void onContextState();
    void onServer(const pa_server_info* info);
    void onSubscription(pa_subscription_event_type_t type, std::uint32_t index);
    void ask(std::uint32_t sinkInput);
    void onSinkInput(const pa_sink_input_info& info);
    void onSink(const pa_sink_info& info);
    void record(std::uint32_t sinkInput, std::uint32_t monitorSource);
    void onRecordingState(Recording& recording);
    void read(Recording& recording);
    void forget(std::uint32_t sinkInput);

    const engine::StreamMatcher& matcher_;
    const engine::AudioSourceFormat format_;
    engine::BlockDelivery& delivery_;
    const std::function<void()> changed_;
    State state_ = State::connecting;
    std::vector<float> samples_;
    PulseContextHandle context_;
    std::map<std::uint32_t, std::unique_ptr<Recording>> recordings_;  ///< by sink input
    std::map<std::uint32_t, std::uint32_t> selected_;  ///< sink inputs of the target, each with the sink that plays it
};

}  // namespace velmora::linux_backend
