#include "engine/sound/BlockDelivery.h"

#include "media/LiveTime.h"

#include <memory>
#include <utility>
#include <vector>

namespace velmora::engine {

Result<void> checkFormat(const AudioSourceFormat& format)
{
    if (format.channelCount != 2 || format.sampleRate < 8000 || format.sampleRate > 192000)
        return fail("Velmora.AudioSource", 2, "Sound is captured in stereo at 8 to 192 kHz only.");
    return {};
}

BlockDelivery::BlockDelivery(const AudioSourceFormat& format, AudioSource::BlockCallback block, MonotonicTime origin)
    : format_(format)
    , description_(
          std::make_shared<const FormatDescription>(AudioFormat{FourCharacterCode{"lpcm"}, format.sampleRate, format.channelCount, {}}))
    , block_(std::move(block))
    , mixer_(format.sampleRate, format.channelCount, origin)
{
}

void BlockDelivery::deliver(MonotonicTime now)
{
    for (auto readable = mixer_.readableFrames(now); readable >= framesPerBlock; readable -= framesPerBlock) {
        auto samples = std::make_shared<std::vector<float>>(static_cast<std::size_t>(framesPerBlock * format_.channelCount));
        const auto stamp = mixer_.read(*samples);

        auto sample = std::make_shared<SampleBuffer>();
        sample->format = description_;
        sample->presentationTimeStamp = liveTime(stamp);
        sample->duration = MediaTime{framesPerBlock, format_.sampleRate};
        sample->sampleCount = framesPerBlock;
        sample->data.bytes = std::as_bytes(std::span{*samples});
        sample->data.owner = std::move(samples);
        block_(std::move(sample));
    }
}

}  // namespace velmora::engine
