#include "tests/platform/mac/objc/UserNotificationsStandIn.h"

#include "base/SerialQueue.h"
#include "tests/platform/mac/objc/ExceptionStandIn.h"
#include "tests/platform/mac/objc/FoundationStandIn.h"
#include "tests/platform/mac/standins/StandInObject.h"

#include <Block.h>
#import <UserNotifications/UserNotifications.h>
#include <atomic>
#include <cstdlib>
#include <future>
#include <utility>

using velmora::standin::makeText;
using velmora::standin::notifications;
using velmora::standin::textOfObject;

extern "C" {
NSString* const UNNotificationDefaultActionIdentifier = makeText("com.apple.UNNotificationDefaultActionIdentifier");
NSString* const UNNotificationDismissActionIdentifier = makeText("com.apple.UNNotificationDismissActionIdentifier");
}

namespace {

velmora::SerialQueue& systemQueue()
{
    static auto& queue = *new velmora::SerialQueue("com.velmora.tests.notifications");
    return queue;
}

/// Calls a completion as the switches say, on another thread.
void answer(std::function<void()> call)
{
    auto all = [call = std::move(call), isTwice = notifications().answersTwice] {
        velmora::standin::runInPool([&] {
            call();
            if (isTwice)
                call();
        });
    };
    if (notifications().answersAtOnce)
        all();
    else
        systemQueue().async(std::move(all));
}

/// A block that lives until it has been called.
struct Kept {
    explicit Kept(const void* block) : copy(_Block_copy(block)) { }
    Kept(const Kept&) = delete;
    Kept& operator=(const Kept&) = delete;
    ~Kept() { _Block_release(copy); }
    void* copy;
};

NSString* checkedText(NSString* text)
{
    if (!text)
        velmora::standin::raise(velmora::standin::invalidArgument, "nil as a text of a notification");
    return text;
}

}  // namespace

@implementation UNNotificationSettings {
@public
    UNAuthorizationStatus _authorizationStatus;
}
@end

@implementation UNNotificationSound
+ (UNNotificationSound*)defaultSound
{
    return objc_autorelease([UNNotificationSound new]);
}
@end

@implementation UNNotificationAction {
@public
    std::string _identifier;
    std::string _title;
    UNNotificationActionOptions _options;
}
+ (instancetype)actionWithIdentifier:(NSString*)identifier title:(NSString*)title options:(UNNotificationActionOptions)options
{
    UNNotificationAction* const made = [UNNotificationAction new];
    made->_identifier = checkedText(identifier).UTF8String;
    made->_title = checkedText(title).UTF8String;
    made->_options = options;
    return objc_autorelease(made);
}
@end

@implementation UNNotificationCategory {
@public
    velmora::standin::PostedCategory _category;
}
+ (instancetype)categoryWithIdentifier:(NSString*)identifier
                               actions:(NSArray*)actions
                     intentIdentifiers:(NSArray*)intentIdentifiers
                               options:(UNNotificationCategoryOptions)options
{
    // "You may specify an empty array": nil is no array.
    if (!actions || !intentIdentifiers)
        velmora::standin::raise(velmora::standin::invalidArgument, "nil as an array of a category");
    UNNotificationCategory* const made = [UNNotificationCategory new];
    made->_category.identifier = checkedText(identifier).UTF8String;
    made->_category.options = options;
    for (NSUInteger index = 0; index < actions.count; ++index) {
        UNNotificationAction* const action = [actions objectAtIndex:index];
        made->_category.actions.push_back({action->_identifier, action->_title, std::to_string(action->_options)});
    }
    return objc_autorelease(made);
}
@end

