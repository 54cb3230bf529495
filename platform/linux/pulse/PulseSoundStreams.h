// The streams of sound on a real PulseAudio server.
#pragma once

#include "base/Result.h"
#include "engine/sound/SoundingApplications.h"

#include <vector>

namespace velmora::linux_backend {

/// As they are now, without following them. Waits for the server, two seconds at most; fails when none answers, and when it is PipeWire's
/// PulseAudio service, of whose streams PipeWire itself says more. No server is ever started. Any thread.
[[nodiscard]] Result<std::vector<engine::SoundStream>> listPulseSoundStreams();

/// Whether that error says that the server is PipeWire's.
[[nodiscard]] bool isOfPipeWire(const Error& error);

}  // namespace velmora::linux_backend
