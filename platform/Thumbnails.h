// Seam: the small pictures of files that all programs of a desktop share.
#pragma once

#include "base/Result.h"
#include "base/UniqueFunction.h"
#include "media/PixelBuffer.h"

#include <filesystem>

namespace velmora::platform {

/// Main thread. Each call returns at once; its completion comes exactly once, on any thread. `side` is the number of pixels that the longer
/// side of the picture is needed with; it may have more, and has fewer only where the file's own picture does.
class Thumbnails {
public:
    using Completion = UniqueFunction<void(Result<PixelBufferRef>)>;

    virtual ~Thumbnails() = default;

    /// The picture that some program has kept of the file as it is now; null where there is none.
    virtual void find(const std::filesystem::path& file, int side, Completion completion) = 0;

    /// Makes one of a clip, and keeps it for all programs, if that is possible. Waits for those that were asked for before.
    virtual void make(const std::filesystem::path& file, int side, Completion completion) = 0;
};

}  // namespace velmora::platform
