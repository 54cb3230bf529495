// Seam: files that people drag out of this program's windows into other programs.
#pragma once

#include "media/PixelBuffer.h"

#include <filesystem>
#include <vector>

namespace velmora::platform {

/// Main thread only.
class FileDrags {
public:
    virtual ~FileDrags() = default;

    /// Begins a drag of copies of `files`, all of them absolute paths, while the pointer's first button is held; a moment later, and not at
    /// all where that was released by then or another drag is going on. It needs no window of this program: that in which it began may
    /// vanish. `picture`, in pixels, follows the pointer; null: the desktop's own sign.
    virtual void begin(std::vector<std::filesystem::path> files, PixelBufferRef picture) = 0;
};

}  // namespace velmora::platform
