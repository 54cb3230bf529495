// Which sound server an application's sound is taken from.
#pragma once

#include "platform/linux/AudioSource.h"
#include "platform/linux/sound/SoundingApplications.h"

#include <memory>
#include <vector>

namespace velmora::linux_backend {

/// A source that asks at its start who serves sound: a real PulseAudio server if one answers, because then the applications play there
/// and a PipeWire server beside it serves pictures only; else PipeWire. The start fails with one error, "no sound server", when
/// neither does.
[[nodiscard]] std::unique_ptr<AudioSource> makeApplicationAudioSource();

/// The streams of the server that such a source would take sound from. Waits for it, some seconds at most; fails when there is none. Any
/// thread.
[[nodiscard]] Result<std::vector<SoundStream>> listSoundStreams();

}  // namespace velmora::linux_backend
