// What the back end uses of notifications, one page for each class below https://developer.apple.com/documentation/usernotifications/ ;
// compared with pages: the selectors of the delegate (https://docs.rs/objc2-user-notifications/0.3.0), of the category
// (https://developer.apple.com/documentation/usernotifications/unnotificationcategory/init(identifier:actions:intentidentifiers:options:)) and
// of the action (https://learn.microsoft.com/en-us/dotnet/api/usernotifications.unnotificationaction.fromidentifier). Methods that pages
// call optional are required here, so that a misspelt one is an error.
#pragma once

#import <Foundation/Foundation.h>

@class UNUserNotificationCenter;

/// https://developer.apple.com/documentation/usernotifications/unauthorizationstatus ; the numbers are in
/// https://learn.microsoft.com/en-us/dotnet/api/usernotifications.unauthorizationstatus
typedef NSInteger UNAuthorizationStatus;
enum : UNAuthorizationStatus {
    UNAuthorizationStatusNotDetermined = 0,
    UNAuthorizationStatusDenied = 1,
    UNAuthorizationStatusAuthorized = 2,
    UNAuthorizationStatusProvisional = 3
};
/// https://developer.apple.com/documentation/usernotifications/unauthorizationoptions ; the numbers are in
/// https://learn.microsoft.com/en-us/dotnet/api/usernotifications.unauthorizationoptions
typedef NSUInteger UNAuthorizationOptions;
enum : UNAuthorizationOptions { UNAuthorizationOptionBadge = 1, UNAuthorizationOptionSound = 2, UNAuthorizationOptionAlert = 4 };
/// https://developer.apple.com/documentation/usernotifications/unnotificationpresentationoptions ; the numbers are in
/// https://learn.microsoft.com/en-us/dotnet/api/usernotifications.unnotificationpresentationoptions
typedef NSUInteger UNNotificationPresentationOptions;
enum : UNNotificationPresentationOptions { UNNotificationPresentationOptionSound = 2, UNNotificationPresentationOptionBanner = 16 };

/// https://developer.apple.com/documentation/usernotifications/unnotificationactionoptions ; the numbers are in
/// https://learn.microsoft.com/en-us/dotnet/api/usernotifications.unnotificationactionoptions
typedef NSUInteger UNNotificationActionOptions;
enum : UNNotificationActionOptions { UNNotificationActionOptionNone = 0, UNNotificationActionOptionForeground = 4 };

/// https://developer.apple.com/documentation/usernotifications/unnotificationcategoryoptions ; the number is in
/// https://learn.microsoft.com/en-us/dotnet/api/usernotifications.unnotificationcategoryoptions
typedef NSUInteger UNNotificationCategoryOptions;
enum : UNNotificationCategoryOptions { UNNotificationCategoryOptionCustomDismissAction = 1 };
/// https://developer.apple.com/documentation/usernotifications/unnotificationinterruptionlevel ; the numbers are in
/// https://docs.rs/objc2-user-notifications/0.3.2/src/objc2_user_notifications/generated/UNNotificationContent.rs.html
typedef NSUInteger UNNotificationInterruptionLevel;
enum : UNNotificationInterruptionLevel { UNNotificationInterruptionLevelPassive = 0, UNNotificationInterruptionLevelActive = 1 };

extern "C" {
/// https://docs.rs/objc2-user-notifications/0.3.2/objc2_user_notifications/static.UNNotificationDefaultActionIdentifier.html
extern NSString* const UNNotificationDefaultActionIdentifier;
/// https://developer.apple.com/documentation/usernotifications/unnotificationdismissactionidentifier
extern NSString* const UNNotificationDismissActionIdentifier;
}

/// https://developer.apple.com/documentation/usernotifications/unnotificationsettings
@interface UNNotificationSettings : NSObject
/// https://developer.apple.com/documentation/usernotifications/unnotificationsettings/authorizationstatus
@property (readonly) UNAuthorizationStatus authorizationStatus;
@end

/// https://developer.apple.com/documentation/usernotifications/unnotificationsound
@interface UNNotificationSound : NSObject
/// https://developer.apple.com/documentation/usernotifications/unnotificationsound/default
@property (class, readonly) UNNotificationSound* defaultSound;
@end

/// https://learn.microsoft.com/en-us/dotnet/api/usernotifications.unnotificationaction
@interface UNNotificationAction : NSObject
/// https://learn.microsoft.com/en-us/dotnet/api/usernotifications.unnotificationaction.fromidentifier
+ (instancetype)actionWithIdentifier:(NSString*)identifier title:(NSString*)title options:(UNNotificationActionOptions)options;
@end

/// https://developer.apple.com/documentation/usernotifications/unnotificationcategory
@interface UNNotificationCategory : NSObject
/// https://developer.apple.com/documentation/usernotifications/unnotificationcategory/init(identifier:actions:intentidentifiers:options:)
+ (instancetype)categoryWithIdentifier:(NSString*)identifier
                               actions:(NSArray<UNNotificationAction*>*)actions
                     intentIdentifiers:(NSArray<NSString*>*)intentIdentifiers
                               options:(UNNotificationCategoryOptions)options;
@end

/// https://developer.apple.com/documentation/usernotifications/unnotificationcontent
@interface UNNotificationContent : NSObject
/// https://learn.microsoft.com/en-us/dotnet/api/usernotifications.unnotificationcontent.title?view=net-ios-26.1-10.0
@property (readonly, copy) NSString* title;
/// https://onestack.dev/ios-reference/UserNotifications/UNNotificationContent
@property (readonly, copy) NSString* body;
/// https://developer.apple.com/documentation/usernotifications/unnotificationcontent/categoryidentifier
@property (readonly, copy) NSString* categoryIdentifier;
/// https://developer.apple.com/documentation/usernotifications/unnotificationcontent
@property (readonly, copy) NSDictionary* userInfo;
/// https://developer.apple.com/documentation/usernotifications/unnotificationcontent/sound : may be nil
@property (readonly, copy) UNNotificationSound* sound;
@end

