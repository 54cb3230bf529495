// A clip's sound by libavcodec and libswresample.
#pragma once

#include "engine/codecs/ClipCodecs.h"
#include "platform/linux/ffmpeg/AvHandles.h"

namespace velmora::linux_backend {

class LibavSoundDecoder final : public engine::SoundDecoder {
public:
    static Result<std::unique_ptr<engine::SoundDecoder>> create(const AudioFormat& format, std::int32_t channelCount);

    Result<void> decode(const engine::CodedSamples::Sample& sample, std::vector<Block>& blocks) override;
    Result<void> finish(std::vector<Block>& blocks) override;

private:
    LibavSoundDecoder(AvCodecContext context, std::int32_t channelCount);

    Result<void> send(const AVPacket* packet, std::vector<Block>& blocks);
    Result<Block> convert(const AVFrame& frame);

    const AvCodecContext context_;
    const std::int32_t channelCount_;
    AvPacket packet_;
    AvFrame frame_;
    AvResampler mixer_;
    int mixedFormat_ = -1;
    int mixedChannels_ = 0;
};

}  // namespace velmora::linux_backend
