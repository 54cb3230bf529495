#include "platform/linux/AssetWriter.h"

namespace velmora::linux_backend {

std::shared_ptr<platform::AssetWriterFactory> makeAssetWriterFactory()
{
    return std::make_shared<AssetWriterFactory>([](const platform::AudioOutputSettings& settings) -> Result<std::unique_ptr<AudioEncoder>> {
        const auto module = codecModule();
        if (!module)
            return fail(module.error());
        return (*module)->makeAudioEncoder(settings);
    });
}

}  // namespace velmora::linux_backend