/// https://developer.apple.com/documentation/usernotifications/unmutablenotificationcontent
@interface UNMutableNotificationContent : UNNotificationContent
/// https://docs.rs/rust-macios/latest/rust_macios/user_notifications/struct.UNMutableNotificationContent.html (setTitle:)
@property (readwrite, copy) NSString* title;
/// https://docs.rs/objc2-user-notifications/0.3.2/objc2_user_notifications/struct.UNMutableNotificationContent.html
@property (readwrite, copy) NSString* body;
/// https://docs.rs/objc2-user-notifications/0.3.2/objc2_user_notifications/struct.UNMutableNotificationContent.html
@property (readwrite, copy) NSString* categoryIdentifier;
/// https://docs.rs/rust-macios/latest/rust_macios/user_notifications/struct.UNMutableNotificationContent.html (setUserInfo:)
@property (readwrite, copy) NSDictionary* userInfo;
/// https://docs.rs/objc2-user-notifications/0.3.2/objc2_user_notifications/struct.UNMutableNotificationContent.html
@property (readwrite, copy) UNNotificationSound* sound;
/// https://learn.microsoft.com/en-us/dotnet/api/usernotifications.unmutablenotificationcontent.interruptionlevel
@property (readwrite) UNNotificationInterruptionLevel interruptionLevel;
@end

/// https://developer.apple.com/documentation/usernotifications/unnotificationtrigger
@interface UNNotificationTrigger : NSObject
@end

/// https://developer.apple.com/documentation/usernotifications/unnotificationrequest
@interface UNNotificationRequest : NSObject
/// https://developer.apple.com/documentation/usernotifications/unnotificationrequest/init(identifier:content:trigger:) : without a trigger
/// at once
+ (instancetype)requestWithIdentifier:(NSString*)identifier content:(UNNotificationContent*)content trigger:(UNNotificationTrigger*)trigger;
/// https://onestack.dev/ios-reference/UserNotifications/UNNotificationRequest
@property (readonly, copy) UNNotificationContent* content;
@end

/// https://developer.apple.com/documentation/usernotifications/unnotification
@interface UNNotification : NSObject
/// https://developer.apple.com/documentation/usernotifications/unnotification/request
@property (readonly, copy) UNNotificationRequest* request;
@end

/// https://developer.apple.com/documentation/usernotifications/unnotificationresponse
@interface UNNotificationResponse : NSObject
/// https://developer.apple.com/documentation/usernotifications/unnotificationresponse/notification
@property (readonly, copy) UNNotification* notification;
/// https://developer.apple.com/documentation/usernotifications/unnotificationresponse/actionidentifier
@property (readonly, copy) NSString* actionIdentifier;
@end

/// https://developer.apple.com/documentation/usernotifications/unusernotificationcenterdelegate
@protocol UNUserNotificationCenterDelegate <NSObject>
/// https://developer.apple.com/documentation/usernotifications/unusernotificationcenterdelegate/usernotificationcenter(_:willpresent:withcompletionhandler:)
- (void)userNotificationCenter:(UNUserNotificationCenter*)center
       willPresentNotification:(UNNotification*)notification
         withCompletionHandler:(void (^)(UNNotificationPresentationOptions options))completionHandler;
/// https://docs.rs/objc2-user-notifications/0.3.0/objc2_user_notifications/trait.UNUserNotificationCenterDelegate.html
- (void)userNotificationCenter:(UNUserNotificationCenter*)center
    didReceiveNotificationResponse:(UNNotificationResponse*)response
             withCompletionHandler:(void (^)(void))completionHandler;
@end

/// https://developer.apple.com/documentation/usernotifications/unusernotificationcenter
@interface UNUserNotificationCenter : NSObject
/// https://docs.rs/objc2-user-notifications/0.2.0/objc2_user_notifications/struct.UNUserNotificationCenter.html
+ (UNUserNotificationCenter*)currentNotificationCenter;
/// https://developer.apple.com/library/content/releasenotes/General/watchOS31APIDiffs/Swift/UserNotifications.html : weak in the system's
/// headers
@property (assign) id<UNUserNotificationCenterDelegate> delegate;
/// https://docs.rs/objc2-user-notifications/0.2.0/objc2_user_notifications/struct.UNUserNotificationCenter.html
- (void)setNotificationCategories:(NSSet<UNNotificationCategory*>*)categories;
/// https://docs.rs/objc2-user-notifications/0.2.0/objc2_user_notifications/struct.UNUserNotificationCenter.html
- (void)getNotificationSettingsWithCompletionHandler:(void (^)(UNNotificationSettings* settings))completionHandler;
/// https://docs.rs/objc2-user-notifications/0.2.0/objc2_user_notifications/struct.UNUserNotificationCenter.html
- (void)requestAuthorizationWithOptions:(UNAuthorizationOptions)options
                      completionHandler:(void (^)(BOOL granted, NSError* error))completionHandler;
/// https://developer.apple.com/library/content/releasenotes/General/watchOS31APIDiffs/Swift/UserNotifications.html ,
/// https://docs.rs/objc2-user-notifications/0.2.0/objc2_user_notifications/struct.UNUserNotificationCenter.html
- (void)addNotificationRequest:(UNNotificationRequest*)request withCompletionHandler:(void (^)(NSError* error))completionHandler;
@end
