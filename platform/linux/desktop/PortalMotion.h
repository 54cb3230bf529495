// Whether the desktop wants less motion, as its portal says.
#pragma once

#include <functional>
#include <memory>
#include <string>

namespace velmora::linux_backend {

/// org.freedesktop.portal.Settings, version 1: `enable-animations` of org.gnome.desktop.interface, which other desktops answer too, and
/// `AnimationDurationFactor` of org.kde.kdeglobals.KDE, where 0 is none. Asks a portal that is running, and one that starts later; starts
/// none. Main thread only; waits for no answer.
class PortalMotion {
public:
    /// Of the session's bus, or of the one at `busAddress`; `changed` is called after each change of `isReduced`.
    PortalMotion(const std::string& busAddress, std::function<void()> changed);
    ~PortalMotion();
    PortalMotion(const PortalMotion&) = delete;
    PortalMotion& operator=(const PortalMotion&) = delete;

    /// False until the portal has answered, and as long as it knows neither setting. What it said last still counts when it is gone.
    [[nodiscard]] bool isReduced() const;

private:
    class Settings;

    const std::unique_ptr<Settings> settings_;
};

}  // namespace velmora::linux_backend
