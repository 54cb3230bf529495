// The streams of sound on a real PulseAudio server.
#pragma once

#include "base/Result.h"
#include "engine/sound/SoundStreamWatch.h"

#include <memory>
#include <vector>

namespace velmora::linux_backend {

/// As they are now, without following them. Waits for the server, two seconds at most; fails when none answers, and when it is PipeWire's
/// PulseAudio service, of whose streams PipeWire itself says more. No server is ever started. Any thread.
[[nodiscard]] Result<std::vector<engine::SoundStream>> listPulseSoundStreams();

/// The same, followed. No server is looked for once the one that answered is gone.
[[nodiscard]] Result<std::unique_ptr<engine::SoundStreamWatch>> watchPulseSoundStreams(engine::SoundStreamWatch::Changed changed);

/// Whether that error says that the server is PipeWire's.
[[nodiscard]] bool isOfPipeWire(const Error& error);

}  // namespace velmora::linux_backend
