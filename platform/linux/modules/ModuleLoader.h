// Finding and loading the program's own modules: parts whose libraries cost memory and time that not every run should pay.
#pragma once

#include "base/Result.h"

#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace velmora::linux_backend {

/// The domain of errors about a module itself; the code is 0.
inline constexpr std::string_view moduleErrorDomain = "Velmora.Module";

struct ModuleName {
    const char* fileName;
    const char* entryName;  ///< the one symbol that is looked for
};

/// Where the modules of a program at `executable` are looked for: beside it, where an installation has them ("bin" next to
/// "lib/velmora/modules"), and one folder up, where a build tree has them.
[[nodiscard]] std::vector<std::filesystem::path> moduleDirectories(const std::filesystem::path& executable);

/// Those of this process.
[[nodiscard]] Result<std::vector<std::filesystem::path>> moduleDirectories();

/// Loads the module from the first of `directories` that has it; the address of its entry. It is never unloaded: libraries that start
/// threads cannot be.
Result<void*> loadModuleEntry(const ModuleName& name, std::span<const std::filesystem::path> directories);

/// The module's object from its entry, a function that takes this program's version and gives null when its own is another.
template <typename Module>
Result<std::shared_ptr<Module>> loadModule(
    const ModuleName& name, std::span<const std::filesystem::path> directories, const char* programVersion)
{
    const auto entry = loadModuleEntry(name, directories);
    if (!entry)
        return fail(entry.error());
    std::shared_ptr<Module> module{reinterpret_cast<Module* (*)(const char*)>(*entry)(programVersion)};
    if (!module)
        return fail(std::string{moduleErrorDomain}, 0, std::string{name.fileName} + " has a different version from this program");
    return module;
}

}  // namespace velmora::linux_backend
