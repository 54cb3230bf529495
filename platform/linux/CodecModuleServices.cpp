#include "platform/linux/CodecModuleServices.h"

#include "engine/files/AssetReader.h"
#include "engine/files/AssetWriter.h"
#include "platform/linux/ffmpeg/CodecLoader.h"

#include <string>
#include <utility>

namespace velmora::linux_backend {

namespace {

class CompressionSessions final : public platform::CompressionSessionFactory {
public:
    tl::expected<std::shared_ptr<platform::CompressionSession>, platform::CompressionStatus> makeSession(
        std::int32_t width, std::int32_t height, FourCharacterCode codec, platform::CompressionSession::OutputCallback output) override
    {
        const auto module = codecModule();
        if (!module)
            return tl::unexpected(moduleMissing);
        return (*module)->compressionSessions()->makeSession(width, height, codec, std::move(output));
    }

    [[nodiscard]] platform::CompressionStatus checkSize(std::int32_t width, std::int32_t height) override
    {
        const auto module = codecModule();
        return module ? (*module)->compressionSessions()->checkSize(width, height) : moduleMissing;
    }

    [[nodiscard]] std::string description(platform::CompressionStatus status) const override
    {
        const auto module = codecModule();
        return module ? (*module)->compressionSessions()->description(status) : module.error().localizedDescription;
    }

private:
    static constexpr platform::CompressionStatus moduleMissing = -1;
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

}  // namespace

std::shared_ptr<platform::CompressionSessionFactory> makeCompressionSessions()
{
    return std::make_shared<CompressionSessions>();
}

std::shared_ptr<platform::AssetWriterFactory> makeAssetWriters(std::shared_ptr<const engine::Trash> trash)
{
    return std::make_shared<engine::AssetWriterFactory>(makeAudioEncoder, std::move(trash));
}

std::shared_ptr<platform::AssetReader> makeAssetReader()
{
    return std::make_shared<engine::AssetReader>(makePictureDecoder);
}

Result<std::unique_ptr<engine::PictureScaler>> makePictureScaler()
{
    const auto module = codecModule();
    if (!module)
        return fail(module.error());
    return (*module)->makePictureScaler();
}

}  // namespace velmora::linux_backend
