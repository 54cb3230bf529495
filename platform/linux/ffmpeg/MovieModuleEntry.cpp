#include "platform/linux/ffmpeg/LibavMovieCodecs.h"
#include "platform/linux/ffmpeg/MovieModule.h"

#include <string_view>
#include <type_traits>

extern "C" {
#include <libavutil/log.h>
}

namespace velmora::linux_backend {

namespace {

class LibavMovieModule final : public MovieModule {
public:
    // What fails comes back as a status.
    LibavMovieModule() { av_log_set_level(AV_LOG_QUIET); }
    std::unique_ptr<engine::MovieCodecs> makeMovieCodecs() override { return std::make_unique<LibavMovieCodecs>(); }
};

}  // namespace

}  // namespace velmora::linux_backend

extern "C" __attribute__((visibility("default"))) velmora::linux_backend::MovieModule* velmoraMakeMovieModule(const char* programVersion)
{
    if (std::string_view{programVersion} != VELMORA_VERSION)
        return nullptr;
    return new velmora::linux_backend::LibavMovieModule;
}

// The entry is found by its name; this holds it to its type.
static_assert(std::is_same_v<decltype(velmoraMakeMovieModule), velmora::linux_backend::MovieModuleEntry>);
