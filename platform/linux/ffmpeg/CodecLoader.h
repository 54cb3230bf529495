// Finding and loading the codec module.
#pragma once

#include "platform/linux/ffmpeg/CodecModule.h"

#include <filesystem>
#include <span>
#include <vector>

namespace velmora::linux_backend {

/// The domain of errors about the module itself; the code is 0.
inline constexpr std::string_view codecLoaderErrorDomain = "Velmora.CodecModule";

/// Where the module of a program at `executable` is looked for: beside it, where an installation has it ("bin" next to "lib/velmora"),
/// and one folder up, where a build tree has it.
[[nodiscard]] std::vector<std::filesystem::path> codecModuleDirectories(const std::filesystem::path& executable);

/// Loads the module from the first of `directories` that has it. It is never unloaded: libraries that start threads cannot be.
Result<std::shared_ptr<CodecModule>> loadCodecModule(std::span<const std::filesystem::path> directories);

}  // namespace velmora::linux_backend
