#include "platform/mac/MacUserNotificationCenter.h"

#include "base/Mutex.h"
#include "platform/mac/ObjectiveC.h"
#include "platform/mac/SystemExceptions.h"

#import <UserNotifications/UserNotifications.h>
#include <array>
#include <string_view>
#include <utility>

namespace velmora::mac_backend {

namespace {

using platform::NotificationContent;
using platform::NotificationResponse;
using platform::UserNotificationCenterDelegate;

/// The key under which a notification says whose it is. The user of the seam does not see it.
constexpr std::string_view centreKey = "com.velmora.centre";
constexpr std::array<std::string_view, 2> centreNames{"ordinary", "quiet"};

/// What both centres share. The delegates are asked for on any thread.
class Hub;

}  // namespace

}  // namespace velmora::mac_backend

/// Passes on what the system says.
@interface VelmoraNotificationReceiver : NSObject <UNUserNotificationCenterDelegate> {
    std::weak_ptr<velmora::mac_backend::Hub> _hub;
}
- (void)setHub:(std::weak_ptr<velmora::mac_backend::Hub>)hub;
@end

namespace velmora::mac_backend {

namespace {

NotificationContent contentOf(UNNotificationContent* content)
{
    NotificationContent result;
    result.title = textOf(content.title);
    result.body = textOf(content.body);
    result.playsDefaultSound = content.sound != nil;
    result.categoryIdentifier = textOf(content.categoryIdentifier);
    NSDictionary<NSString*, NSString*>* const userInfo = content.userInfo;
    NSArray<NSString*>* const keys = userInfo.allKeys;
    for (NSUInteger index = 0; index < keys.count; ++index) {
        NSString* const key = [keys objectAtIndex:index];
        result.userInfo.emplace(textOf(key), textOf([userInfo objectForKey:key]));
    }
    result.userInfo.erase(std::string{centreKey});
    return result;
}

std::size_t centreOf(UNNotificationContent* content)
{
    return textOf([content.userInfo objectForKey:textFrom(centreKey)]) == centreNames[1] ? 1 : 0;
}

UNNotificationCategory* categoryOf(const platform::NotificationCategory& category)
{
    NSMutableArray<UNNotificationAction*>* const actions = [[NSMutableArray alloc] init];
    for (const auto& each : category.actions) {
        [actions addObject:[UNNotificationAction actionWithIdentifier:textFrom(each.identifier)
                                                                title:textFrom(each.title)
                                                              options:each.bringsToForeground ? UNNotificationActionOptionForeground
                                                                                              : UNNotificationActionOptionNone]];
    }
    // Without the option nobody hears of a notification that was closed.
    return [UNNotificationCategory categoryWithIdentifier:textFrom(category.identifier)
                                                  actions:actions
                                        intentIdentifiers:[[NSMutableArray alloc] init]
                                                  options:UNNotificationCategoryOptionCustomDismissAction];
}

UNNotificationRequest* requestOf(const platform::NotificationRequest& request, std::size_t centre)
{
    UNMutableNotificationContent* const content = [[UNMutableNotificationContent alloc] init];
    content.title = textFrom(request.content.title);
    content.body = textFrom(request.content.body);
    content.categoryIdentifier = textFrom(request.content.categoryIdentifier);
    if (request.content.playsDefaultSound)
        content.sound = UNNotificationSound.defaultSound;
    content.interruptionLevel = centre == 1 ? UNNotificationInterruptionLevelPassive : UNNotificationInterruptionLevelActive;
    NSMutableDictionary<NSString*, NSString*>* const userInfo = [[NSMutableDictionary alloc] init];
    for (const auto& [key, value] : request.content.userInfo)
        [userInfo setObject:textFrom(value) forKey:textFrom(key)];
    [userInfo setObject:textFrom(centreNames[centre]) forKey:textFrom(centreKey)];
    content.userInfo = userInfo;
    return [UNNotificationRequest requestWithIdentifier:textFrom(request.identifier) content:content trigger:nil];
}

std::string actionOf(NSString* identifier)
{
    const auto action = textOf(identifier);
    if (action == textOf(UNNotificationDefaultActionIdentifier))
        return std::string{NotificationResponse::defaultActionIdentifier};
    if (action == textOf(UNNotificationDismissActionIdentifier))
        return std::string{NotificationResponse::dismissActionIdentifier};
    return action;
}

class Hub : public std::enable_shared_from_this<Hub> {
public:
    Hub() = default;
    Hub(const Hub&) = delete;
    Hub& operator=(const Hub&) = delete;
    ~Hub()
    {
        @autoreleasepool {
            if (receiver_) {
                // The system holds its delegate weakly.
                center_.delegate = nil;
                receiver_ = nil;
                center_ = nil;
            }
        }
    }

