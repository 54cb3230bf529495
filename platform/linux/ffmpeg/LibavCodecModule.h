// What the codec module is made of.
#pragma once

#include "platform/linux/ffmpeg/CodecModule.h"

namespace velmora::linux_backend {

class LibavCodecModule final : public CodecModule {
public:
    LibavCodecModule();

    std::shared_ptr<platform::CompressionSessionFactory> compressionSessions() override;
    Result<std::unique_ptr<AudioEncoder>> makeAudioEncoder(const platform::AudioOutputSettings& settings) override;
    std::unique_ptr<PictureScaler> makePictureScaler() override;
    Result<std::unique_ptr<PictureDecoder>> makePictureDecoder(const VideoFormat& format, const PictureRequest& request) override;

private:
    const std::shared_ptr<platform::CompressionSessionFactory> compressionSessions_;
};

}  // namespace velmora::linux_backend
