// Loading the modules that are made of FFmpeg.
#pragma once

#include "platform/linux/ffmpeg/CodecModule.h"
#include "platform/linux/ffmpeg/MovieModule.h"

#include <filesystem>
#include <span>

namespace velmora::linux_backend {

/// Loads the module on the first call, on whatever thread that is; every later call returns the same one or the same error.
Result<std::shared_ptr<CodecModule>> codecModule();

/// Loads the module from the first of `directories` that has it.
Result<std::shared_ptr<CodecModule>> loadCodecModule(std::span<const std::filesystem::path> directories);

/// As codecModule().
Result<std::shared_ptr<MovieModule>> movieModule();

}  // namespace velmora::linux_backend