@implementation UNNotificationContent {
@public
    velmora::standin::PostedNotification _notification;
}
- (NSString*)title
{
    return objc_autorelease(makeText(_notification.title));
}
- (NSString*)body
{
    return objc_autorelease(makeText(_notification.body));
}
- (NSString*)categoryIdentifier
{
    return objc_autorelease(makeText(_notification.category));
}
- (NSDictionary*)userInfo
{
    NSMutableDictionary* const made = [NSMutableDictionary new];
    for (const auto& [key, value] : _notification.userInfo)
        [made setObject:objc_autorelease(makeText(value)) forKey:objc_autorelease(makeText(key))];
    return objc_autorelease(made);
}
- (UNNotificationSound*)sound
{
    return _notification.hasSound ? UNNotificationSound.defaultSound : nil;
}
@end

@implementation UNMutableNotificationContent
- (void)setTitle:(NSString*)title
{
    _notification.title = checkedText(title).UTF8String;
}
- (void)setBody:(NSString*)body
{
    _notification.body = checkedText(body).UTF8String;
}
- (void)setCategoryIdentifier:(NSString*)identifier
{
    _notification.category = checkedText(identifier).UTF8String;
}
- (void)setUserInfo:(NSDictionary*)userInfo
{
    _notification.userInfo = velmora::standin::textsOf(userInfo);
}
- (void)setSound:(UNNotificationSound*)sound
{
    _notification.hasSound = sound != nil;
}
- (UNNotificationInterruptionLevel)interruptionLevel
{
    return _notification.level;
}
- (void)setInterruptionLevel:(UNNotificationInterruptionLevel)level
{
    _notification.level = level;
}
@end

@implementation UNNotificationTrigger
@end

@implementation UNNotificationRequest {
@public
    UNNotificationContent* _content;
}
+ (instancetype)requestWithIdentifier:(NSString*)identifier content:(UNNotificationContent*)content trigger:(UNNotificationTrigger*)trigger
{
    // "nil to deliver the notification right away".
    if (trigger)
        velmora::standin::refuse("a notification that is to come later");
    UNNotificationRequest* const made = [UNNotificationRequest new];
    made->_content = objc_retain(content);
    made->_content->_notification.identifier = checkedText(identifier).UTF8String;
    return objc_autorelease(made);
}
- (void)dealloc
{
    objc_release(_content);
    [super dealloc];
}
@end

@implementation UNNotification {
@public
    UNNotificationRequest* _request;
}
- (void)dealloc
{
    objc_release(_request);
    [super dealloc];
}
@end

@implementation UNNotificationResponse {
@public
    UNNotification* _notification;
    NSString* _actionIdentifier;
}
- (void)dealloc
{
    objc_release(_notification);
    objc_release(_actionIdentifier);
    [super dealloc];
}
@end

namespace {
// Not held, as the system does not hold it.
id<UNUserNotificationCenterDelegate> centreDelegate = nil;
}  // namespace

