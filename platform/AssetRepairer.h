// Seam: making whole, or tidying up, what was cut off.
#pragma once

#include "base/Result.h"

#include <cstddef>
#include <filesystem>

namespace velmora::platform {

class AssetRepairer {
public:
    enum class Outcome { repaired, nothingToDo };

    virtual ~AssetRepairer() = default;

    /// Finishes an unfinished recording of ours in place. A file that is whole already is left alone; every other file (one that a
    /// recorder still holds, one of another maker, a damaged one) is an error and is never written. Any thread; takes as long as the disk.
    virtual Result<Outcome> repair(const std::filesystem::path& file) = 0;

    /// Removes from `directory` what exports of ours left there that were killed; what belongs to one that runs, in any process, stays.
    /// How many files were removed. Any thread.
    virtual std::size_t removeAbandonedExports(const std::filesystem::path& directory) = 0;
};

}  // namespace velmora::platform
