// Seam: the icons of the applications whose windows are listed.
#pragma once

#include "base/UniqueFunction.h"
#include "platform/ApplicationIcon.h"

#include <cstdint>
#include <vector>

namespace velmora::platform {

class WindowIcons {
public:
    /// False: no more are wanted.
    using Found = UniqueFunction<bool(std::uint32_t windowID, ApplicationIcon icon)>;

    virtual ~WindowIcons() = default;

    /// Looks for the icons of windows that were listed, and returns at once. `found` is called for each window that has one, in their order,
    /// on any thread, with a picture of `side` by `side` pixels (at most 256). Windows without one that can be used are passed over.
    virtual void findIcons(std::vector<std::uint32_t> windowIDs, int side, Found found) = 0;
};

}  // namespace velmora::platform
