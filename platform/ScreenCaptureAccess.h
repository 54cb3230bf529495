// Seam: whether this process may capture the screen.
#pragma once

#include <functional>
#include <string>

namespace velmora::platform {

/// Main thread only.
class ScreenCaptureAccess {
public:
    virtual ~ScreenCaptureAccess() = default;

    /// Prompts nobody.
    [[nodiscard]] virtual bool preflightScreenCaptureAccess() = 0;

    /// May show the system's own prompt; true when access is there afterwards.
    virtual bool requestScreenCaptureAccess() = 0;

    /// Where the answer takes its time, preflightScreenCaptureAccess() tells what is known, which is access as long as nothing is, and
    /// `changed` is called on the main thread when it has come to know better. It replaces the observer before; none ends that.
    virtual void observeAccess(std::function<void()> /*changed*/) { }

    /// One sentence on why there is no access, as the last call found it; empty when there is access or nothing more is known.
    [[nodiscard]] virtual std::string explanation() const = 0;
};

}  // namespace velmora::platform
