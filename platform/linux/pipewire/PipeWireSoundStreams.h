// The streams of sound on a PipeWire server.
#pragma once

#include "base/Result.h"
#include "engine/sound/SoundStreamWatch.h"

#include <memory>
#include <vector>

namespace velmora::linux_backend {

/// As they are now, without following them. Waits for the server, two seconds at most; fails when none answers. Any thread.
[[nodiscard]] Result<std::vector<engine::SoundStream>> listPipeWireSoundStreams();

/// The same, followed. No server is looked for once the one that answered is gone.
[[nodiscard]] Result<std::unique_ptr<engine::SoundStreamWatch>> watchPipeWireSoundStreams(engine::SoundStreamWatch::Changed changed);

}  // namespace velmora::linux_backend
