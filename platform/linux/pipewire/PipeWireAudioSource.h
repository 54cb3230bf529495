// The sound of one application from a PipeWire server.
#pragma once

#include "engine/sound/AudioSource.h"

#include <memory>

namespace velmora::linux_backend {

/// Watches the server's streams, links those of the target into a node of its own and follows them as they come and go; silence while
/// there is none. Nothing else is ever linked: no device, no monitor, no default source. When the server goes and comes back, the
/// source connects again. Blocks and the target's callback come on one thread of the source's.
class PipeWireAudioSource final : public engine::AudioSource {
public:
    PipeWireAudioSource();
    ~PipeWireAudioSource() override;

    Result<void> start(const engine::AudioTarget& target, engine::AudioSourceFormat format, BlockCallback block) override;
    void stop() override;

private:
    class Session;
    std::unique_ptr<Session> session_;
};

}  // namespace velmora::linux_backend
