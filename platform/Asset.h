// Seam: what is in a media file.
#pragma once

#include "base/Result.h"
#include "base/UniqueFunction.h"
#include "media/MediaTime.h"
#include "media/PixelBuffer.h"

#include <cstdint>
#include <filesystem>
#include <vector>

namespace velmora::platform {

/// Main thread or any other; completions come on any thread, exactly once. Files are read on a separate thread, never written.
class AssetReader {
public:
    virtual ~AssetReader() = default;

    /// The duration in the file's own time scale. Fails for what is not a readable movie, and, unopened, for what is not a regular file.
    virtual void loadDuration(const std::filesystem::path& file, UniqueFunction<void(Result<MediaTime>)> completion) = 0;

    /// When each picture begins to be shown, ascending. Fails where the file has none.
    virtual void loadPictureTimes(const std::filesystem::path& file, UniqueFunction<void(Result<std::vector<MediaTime>>)> completion) = 0;

    /// The picture shown at `time`, upright, in pixels, scaled down to fit `maximumWidth` x `maximumHeight` with its shape kept.
    virtual void generateImage(const std::filesystem::path& file, MediaTime time, std::int32_t maximumWidth, std::int32_t maximumHeight,
        UniqueFunction<void(Result<PixelBufferRef>)> completion) = 0;
};

}  // namespace velmora::platform
