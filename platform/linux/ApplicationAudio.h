// Which sound server an application's sound is taken from.
#pragma once

#include "platform/linux/AudioSource.h"

#include <memory>

namespace velmora::linux_backend {

/// A source that asks at its start who serves sound: a real PulseAudio server if one answers, because then the applications play there
/// and a PipeWire server beside it serves pictures only; else PipeWire. The start fails with one error, "no sound server", when
/// neither does.
[[nodiscard]] std::unique_ptr<AudioSource> makeApplicationAudioSource();

}  // namespace velmora::linux_backend
