// Inside the Linux back end: what the player module gives. libmpv costs 19 MB and 30 to 60 ms at program start even unused, so it lives in a
// module that is loaded when the first file is played.
#pragma once

#include "base/SerialQueue.h"
#include "platform/Player.h"

#include <memory>
#include <vector>

namespace velmora::linux_backend {

/// Finds out when each picture of a file begins; the answer comes once, on any thread, and may be empty.
using LoadPictureTimes = UniqueFunction<void(UniqueFunction<void(std::vector<MediaTime>)>)>;

class PlayerModule {
public:
    virtual ~PlayerModule() = default;

    /// `mainExecutor` is the thread of the caller.
    virtual Result<std::unique_ptr<platform::Player>> makePlayer(
        const std::filesystem::path& file, LoadPictureTimes loadPictureTimes, std::shared_ptr<Executor> mainExecutor) = 0;
};

/// Makes the module's object, which the caller owns, for a program of version `programVersion`; null when the module has another version.
using PlayerModuleEntry = PlayerModule*(const char* programVersion);

inline constexpr const char* playerModuleEntryName = "velmoraMakePlayerModule";
inline constexpr const char* playerModuleFileName = "velmora_player.so";

}  // namespace velmora::linux_backend
