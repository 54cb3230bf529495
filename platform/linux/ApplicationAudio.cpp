#include "platform/linux/ApplicationAudio.h"

#include "platform/linux/pipewire/PipeWireAudioSource.h"
#include "platform/linux/pipewire/PipeWireSoundStreams.h"
#include "platform/linux/pulse/PulseAudioSource.h"
#include "platform/linux/pulse/PulseSoundStreams.h"

#include <array>
#include <utility>

namespace velmora::linux_backend {

namespace {

class ApplicationAudioSource final : public AudioSource {
public:
    Result<void> start(const AudioTarget& target, AudioSourceFormat format, BlockCallback block) override
    {
        // Handed to one source after the other, of which one keeps it.
        auto shared = std::make_shared<BlockCallback>(std::move(block));
        const auto deliver = [shared](SampleBufferRef sample) { (*shared)(std::move(sample)); };

        auto pulse = std::make_unique<PulseAudioSource>();
        if (pulse->start(target, format, deliver)) {
            source_ = std::move(pulse);
            return {};
        }
        auto pipeWire = std::make_unique<PipeWireAudioSource>();
        auto started = pipeWire->start(target, format, deliver);
        if (started) {
            source_ = std::move(pipeWire);
            return {};
        }
        return fail(Error{"Velmora.AudioSource", 1, "No sound server answers.", std::make_shared<const Error>(std::move(started.error()))});
    }

    void stop() override
    {
        if (source_)
            source_->stop();
    }

private:
    std::unique_ptr<AudioSource> source_;
};

}  // namespace

std::unique_ptr<AudioSource> makeApplicationAudioSource()
{
    return std::make_unique<ApplicationAudioSource>();
}

Result<std::vector<SoundStream>> listSoundStreams()
{
    if (auto streams = listPulseSoundStreams())
        return streams;
    return listPipeWireSoundStreams();
}

}  // namespace velmora::linux_backend
