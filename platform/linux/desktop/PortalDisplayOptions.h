// How the user wants everything on display, as the desktop's portal says.
#pragma once

#include "platform/Workspace.h"

#include <functional>
#include <memory>
#include <string>

namespace velmora::linux_backend {

/// org.freedesktop.portal.Settings, version 1, for the settings that DesktopDisplay (bus/BusInput.h) knows. Asks a portal that is running,
/// and one that starts later; starts none. Main thread only; waits for no answer.
class PortalDisplayOptions {
public:
    /// Of the session's bus, or of the one at `busAddress`; `changed` is called after each change of `options`.
    PortalDisplayOptions(const std::string& busAddress, std::function<void()> changed);
    ~PortalDisplayOptions();
    PortalDisplayOptions(const PortalDisplayOptions&) = delete;
    PortalDisplayOptions& operator=(const PortalDisplayOptions&) = delete;

    /// Nothing in particular until the portal has answered. What it said last still counts when it is gone.
    [[nodiscard]] platform::DisplayOptions options() const;

private:
    class Settings;

    const std::unique_ptr<Settings> settings_;
};

}  // namespace velmora::linux_backend
