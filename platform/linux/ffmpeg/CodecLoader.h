// Loading the codec module.
#pragma once

#include "platform/linux/ffmpeg/CodecModule.h"

#include <filesystem>
#include <span>

namespace velmora::linux_backend {

/// Loads the module from the first of `directories` that has it.
Result<std::shared_ptr<CodecModule>> loadCodecModule(std::span<const std::filesystem::path> directories);

}  // namespace velmora::linux_backend
