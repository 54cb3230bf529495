// The sound of one application from a real PulseAudio server.
#pragma once

#include "engine/sound/AudioSource.h"

#include <memory>

namespace velmora::linux_backend {

/// Records each stream of the target by itself, from the monitor of the sink that plays it, and mixes them; silence while there is
/// none. The start fails when the server is PipeWire's PulseAudio service: its monitor streams carry wrong times and disturb the
/// player's own, so there the sound comes from PipeWire itself. No server is ever started. When the server goes and comes back, the
/// source connects again. Blocks and the target's callback come on one thread of the source's.
class PulseAudioSource final : public engine::AudioSource {
public:
    PulseAudioSource();
    ~PulseAudioSource() override;

    Result<void> start(const engine::AudioTarget& target, engine::AudioSourceFormat format, BlockCallback block) override;
    void stop() override;

private:
    class Session;
    std::unique_ptr<Session> session_;
};

}  // namespace velmora::linux_backend