    /// nil in a process that has none. The first call makes this program's the one that hears what users do.
    UNUserNotificationCenter* center()
    {
        if (!center_ && NSBundle.mainBundle.bundleIdentifier) {
            // That there is a bundle may not be enough.
            if (thrownBy([&] { center_ = [UNUserNotificationCenter currentNotificationCenter]; }))
                return nil;
            receiver_ = [[VelmoraNotificationReceiver alloc] init];
            [receiver_ setHub:weak_from_this()];
            center_.delegate = receiver_;
        }
        return center_;
    }

    void setDelegate(std::size_t centre, std::weak_ptr<UserNotificationCenterDelegate> delegate)
    {
        MutexLock lock(mutex_);
        delegates_[centre] = std::move(delegate);
    }

    std::shared_ptr<UserNotificationCenterDelegate> delegate(std::size_t centre)
    {
        MutexLock lock(mutex_);
        return delegates_[centre].lock();
    }

    /// Those of both, because the system's replace what was set before.
    void setCategories(std::size_t centre, std::vector<platform::NotificationCategory> categories)
    {
        categories_[centre] = std::move(categories);
        NSMutableArray<UNNotificationCategory*>* const all = [[NSMutableArray alloc] init];
        for (const auto& ofOne : categories_) {
            for (const auto& each : ofOne)
                [all addObject:categoryOf(each)];
        }
        [center() setNotificationCategories:[NSSet setWithArray:all]];
    }

private:
    UNUserNotificationCenter* center_ = nil;
    VelmoraNotificationReceiver* receiver_ = nil;
    std::array<std::vector<platform::NotificationCategory>, 2> categories_;
    Mutex mutex_;
    std::array<std::weak_ptr<UserNotificationCenterDelegate>, 2> delegates_ GUARDED_BY(mutex_);
};

Error noBundle()
{
    return {"Velmora.Unavailable", 1, "A program without a bundle has no notifications.", nullptr};
}

class MacUserNotificationCenter final : public platform::UserNotificationCenter {
public:
    MacUserNotificationCenter(std::shared_ptr<Hub> hub, std::size_t centre) : hub_(std::move(hub)), centre_(centre) { }

    void setDelegate(std::weak_ptr<UserNotificationCenterDelegate> delegate) override
    {
        @autoreleasepool {
            hub_->setDelegate(centre_, std::move(delegate));
            // An answer to a notification of an earlier run is waiting for it.
            static_cast<void>(hub_->center());
        }
    }

    void setNotificationCategories(std::vector<platform::NotificationCategory> categories) override
    {
        @autoreleasepool {
            hub_->setCategories(centre_, std::move(categories));
        }
    }

    void getAuthorizationStatus(UniqueFunction<void(platform::AuthorizationStatus)> completion) override
    {
        @autoreleasepool {
            UNUserNotificationCenter* const center = hub_->center();
            if (!center)
                return completion(platform::AuthorizationStatus::denied);
            const auto once = std::make_shared<UniqueFunction<void(platform::AuthorizationStatus)>>(std::move(completion));
            [center getNotificationSettingsWithCompletionHandler:^(UNNotificationSettings* settings) {
                if (auto answered = std::exchange(*once, nullptr))
                    answered(statusOf(settings.authorizationStatus));
            }];
        }
    }

