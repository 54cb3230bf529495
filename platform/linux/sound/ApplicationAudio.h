// Which sound server an application's sound is taken from.
#pragma once

#include "engine/sound/AudioSource.h"
#include "engine/sound/SoundingApplications.h"

#include <memory>
#include <string>
#include <vector>

namespace velmora::linux_backend {

/// A source that asks who serves sound: a real PulseAudio server if one answers, because then the applications play there and a PipeWire
/// server beside it serves only pictures; else PipeWire. Where neither does, nothing is delivered until one answers, and where a server of
/// the other kind takes over, its sound is delivered from then on. The start fails with one error, "no sound server", only where none can
/// ever be found, or where this process lacks what it needs to look for one.
[[nodiscard]] std::unique_ptr<engine::AudioSource> makeApplicationAudioSource();

/// The streams of the server that such a source would take sound from. Waits for it, some seconds at most; fails when there is none. Any
/// thread.
[[nodiscard]] Result<std::vector<engine::SoundStream>> listSoundStreams();

/// The same, and where PulseAudio is that server those of a PipeWire beside it too, marked as another's.
[[nodiscard]] Result<std::vector<engine::SoundStream>> listEverySoundStream();

/// The name of that server. The same otherwise.
[[nodiscard]] Result<std::string> soundServerName();

}  // namespace velmora::linux_backend
