#include "platform/linux/modules/ModuleLoader.h"

#include <dlfcn.h>
#include <string>
#include <system_error>

namespace velmora::linux_backend {

namespace {

tl::unexpected<Error> failure(const std::string& reason)
{
    return fail(std::string{moduleErrorDomain}, 0, "A part of the program could not be loaded: " + reason);
}

std::string lastLoaderError()
{
    const char* text = dlerror();
    return text ? text : "unknown error";
}

}  // namespace

std::vector<std::filesystem::path> moduleDirectories(const std::filesystem::path& executable)
{
    const auto folder = executable.parent_path();
    return {folder, folder.parent_path() / "lib" / "velmora" / "modules", folder.parent_path()};
}

Result<std::vector<std::filesystem::path>> moduleDirectories()
{
    std::error_code error;
    const auto executable = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error)
        return failure(error.message());
    return moduleDirectories(executable);
}

Result<void*> loadModuleEntry(const ModuleName& name, std::span<const std::filesystem::path> directories)
{
    for (const auto& directory : directories) {
        const auto file = directory / name.fileName;
        std::error_code ignored;
        if (!std::filesystem::exists(file, ignored))
            continue;
        void* module = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
        void* entry = module ? dlsym(module, name.entryName) : nullptr;
        if (!entry)
            return failure(lastLoaderError());
        return entry;
    }
    std::string searched;
    for (const auto& directory : directories)
        searched += (searched.empty() ? "" : ", ") + directory.string();
    return failure(std::string{name.fileName} + " was not found in " + searched);
}

}  // namespace velmora::linux_backend
