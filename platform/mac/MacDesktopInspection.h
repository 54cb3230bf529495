// What a Mac and its user's permissions have of what a recording needs.
#pragma once

#include "platform/CompressionSession.h"
#include "platform/DesktopInspection.h"
#include "platform/FileManager.h"
#include "platform/HotKeyCenter.h"
#include "platform/ScreenCaptureAccess.h"
#include "platform/UserNotificationCenter.h"

#include <memory>
#include <string>

namespace velmora::mac_backend {

/// Who is asked.
struct InspectedServices {
    std::string system;  ///< its name and version
    std::shared_ptr<platform::ScreenCaptureAccess> screenCaptureAccess;
    std::shared_ptr<platform::CompressionSessionFactory> compressionSessions;
    std::shared_ptr<platform::HotKeyCenter> hotKeyCenter;
    std::shared_ptr<platform::UserNotificationCenter> userNotificationCenter;
    std::shared_ptr<platform::FileManager> fileManager;
};

/// What can hang is asked on threads of its own, which are left behind where it does. Asks the user nothing. The sound, a tray and a portal
/// are nothing that a Mac could lack, and a running program cannot be asked there yet: it is a failure that says so.
[[nodiscard]] std::unique_ptr<platform::DesktopInspection> makeDesktopInspection(InspectedServices services);

}  // namespace velmora::mac_backend
