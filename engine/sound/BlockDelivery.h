// Turns a track of sound into sample buffers.
#pragma once

#include "base/MonotonicClock.h"
#include "engine/sound/AudioMixer.h"
#include "engine/sound/AudioSource.h"

#include <cstdint>

namespace velmora::engine {

/// An error unless it is stereo at 8 to 192 kHz.
[[nodiscard]] Result<void> checkFormat(const AudioSourceFormat& format);

/// A mixer whose track is handed on in "lpcm" blocks of 1024 frames. Used by one thread.
class BlockDelivery {
public:
    static constexpr std::int64_t framesPerBlock = 1024;

    BlockDelivery(const AudioSourceFormat& format, AudioSource::BlockCallback block, MonotonicTime origin);

    [[nodiscard]] AudioMixer& mixer() { return mixer_; }

    /// Hands on every whole block that is ready at `now`.
    void deliver(MonotonicTime now);

private:
    AudioSourceFormat format_;
    FormatDescriptionRef description_;
    AudioSource::BlockCallback block_;
    AudioMixer mixer_;
};

}  // namespace velmora::engine
