// How the stand-ins make Foundation's objects. Each has one reference, which is the caller's. Without ARC only.
#pragma once

#include "base/SerialQueue.h"

#import <Foundation/Foundation.h>
#import <dispatch/dispatch.h>
#include <functional>
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

/// nil for none.
NSString* makeText(const std::optional<std::string>& text);

NSError* makeError(const std::string& domain, NSInteger code, const std::string& description);

/// Runs `work` on the queue, in an autorelease pool.
void runOn(dispatch_queue_t queue, std::function<void()> work);

/// The same, here and now.
void runInPool(const std::function<void()>& work);

}  // namespace velmora::standin
