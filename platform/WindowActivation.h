// Seam: bringing a window of ours to where the user is.
#pragma once

#include <cstdint>

namespace velmora::platform {

/// Main thread only.
class WindowActivation {
public:
    virtual ~WindowActivation() = default;

    /// Moves the window to the current workspace, raises it and gives it the focus, as far as the desktop lets a program do that. The
    /// window is on the screen already. `nativeWindow` is the window system's identifier.
    virtual void activate(std::uint64_t nativeWindow) = 0;
};

}  // namespace velmora::platform
