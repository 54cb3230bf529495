// What the codec module is made of.
#pragma once

#include "platform/linux/ffmpeg/CodecModule.h"

namespace velmora::linux_backend {

class LibavCodecModule final : public CodecModule {
public:
    LibavCodecModule();

    std::shared_ptr<platform::CompressionSessionFactory> compressionSessions() override;
    Result<std::unique_ptr<engine::AudioEncoder>> makeAudioEncoder(const platform::AudioOutputSettings& settings) override;
    std::unique_ptr<engine::PictureScaler> makePictureScaler() override;
    Result<std::unique_ptr<engine::PictureDecoder>> makePictureDecoder(
        const VideoFormat& format, const engine::PictureRequest& request) override;

private:
    const std::shared_ptr<platform::CompressionSessionFactory> compressionSessions_;
};

}  // namespace velmora::linux_backend
