// A player by libmpv, whose pictures are drawn by software into memory.
#pragma once

#include "platform/linux/mpv/PlayerModule.h"

namespace velmora::linux_backend {

/// The domain of libmpv's errors; the codes are its own.
inline constexpr std::string_view mpvErrorDomain = "mpv";

/// LC_NUMERIC has to be "C". Nothing of the user's own configuration counts, nothing is stored, and no network is used.
Result<std::unique_ptr<platform::Player>> makeMpvPlayer(
    const std::filesystem::path& file, LoadPictureTimes loadPictureTimes, std::shared_ptr<Executor> mainExecutor);

}  // namespace velmora::linux_backend
