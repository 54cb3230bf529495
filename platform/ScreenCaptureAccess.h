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

    /// If the answer takes its time, preflightScreenCaptureAccess() tells what is known (access, as long as nothing is), and
    /// `changed` is called on the main thread once it knows better. It replaces the previous observer; an empty one ends that.
    virtual void observeAccess(std::function<void()> /*changed*/) { }

    /// One sentence on why there is no access, as the last call found it; empty when there is access or nothing more is known.
    [[nodiscard]] virtual std::string explanation() const = 0;
};

}  // namespace velmora::platform
