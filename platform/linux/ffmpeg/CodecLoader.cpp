#include "platform/linux/ffmpeg/CodecLoader.h"

#include "platform/linux/ffmpeg/ModuleEntry.h"
#include "platform/linux/modules/ModuleLoader.h"

namespace velmora::linux_backend {

Result<std::shared_ptr<CodecModule>> loadCodecModule(std::span<const std::filesystem::path> directories)
{
    return loadModule<CodecModule>({codecModuleFileName, codecModuleEntryName}, directories, VELMORA_VERSION);
}

Result<std::shared_ptr<CodecModule>> codecModule()
{
    static const Result<std::shared_ptr<CodecModule>> module = []() -> Result<std::shared_ptr<CodecModule>> {
        const auto directories = moduleDirectories();
        if (!directories)
            return fail(directories.error());
        return loadCodecModule(*directories);
    }();
    return module;
}

Result<std::shared_ptr<MovieModule>> movieModule()
{
    static const Result<std::shared_ptr<MovieModule>> module = []() -> Result<std::shared_ptr<MovieModule>> {
        const auto directories = moduleDirectories();
        if (!directories)
            return fail(directories.error());
        return loadModule<MovieModule>({movieModuleFileName, movieModuleEntryName}, *directories, VELMORA_VERSION);
    }();
    return module;
}

}  // namespace velmora::linux_backend