    void requestAuthorization(unsigned options, UniqueFunction<void(Result<bool>)> completion) override
    {
        @autoreleasepool {
            UNUserNotificationCenter* const center = hub_->center();
            if (!center)
                return completion(fail(noBundle()));
            const auto once = std::make_shared<UniqueFunction<void(Result<bool>)>>(std::move(completion));
            [center requestAuthorizationWithOptions:options
                                  completionHandler:^(BOOL granted, NSError* error) {
                                      auto answered = std::exchange(*once, nullptr);
                                      if (!answered)
                                          return;
                                      if (error)
                                          answered(fail(errorOf(error, "Notifications cannot be asked for.")));
                                      else
                                          answered(granted != NO);
                                  }];
        }
    }

    using platform::UserNotificationCenter::add;
    void add(const platform::NotificationRequest& request, UniqueFunction<void(Result<void>)> completion) override
    {
        @autoreleasepool {
            UNUserNotificationCenter* const center = hub_->center();
            if (!center)
                return completion(fail(noBundle()));
            const auto once = std::make_shared<UniqueFunction<void(Result<void>)>>(std::move(completion));
            @try {
                [center addNotificationRequest:requestOf(request, centre_)
                         withCompletionHandler:^(NSError* error) {
                             auto answered = std::exchange(*once, nullptr);
                             if (!answered)
                                 return;
                             if (error)
                                 answered(fail(errorOf(error, "The notification cannot be shown.")));
                             else
                                 answered({});
                         }];
            } @catch (NSException* exception) {
                answerThrown(once, exception);
            }
        }
    }

private:
    /// A Mac has none that ends by itself.
    static platform::AuthorizationStatus statusOf(UNAuthorizationStatus status)
    {
        switch (status) {
        case UNAuthorizationStatusDenied:
            return platform::AuthorizationStatus::denied;
        case UNAuthorizationStatusAuthorized:
            return platform::AuthorizationStatus::authorized;
        case UNAuthorizationStatusProvisional:
            return platform::AuthorizationStatus::provisional;
        default:
            return platform::AuthorizationStatus::notDetermined;
        }
    }

    const std::shared_ptr<Hub> hub_;
    const std::size_t centre_;
};

}  // namespace

UserNotificationCenters makeUserNotificationCenters()
{
    const auto hub = std::make_shared<Hub>();
    return {std::make_shared<MacUserNotificationCenter>(hub, 0), std::make_shared<MacUserNotificationCenter>(hub, 1)};
}

}  // namespace velmora::mac_backend

@implementation VelmoraNotificationReceiver

- (void)setHub:(std::weak_ptr<velmora::mac_backend::Hub>)hub
{
    _hub = std::move(hub);
}

- (void)userNotificationCenter:(UNUserNotificationCenter*)center
       willPresentNotification:(UNNotification*)notification
         withCompletionHandler:(void (^)(UNNotificationPresentationOptions options))completionHandler
{
    using namespace velmora::mac_backend;
    UNNotificationContent* const content = notification.request.content;
    const auto hub = _hub.lock();
    const auto delegate = hub ? hub->delegate(centreOf(content)) : nullptr;
    if (!delegate)
        return completionHandler(0);
    delegate->willPresent(contentOf(content), [completionHandler](unsigned options) { completionHandler(options); });
}

- (void)userNotificationCenter:(UNUserNotificationCenter*)center
    didReceiveNotificationResponse:(UNNotificationResponse*)response
             withCompletionHandler:(void (^)(void))completionHandler
{
    using namespace velmora::mac_backend;
    UNNotificationContent* const content = response.notification.request.content;
    const auto hub = _hub.lock();
    const auto delegate = hub ? hub->delegate(centreOf(content)) : nullptr;
    if (!delegate)
        return completionHandler();
    delegate->didReceive({actionOf(response.actionIdentifier), contentOf(content)}, [completionHandler] { completionHandler(); });
}

@end
