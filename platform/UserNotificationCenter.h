// Seam: notifications to the user, with actions.
#pragma once

#include "base/Result.h"
#include "base/UniqueFunction.h"

#include <chrono>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace velmora::platform {

enum class AuthorizationStatus { notDetermined = 0, denied = 1, authorized = 2, provisional = 3, ephemeral = 4 };

namespace authorization_option {
inline constexpr unsigned badge = 1;
inline constexpr unsigned sound = 2;
inline constexpr unsigned alert = 4;
}  // namespace authorization_option

namespace presentation_option {
inline constexpr unsigned sound = 2;
inline constexpr unsigned banner = 16;
}  // namespace presentation_option

struct NotificationAction {
    std::string identifier;
    std::string title;
    bool bringsToForeground = false;

    friend bool operator==(const NotificationAction&, const NotificationAction&) = default;
};

struct NotificationCategory {
    std::string identifier;
    std::vector<NotificationAction> actions;

    friend bool operator==(const NotificationCategory&, const NotificationCategory&) = default;
};

/// All texts are plain text: a platform that reads markup gets them escaped.
struct NotificationContent {
    std::string title;
    std::string body;
    bool playsDefaultSound = false;
    std::string categoryIdentifier;
    std::map<std::string, std::string> userInfo;

    /// The least time that it is to stay on the screen, if the desktop lets a program ask for that; 0: as long as others.
    std::chrono::milliseconds leastTimeOnScreen{0};

    friend bool operator==(const NotificationContent&, const NotificationContent&) = default;
};

struct NotificationRequest {
    std::string identifier;
    NotificationContent content;
};

/// What the user did with a notification.
struct NotificationResponse {
    /// The user clicked the notification itself, or closed it.
    static constexpr std::string_view defaultActionIdentifier = "default";
    static constexpr std::string_view dismissActionIdentifier = "dismiss";

    std::string actionIdentifier;
    NotificationContent content;
};

/// Called on any thread. Each completion is called exactly once.
class UserNotificationCenterDelegate {
public:
    virtual ~UserNotificationCenterDelegate() = default;

    /// On a platform that holds back the notifications of the active program: asks before one is shown, for presentation options. Linux
    /// desktops show them all the same and never ask.
    virtual void willPresent(const NotificationContent& content, UniqueFunction<void(unsigned)> completion) = 0;
    virtual void didReceive(const NotificationResponse& response, UniqueFunction<void()> completion) = 0;
};

/// Main thread only; completions come on any thread, exactly once, perhaps before the call returns.
class UserNotificationCenter {
public:
    virtual ~UserNotificationCenter() = default;

    virtual void setDelegate(std::weak_ptr<UserNotificationCenterDelegate> delegate) = 0;

    /// Replaces the categories that were set before.
    virtual void setNotificationCategories(std::vector<NotificationCategory> categories) = 0;

    virtual void getAuthorizationStatus(UniqueFunction<void(AuthorizationStatus)> completion) = 0;
    virtual void requestAuthorization(unsigned options, UniqueFunction<void(Result<bool>)> completion) = 0;

    /// Shows the notification at once; the completion hears whether that was possible.
    virtual void add(const NotificationRequest& request, UniqueFunction<void(Result<void>)> completion) = 0;

    /// For those who can do nothing about it.
    void add(const NotificationRequest& request)
    {
        add(request, [](const Result<void>&) {});
    }
};

}  // namespace velmora::platform
