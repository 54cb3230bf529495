#include "engine/codecs/ReadyAudioEncoder.h"

#include <utility>

namespace velmora::engine {

void ReadyAudioEncoder::prepare(const platform::AudioOutputSettings& settings)
{
    {
        MutexLock lock(mutex_);
        if (settings_ == settings)
            return;
        settings_ = settings;
        ready_.reset();
    }
    makeReady(settings);
}

Result<std::unique_ptr<AudioEncoder>> ReadyAudioEncoder::take(const platform::AudioOutputSettings& settings)
{
    std::unique_ptr<AudioEncoder> ready;
    {
        MutexLock lock(mutex_);
        if (settings_ == settings)
            ready = std::move(ready_);
    }
    if (!ready)
        return make_(settings);
    makeReady(settings);
    return ready;
}

void ReadyAudioEncoder::makeReady(const platform::AudioOutputSettings& settings)
{
    queue_.async([this, settings] {
        auto made = make_(settings);
        MutexLock lock(mutex_);
        if (made && settings_ == settings)
            ready_ = std::move(*made);
        else if (!made && settings_ == settings)
            settings_.reset();
    });
}

}  // namespace velmora::engine
