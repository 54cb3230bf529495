// The system's notifications on a Mac.
#pragma once

#include "platform/UserNotificationCenter.h"

#include <memory>

namespace velmora::mac_backend {

/// Two centres of the one that a process has there: each has its own categories and delegate, and the quiet one's notifications go into the
/// list without a banner. What a notification's user does comes to the centre that posted it, also in a later run of the program. A process
/// without a bundle has no notifications: every request fails, and nothing is asked of the system, which would end it.
struct UserNotificationCenters {
    std::shared_ptr<platform::UserNotificationCenter> ordinary;
    std::shared_ptr<platform::UserNotificationCenter> quiet;
};
[[nodiscard]] UserNotificationCenters makeUserNotificationCenters();

}  // namespace velmora::mac_backend
