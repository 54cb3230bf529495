#include "platform/linux/ffmpeg/LibavCodecModule.h"

#include "platform/linux/ffmpeg/LibavAudioEncoder.h"
#include "platform/linux/ffmpeg/LibavCompressionSession.h"
#include "platform/linux/ffmpeg/LibavPacketDecoder.h"
#include "platform/linux/ffmpeg/LibavPictureDecoder.h"
#include "platform/linux/ffmpeg/LibavPictureReencoder.h"
#include "platform/linux/ffmpeg/LibavPictureTranscoder.h"
#include "platform/linux/ffmpeg/LibavSoundDecoder.h"
#include "platform/linux/ffmpeg/LibswscalePictureScaler.h"
#include "platform/linux/ffmpeg/VideoEncoderSelection.h"

#include <utility>

extern "C" {
#include <libavutil/avutil.h>
#include <libavutil/log.h>
}

namespace velmora::linux_backend {

namespace {

class LibavClipCodecs final : public engine::ClipCodecs {
public:
    Result<std::unique_ptr<engine::PictureTranscoder>> makePictureTranscoder(const VideoFormat& format) override
    {
        return LibavPictureTranscoder::create(format);
    }
    Result<std::unique_ptr<engine::SoundDecoder>> makeSoundDecoder(const AudioFormat& format, std::int32_t channelCount) override
    {
        return LibavSoundDecoder::create(format, channelCount);
    }
    Result<std::unique_ptr<engine::AudioEncoder>> makeAudioEncoder(const platform::AudioOutputSettings& settings) override
    {
        return LibavAudioEncoder::create(settings);
    }
};

}  // namespace

LibavCodecModule::LibavCodecModule()
{
    // Looking for hardware that is not there is no news for the terminal; what fails comes back as a status.
    av_log_set_level(AV_LOG_QUIET);
}

std::shared_ptr<platform::CompressionSessionFactory> LibavCodecModule::makeCompressionSessions(engine::KeyFrameRequests keyFrameRequests)
{
    return std::make_shared<LibavCompressionSessionFactory>(std::move(keyFrameRequests));
}

std::vector<EncoderTrialReport> LibavCodecModule::tryVideoEncoders(std::int32_t width, std::int32_t height)
{
    VideoEncoderSettings settings;
    settings.width = width;
    settings.height = height;
    return VideoEncoderSelection::shared().tryAll(settings);
}

std::string LibavCodecModule::libraryVersion() const
{
    return std::string{"FFmpeg "} + av_version_info();
}

Result<std::unique_ptr<engine::AudioEncoder>> LibavCodecModule::makeAudioEncoder(const platform::AudioOutputSettings& settings)
{
    return LibavAudioEncoder::create(settings);
}

std::unique_ptr<engine::PictureScaler> LibavCodecModule::makePictureScaler()
{
    return std::make_unique<LibswscalePictureScaler>();
}

Result<std::unique_ptr<engine::PictureDecoder>> LibavCodecModule::makePictureDecoder(
    const VideoFormat& format, const engine::PictureRequest& request)
{
    return LibavPictureDecoder::create(format, request);
}

Result<std::unique_ptr<engine::PacketDecoder>> LibavCodecModule::makePacketDecoder(const AudioFormat& format)
{
    return LibavPacketDecoder::create(format);
}

Result<std::unique_ptr<engine::PictureReencoder>> LibavCodecModule::makePictureReencoder(const VideoFormat& format, int parameterSet)
{
    return LibavPictureReencoder::create(format, parameterSet);
}

std::unique_ptr<engine::ClipCodecs> LibavCodecModule::makeClipCodecs()
{
    return std::make_unique<LibavClipCodecs>();
}

}  // namespace velmora::linux_backend
