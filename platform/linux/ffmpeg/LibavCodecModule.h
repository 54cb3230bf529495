// What the codec module is made of.
#pragma once

#include "platform/linux/ffmpeg/CodecModule.h"

namespace velmora::linux_backend {

class LibavCodecModule final : public CodecModule {
public:
    LibavCodecModule();

    std::shared_ptr<platform::CompressionSessionFactory> makeCompressionSessions(engine::KeyFrameRequests keyFrameRequests) override;
    std::vector<EncoderTrialReport> tryVideoEncoders(std::int32_t width, std::int32_t height) override;
    [[nodiscard]] std::string libraryVersion() const override;
    Result<std::unique_ptr<engine::AudioEncoder>> makeAudioEncoder(const platform::AudioOutputSettings& settings) override;
    std::unique_ptr<engine::PictureScaler> makePictureScaler() override;
    Result<std::unique_ptr<engine::PictureDecoder>> makePictureDecoder(
        const VideoFormat& format, const engine::PictureRequest& request) override;
    Result<std::unique_ptr<engine::PacketDecoder>> makePacketDecoder(const AudioFormat& format) override;
    Result<std::unique_ptr<engine::PictureReencoder>> makePictureReencoder(const VideoFormat& format, int parameterSet) override;
    std::unique_ptr<engine::ClipCodecs> makeClipCodecs() override;
};

}  // namespace velmora::linux_backend
