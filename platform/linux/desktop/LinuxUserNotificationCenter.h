// Notifications through the desktop's notification service.
#pragma once

#include "platform/UserNotificationCenter.h"

#include <filesystem>
#include <memory>
#include <string>

namespace velmora::linux_backend {

struct UserNotificationCenterOptions {
    std::filesystem::path icon;  ///< an image file to show; may be empty
    std::string busAddress;  ///< of another bus than the session's, as tests have
};

/// By freedesktop.org Desktop Notifications 1.2. Authorised exactly when a service that can show actions answers. A service that comes,
/// goes or restarts is no error; what an earlier one showed is forgotten with it.
std::shared_ptr<platform::UserNotificationCenter> makeUserNotificationCenter(UserNotificationCenterOptions options = {});

}  // namespace velmora::linux_backend
