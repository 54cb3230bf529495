// The one symbol of the codec module.
#pragma once

#include "platform/linux/ffmpeg/CodecModule.h"

namespace velmora::linux_backend {

/// Makes the module's object, which the caller owns, for a program of version `programVersion`; null when the module has another
/// version. Module and program share the classes of CodecModule.h and no variable: each has its own copy of what both link.
using CodecModuleEntry = CodecModule*(const char* programVersion);

inline constexpr const char* codecModuleEntryName = "velmoraMakeCodecModule";
inline constexpr const char* codecModuleFileName = "velmora_codecs.so";

}  // namespace velmora::linux_backend
