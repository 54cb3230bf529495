// A sound encoder that is ready before it is asked for.
#pragma once

#include "base/Mutex.h"
#include "base/SerialQueue.h"
#include "engine/codecs/AudioEncoder.h"

#include <memory>
#include <optional>

namespace velmora::engine {

/// Any thread.
class ReadyAudioEncoder {
public:
    explicit ReadyAudioEncoder(AudioEncoderFactory make) : make_(std::move(make)) { }

    /// Makes one on a thread of its own unless one is ready, and from then on another whenever the last one is taken.
    void prepare(const platform::AudioOutputSettings& settings);

    /// The one that is ready, or one made here and now. Fails if none can be made.
    Result<std::unique_ptr<AudioEncoder>> take(const platform::AudioOutputSettings& settings);

    /// Returns when whatever is being made is ready.
    void drain() const { queue_.drain(); }

private:
    void makeReady(const platform::AudioOutputSettings& settings);

    const AudioEncoderFactory make_;
    Mutex mutex_;
    std::optional<platform::AudioOutputSettings> settings_ GUARDED_BY(mutex_);  // of the one that is ready, or is being made
    std::unique_ptr<AudioEncoder> ready_ GUARDED_BY(mutex_);

    // Last: its end waits for work that uses the members above.
    SerialQueue queue_{"com.velmora.sound.preparation", SerialQueue::QualityOfService::utility};
};

}  // namespace velmora::engine
