#include "platform/linux/mpv/MpvPlayer.h"

#include <string_view>

namespace velmora::linux_backend {

namespace {

class MpvPlayerModule final : public PlayerModule {
public:
    Result<std::unique_ptr<platform::Player>> makePlayer(
        const std::filesystem::path& file, LoadPictureTimes loadPictureTimes, std::shared_ptr<Executor> mainExecutor) override
    {
        return makeMpvPlayer(file, std::move(loadPictureTimes), std::move(mainExecutor));
    }
};

}  // namespace

}  // namespace velmora::linux_backend

extern "C" __attribute__((visibility("default"))) velmora::linux_backend::PlayerModule* velmoraMakePlayerModule(const char* programVersion)
{
    if (std::string_view{programVersion} != VELMORA_VERSION)
        return nullptr;
    return new velmora::linux_backend::MpvPlayerModule;
}

// The entry is found by its name; this holds it to its type.
static_assert(std::is_same_v<decltype(velmoraMakePlayerModule), velmora::linux_backend::PlayerModuleEntry>);
