// Seam: whether this process may capture the screen.
#pragma once

#include <string>

namespace velmora::platform {

/// Main thread only.
class ScreenCaptureAccess {
public:
    virtual ~ScreenCaptureAccess() = default;

    /// Asks nobody.
    [[nodiscard]] virtual bool preflightScreenCaptureAccess() = 0;

    /// May show the system's own prompt; true when access is there afterwards.
    virtual bool requestScreenCaptureAccess() = 0;

    /// One sentence on why there is no access, as the last call found it; empty when there is access or nothing more is known.
    [[nodiscard]] virtual std::string explanation() const = 0;
};

}  // namespace velmora::platform
