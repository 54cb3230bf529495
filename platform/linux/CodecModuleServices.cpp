#include "platform/linux/CodecModuleServices.h"

#include "engine/files/AssetReader.h"
#include "engine/sharing/ClipTranscoder.h"
#include "platform/linux/ffmpeg/CodecLoader.h"

#include <string>
#include <utility>

namespace velmora::linux_backend {

namespace {

class CompressionSessions final : public platform::CompressionSessionFactory {
public:
    explicit CompressionSessions(engine::KeyFrameRequests keyFrameRequests) : keyFrameRequests_(std::move(keyFrameRequests)) { }

    tl::expected<std::shared_ptr<platform::CompressionSession>, platform::CompressionStatus> makeSession(
        std::int32_t width, std::int32_t height, FourCharacterCode codec, platform::CompressionSession::OutputCallback output) override
    {
        const auto module = codecModule();
        if (!module)
            return tl::unexpected(moduleMissing);
        return sessions(**module)->makeSession(width, height, codec, std::move(output));
    }

    [[nodiscard]] platform::CompressionStatus checkSize(std::int32_t width, std::int32_t height) override
    {
        const auto module = codecModule();
        return module ? sessions(**module)->checkSize(width, height) : moduleMissing;
    }

    [[nodiscard]] std::string description(platform::CompressionStatus status) const override
    {
        const auto module = codecModule();
        return module ? sessions(**module)->description(status) : module.error().localizedDescription;
    }

private:
    static constexpr platform::CompressionStatus moduleMissing = -1;

    [[nodiscard]] std::shared_ptr<platform::CompressionSessionFactory> sessions(CodecModule& module) const
    {
        return module.makeCompressionSessions(keyFrameRequests_);
    }

    const engine::KeyFrameRequests keyFrameRequests_;
};

Result<std::unique_ptr<engine::AudioEncoder>> makeAudioEncoder(const platform::AudioOutputSettings& settings)
{
    const auto module = codecModule();
    if (!module)
        return fail(module.error());
    return (*module)->makeAudioEncoder(settings);
}

Result<std::unique_ptr<engine::PictureDecoder>> makePictureDecoder(const VideoFormat& format, const engine::PictureRequest& request)
{
    const auto module = codecModule();
    if (!module)
        return fail(module.error());
    return (*module)->makePictureDecoder(format, request);
}

Result<std::unique_ptr<engine::PacketDecoder>> makePacketDecoder(const AudioFormat& format)
{
    const auto module = codecModule();
    if (!module)
        return fail(module.error());
    return (*module)->makePacketDecoder(format);
}

Result<std::unique_ptr<engine::PictureReencoder>> makePictureReencoder(const VideoFormat& format, int parameterSet)
{
    const auto module = codecModule();
    if (!module)
        return fail(module.error());
    return (*module)->makePictureReencoder(format, parameterSet);
}

}  // namespace

std::shared_ptr<platform::CompressionSessionFactory> makeCompressionSessions(engine::KeyFrameRequests keyFrameRequests)
{
    return std::make_shared<CompressionSessions>(std::move(keyFrameRequests));
}

std::shared_ptr<platform::AssetWriterFactory> makeAssetWriters(
    engine::CancelledRecordings cancelled, engine::KeyFrameRequests keyFrameRequests)
{
    return std::make_shared<engine::AssetWriterFactory>(makeAudioEncoder, std::move(cancelled), std::move(keyFrameRequests));
}

std::shared_ptr<platform::AssetReader> makeAssetReader()
{
    return std::make_shared<engine::AssetReader>(makePictureDecoder);
}

engine::SeamCodecs makeSeamCodecs()
{
    return {makeAudioEncoder, makePacketDecoder, makePictureReencoder};
}

std::shared_ptr<platform::ClipTranscoder> makeClipTranscoder()
{
    return engine::makeClipTranscoder(
        []() -> Result<std::unique_ptr<engine::ClipCodecs>> {
            const auto module = codecModule();
            if (!module)
                return fail(module.error());
            return (*module)->makeClipCodecs();
        },
        []() -> Result<std::unique_ptr<engine::MovieCodecs>> {
            const auto module = movieModule();
            if (!module)
                return fail(module.error());
            return (*module)->makeMovieCodecs();
        });
}

Result<std::unique_ptr<engine::PictureScaler>> makePictureScaler()
{
    const auto module = codecModule();
    if (!module)
        return fail(module.error());
    return (*module)->makePictureScaler();
}

}  // namespace velmora::linux_backend
