#include "platform/linux/ffmpeg/ModuleEntry.h"

#include "platform/linux/ffmpeg/LibavCodecModule.h"

#include <string_view>

extern "C" __attribute__((visibility("default"))) velmora::linux_backend::CodecModule* velmoraMakeCodecModule(const char* programVersion)
{
    if (std::string_view{programVersion} != VELMORA_VERSION)
        return nullptr;
    return new velmora::linux_backend::LibavCodecModule;
}

// The entry is found by its name; this holds it to its type.
static_assert(std::is_same_v<decltype(velmoraMakeCodecModule), velmora::linux_backend::CodecModuleEntry>);
