// Seam: files that people give other names, or put into the desktop's trash and take out again.
#pragma once

#include "base/Result.h"

#include <filesystem>

namespace velmora::platform {

/// A file that lies in the trash because the user wants it there.
struct TrashedFile {
    std::filesystem::path origin;  ///< where it lay
    std::filesystem::path file;  ///< where it lies now
    std::filesystem::path record;  ///< what is kept about it, for FileMover alone

    friend bool operator==(const TrashedFile&, const TrashedFile&) = default;
};

/// Replaces nothing, and does not touch a file into which somebody is writing a clip: EBUSY. Of a link, the link is meant. Safe on any thread;
/// waits for the disk, but no longer for a large file. After a failure the file is where it was; errors are the system's.
class FileMover {
public:
    virtual ~FileMover() = default;

    /// Gives the file another name in its folder: EEXIST where something has it.
    virtual Result<void> rename(const std::filesystem::path& file, const std::filesystem::path& newPath) = 0;

    /// Where every file browser lists it and restores it. Fails where no trash can be reached.
    virtual Result<TrashedFile> moveToTrash(const std::filesystem::path& file) = 0;

    /// Puts it back to where it lay and returns its path: that with a counter where something else has the name by now. Fails with ENOENT
    /// where it is no longer in the trash, or its folder is gone.
    virtual Result<std::filesystem::path> putBack(const TrashedFile& trashed) = 0;
};

}  // namespace velmora::platform
