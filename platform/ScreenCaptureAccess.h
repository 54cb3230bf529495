// Seam: whether this process may capture the screen.
#pragma once

#include <functional>
#include <string>

namespace velmora::platform {

/// A desktop whose answer takes its time: preflightScreenCaptureAccess() says what is known, and assumes access as long as nothing is. Main
/// thread only.
class LateAccess {
public:
    virtual ~LateAccess() = default;

    /// `changed` is called on the main thread when the answer has come and differs. Replaces the previous observer; an empty one
    /// ends it.
    virtual void observeAccess(std::function<void()> changed) = 0;
};

/// Main thread only.
class ScreenCaptureAccess {
public:
    virtual ~ScreenCaptureAccess() = default;

    /// Prompts nobody.
    [[nodiscard]] virtual bool preflightScreenCaptureAccess() = 0;

    /// May show the system's own prompt; true when access is there afterwards.
    virtual bool requestScreenCaptureAccess() = 0;

    /// Null where what the calls above say is final. As long as this object.
    [[nodiscard]] virtual LateAccess* lateAccess() { return nullptr; }

    /// One sentence on why there is no access, as the last call found it; empty when there is access or nothing more is known.
    [[nodiscard]] virtual std::string explanation() const = 0;
};

}  // namespace velmora::platform
