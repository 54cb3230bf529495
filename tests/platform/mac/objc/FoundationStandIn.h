// How the stand-ins make Foundation's objects. Each has one reference, which is the caller's. Without ARC only.
#pragma once

#include "base/SerialQueue.h"

#import <Foundation/Foundation.h>
#import <dispatch/dispatch.h>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

extern "C" {
id objc_retain(id object);
void objc_release(id object);
id objc_autorelease(id object);
void* objc_autoreleasePoolPush();
void objc_autoreleasePoolPop(void* mark);
}

namespace velmora::standin {

/// What a test says of the user's folders and files. Main thread only.
struct Foundation {
    std::string home = "/users/someone";
    std::map<NSUInteger, std::string> folders;  ///< by NSSearchPathDirectory; others are not there
    std::map<std::string, double> creationDates;  ///< by path, in seconds since 1970; others have none
    std::string systemVersion = "Version 14.4.1 (Build 23E224)";
    std::optional<std::string> bundleIdentifier = "com.velmora.tests";
};
Foundation& foundation();

/// Of a text, without holding it.
std::string textOfObject(id object);
std::string urlText(NSURL* url);
NSURL* makeUrl(const std::string& text, bool isFile);
NSArray* objectsOf(NSSet* set);
std::map<std::string, std::string> textsOf(NSDictionary* dictionary);

/// Tells the observers of that name, of any object or of this one.
void postNotification(NSString* name, id object);

/// Tells those who observe this value of the object.
void valueDidChange(NSObject* object, const std::string& key);

/// nil for none.
NSString* makeText(const std::optional<std::string>& text);

NSError* makeError(const std::string& domain, NSInteger code, const std::string& description);

/// Runs `work` on the queue, in an autorelease pool.
void runOn(dispatch_queue_t queue, std::function<void()> work);

/// The same, here and now.
void runInPool(const std::function<void()>& work);

}  // namespace velmora::standin
