// The streams of sound on a PipeWire server.
#pragma once

#include "base/Result.h"
#include "engine/sound/SoundingApplications.h"

#include <vector>

namespace velmora::linux_backend {

/// As they are now, without following them. Waits for the server, two seconds at most; fails when none answers. Any thread.
[[nodiscard]] Result<std::vector<engine::SoundStream>> listPipeWireSoundStreams();

}  // namespace velmora::linux_backend
