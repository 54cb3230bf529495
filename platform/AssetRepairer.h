// Seam: making a whole file of one that was cut off.
#pragma once

#include "base/Result.h"

#include <filesystem>

namespace velmora::platform {

class AssetRepairer {
public:
    enum class Outcome { repaired, nothingToDo };

    virtual ~AssetRepairer() = default;

    /// Finishes an unfinished recording of ours in place. A file that is whole already is left alone; every other file (one that a
    /// recorder still holds, one of another maker, a damaged one) is an error and is never written. Any thread; takes as long as the disk.
    virtual Result<Outcome> repair(const std::filesystem::path& file) = 0;
};

}  // namespace velmora::platform
