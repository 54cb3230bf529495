#include "platform/linux/ffmpeg/CodecLoader.h"

#include "platform/linux/ffmpeg/ModuleEntry.h"

#include <dlfcn.h>
#include <string>
#include <system_error>

namespace velmora::linux_backend {

namespace {

tl::unexpected<Error> failure(const std::string& reason)
{
    return fail(std::string{codecLoaderErrorDomain}, 0, "The codec module could not be loaded: " + reason);
}

std::string lastLoaderError()
{
    const char* text = dlerror();
    return text ? text : "unknown error";
}

}  // namespace

std::vector<std::filesystem::path> codecModuleDirectories(const std::filesystem::path& executable)
{
    const auto folder = executable.parent_path();
    return {folder, folder.parent_path() / "lib" / "velmora", folder.parent_path()};
}

Result<std::shared_ptr<CodecModule>> loadCodecModule(std::span<const std::filesystem::path> directories)
{
    for (const auto& directory : directories) {
        const auto file = directory / codecModuleFileName;
        std::error_code ignored;
        if (!std::filesystem::exists(file, ignored))
            continue;
        void* module = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
        if (!module)
            return failure(lastLoaderError());
        auto* entry = reinterpret_cast<CodecModuleEntry*>(dlsym(module, codecModuleEntryName));
        if (!entry)
            return failure(lastLoaderError());
        std::shared_ptr<CodecModule> codecs{entry(VELMORA_VERSION)};
        if (!codecs)
            return failure(file.string() + " is of another version than this program");
        return codecs;
    }
    std::string searched;
    for (const auto& directory : directories)
        searched += (searched.empty() ? "" : ", ") + directory.string();
    return failure(std::string{codecModuleFileName} + " was not found in " + searched);
}

Result<std::shared_ptr<CodecModule>> codecModule()
{
    static const Result<std::shared_ptr<CodecModule>> module = []() -> Result<std::shared_ptr<CodecModule>> {
        std::error_code error;
        const auto executable = std::filesystem::read_symlink("/proc/self/exe", error);
        if (error)
            return failure(error.message());
        return loadCodecModule(codecModuleDirectories(executable));
    }();
    return module;
}

}  // namespace velmora::linux_backend
