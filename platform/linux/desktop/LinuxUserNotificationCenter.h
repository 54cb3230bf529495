// Notifications through the desktop's notification service.
#pragma once

#include "platform/ApplicationIcon.h"
#include "platform/UserNotificationCenter.h"

#include <memory>
#include <string>

namespace velmora::linux_backend {

struct UserNotificationCenterOptions {
    platform::MakeApplicationIcon makeIcon;  ///< what notifications show beside their text; may be empty
    std::string busAddress = {};  ///< of a bus other than the session's, as tests have
    bool isQuiet = false;  ///< its notifications have low urgency: a desktop shows them without insisting, or only in its list
};

/// By freedesktop.org Desktop Notifications 1.2. Authorised exactly when a service that can show actions answers. A service that comes,
/// goes or restarts is not an error; what an earlier one showed is forgotten with it.
std::shared_ptr<platform::UserNotificationCenter> makeUserNotificationCenter(UserNotificationCenterOptions options = {});

}  // namespace velmora::linux_backend