@implementation UNUserNotificationCenter
+ (UNUserNotificationCenter*)currentNotificationCenter
{
    ++notifications().centresAskedFor;
    velmora::standin::throwIfAsked("currentNotificationCenter");
    if (!velmora::standin::foundation().bundleIdentifier)
        velmora::standin::raise(velmora::standin::inconsistency, "a process without a bundle has no notifications");
    return objc_autorelease([UNUserNotificationCenter new]);
}
- (id<UNUserNotificationCenterDelegate>)delegate
{
    return centreDelegate;
}
- (void)setDelegate:(id<UNUserNotificationCenterDelegate>)delegate
{
    centreDelegate = delegate;
}
- (void)setNotificationCategories:(NSSet*)categories
{
    notifications().categories.clear();
    NSArray* const all = velmora::standin::objectsOf(categories);
    for (NSUInteger index = 0; index < all.count; ++index)
        notifications().categories.push_back(((UNNotificationCategory*)[all objectAtIndex:index])->_category);
}
- (void)getNotificationSettingsWithCompletionHandler:(void (^)(UNNotificationSettings* settings))completionHandler
{
    const auto block = std::make_shared<Kept>(completionHandler);
    answer([block, status = notifications().status] {
        UNNotificationSettings* const settings = objc_autorelease([UNNotificationSettings new]);
        settings->_authorizationStatus = status;
        ((void (^)(UNNotificationSettings*))block->copy)(settings);
    });
}
- (void)requestAuthorizationWithOptions:(UNAuthorizationOptions)options
                      completionHandler:(void (^)(BOOL granted, NSError* error))completionHandler
{
    notifications().askedOptions = options;
    const auto block = std::make_shared<Kept>(completionHandler);
    answer([block, fails = notifications().failsToAsk, isGranted = notifications().isGranted] {
        NSError* const error = fails
            ? objc_autorelease(velmora::standin::makeError("UNErrorDomain", 1, "Notifications are not allowed for this application"))
            : nil;
        ((void (^)(BOOL, NSError*))block->copy)(isGranted && !fails, error);
    });
}
- (void)addNotificationRequest:(UNNotificationRequest*)request withCompletionHandler:(void (^)(NSError* error))completionHandler
{
    velmora::standin::throwIfAsked("addNotificationRequest:");
    notifications().posted.push_back(request->_content->_notification);
    const auto block = std::make_shared<Kept>(completionHandler);
    answer([block, fails = notifications().failsToAdd] {
        NSError* const error = fails
            ? objc_autorelease(velmora::standin::makeError("UNErrorDomain", 1, "Notifications are not allowed for this application"))
            : nil;
        ((void (^)(NSError*))block->copy)(error);
    });
}
@end

namespace velmora::standin {

namespace {

UNNotification* notificationOf(const PostedNotification& posted)
{
    UNMutableNotificationContent* const content = [UNMutableNotificationContent new];
    content->_notification = posted;
    UNNotificationRequest* const request = [UNNotificationRequest new];
    request->_content = content;
    UNNotification* const made = [UNNotification new];
    made->_request = request;
    return made;
}

/// Some thread of the system's own.
void onAnotherThread(const std::function<void()>& work)
{
    std::async(std::launch::async, [&] { runInPool(work); }).get();
}

bool respond(const PostedNotification& notification, NSString* action)
{
    const auto isAnswered = std::make_shared<std::atomic<bool>>(false);
    onAnotherThread([&] {
        UNNotificationResponse* const response = objc_autorelease([UNNotificationResponse new]);
        response->_notification = notificationOf(notification);
        response->_actionIdentifier = objc_retain(action);
        UNUserNotificationCenter* const center = objc_autorelease([UNUserNotificationCenter new]);
        [centreDelegate userNotificationCenter:center
                didReceiveNotificationResponse:response
                         withCompletionHandler:^{ *isAnswered = true; }];
    });
    return *isAnswered;
}

}  // namespace

Notifications& notifications()
{
    static Notifications all;
    return all;
}

void finishAnswers()
{
    systemQueue().drain();
}

std::optional<unsigned long> presentNotification(const PostedNotification& notification)
{
    const auto answered = std::make_shared<std::optional<unsigned long>>();
    onAnotherThread([&] {
        UNNotification* const made = objc_autorelease(notificationOf(notification));
        UNUserNotificationCenter* const center = objc_autorelease([UNUserNotificationCenter new]);
        [centreDelegate userNotificationCenter:center
                       willPresentNotification:made
                         withCompletionHandler:^(UNNotificationPresentationOptions options) { *answered = options; }];
    });
    return *answered;
}

bool respondToNotification(const PostedNotification& notification, const std::string& action)
{
    NSString* const text = makeText(action);
    const bool isAnswered = respond(notification, text);
    objc_release(text);
    return isAnswered;
}

bool clickNotification(const PostedNotification& notification)
{
    return respond(notification, UNNotificationDefaultActionIdentifier);
}

bool closeNotification(const PostedNotification& notification)
{
    return respond(notification, UNNotificationDismissActionIdentifier);
}

bool hasNotificationDelegate()
{
    return centreDelegate != nil;
}

}  // namespace velmora::standin
