// Seam: making whole, or tidying up, what was cut short.
#pragma once

#include "base/Result.h"

#include <cstddef>
#include <filesystem>

namespace velmora::platform {

class AssetRepairer {
public:
    enum class Outcome { repaired, nothingToDo };

    virtual ~AssetRepairer() = default;

    /// Finishes an unfinished recording of ours in place. A file that is already whole is left alone; every other file (one that a
    /// recorder still holds, another program's, a damaged one) is an error and is never written. Any thread; takes as long as the disk.
    virtual Result<Outcome> repair(const std::filesystem::path& file) = 0;

    /// Removes from `directory` what killed exports of ours left there; what belongs to a running one, in any process, stays.
    /// Returns how many files were removed. Any thread.
    virtual std::size_t removeAbandonedExports(const std::filesystem::path& directory) = 0;
};

}  // namespace velmora::platform
