// Serial queues of libdispatch: https://developer.apple.com/documentation/dispatch/dispatch_queue_create and
// https://developer.apple.com/documentation/dispatch/dispatch_queue_attr_make_with_qos_class In Objective-C a queue is an object that is
// counted like others. Unconfirmed: the names of the types behind.
#pragma once

#include <stdint.h>

#ifdef __OBJC__
#import <Foundation/Foundation.h>

/// https://developer.apple.com/documentation/dispatch/os_dispatch_queue_serial_executor , which extends it
@protocol OS_dispatch_queue <NSObject>
@end
typedef NSObject<OS_dispatch_queue>* dispatch_queue_t;
/// https://developer.apple.com/documentation/dispatch/dispatch_queue_attr_t
typedef NSObject* dispatch_queue_attr_t;
/// https://docs.rs/crate/libc/0.2.96/target-redirect/x86_64-apple-darwin/libc/enum.qos_class_t.html (32 bits); the number is in
/// https://pub.dev/documentation/dart_native/0.6.4/dart_native/DispatchQoS/userInteractive-constant.html
typedef unsigned int dispatch_qos_class_t;
enum { QOS_CLASS_USER_INTERACTIVE = 0x21 };
/// https://developer.apple.com/documentation/dispatch/dispatch_queue_serial ,
/// https://docs.rs/dispatch/0.2.0/dispatch/ffi/constant.DISPATCH_QUEUE_SERIAL.html (null)
#define DISPATCH_QUEUE_SERIAL ((dispatch_queue_attr_t)nil)

#ifdef __cplusplus
extern "C" {
#endif

/// https://developer.apple.com/documentation/dispatch/dispatch_queue_attr_make_with_qos_class
dispatch_queue_attr_t dispatch_queue_attr_make_with_qos_class(dispatch_queue_attr_t, dispatch_qos_class_t, int);
/// https://docs.rs/apple-cf/0.9.2/apple_cf/raw/fn.dispatch_queue_create.html
dispatch_queue_t dispatch_queue_create(const char*, dispatch_queue_attr_t) __attribute__((ns_returns_retained));

#ifdef __cplusplus
}
#endif
#endif
