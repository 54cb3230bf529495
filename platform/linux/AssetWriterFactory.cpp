#include "media/mp4/PosixFile.h"
#include "platform/linux/AssetWriter.h"

namespace velmora::linux_backend {

Result<std::shared_ptr<platform::AssetWriter>> AssetWriterFactory::makeAssetWriter(
    const std::filesystem::path& outputURL, platform::AssetFileType)
{
    auto file = mp4::PosixFile::create(outputURL);
    if (!file)
        return fail(file.error());
    auto writer = AssetWriter::create(std::move(*file), encoders_);
    if (!writer)
        return fail(writer.error());
    return std::shared_ptr<platform::AssetWriter>{std::move(*writer)};
}

}  // namespace velmora::linux_backend
