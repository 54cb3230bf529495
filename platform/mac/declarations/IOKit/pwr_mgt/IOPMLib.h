// Sleep and wake: https://developer.apple.com/documentation/iokit/1557114-ioregisterforsystempower and its neighbours; compared with pages: the
// parameters of the functions and which messages have to be answered
// (https://docs.rs/objc2-io-kit/0.3.2/objc2_io_kit/fn.IORegisterForSystemPower.html), the number of kIOMessageCanSystemSleep
// (https://docs.rs/objc2-io-kit/0.3.1/objc2_io_kit/constant.kIOMessageCanSystemSleep.html). Unconfirmed: the numbers of the other two, which
// follow the same scheme, and the widths of io_object_t and IOReturn.
#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef uint32_t io_object_t;
typedef io_object_t io_connect_t;
/// https://docs.rs/objc2-io-kit/0.3.1/objc2_io_kit/type.IOServiceInterestCallback.html (32 bits, unsigned)
typedef io_object_t io_service_t;

/// https://developer.apple.com/documentation/driverkit/ioreturn (a kern_return_t; not its width)
typedef int IOReturn;
/// https://docs.rs/objc2-io-kit/0.3.1/objc2_io_kit/type.IONotificationPortRef.html
typedef struct IONotificationPort* IONotificationPortRef;
/// https://docs.rs/objc2-io-kit/0.3.1/objc2_io_kit/type.IOServiceInterestCallback.html
typedef void (*IOServiceInterestCallback)(void*, io_service_t, uint32_t, void*);

/// https://docs.rs/objc2-io-kit/0.3.2/objc2_io_kit/fn.IORegisterForSystemPower.html
io_connect_t IORegisterForSystemPower(void*, IONotificationPortRef*, IOServiceInterestCallback, io_object_t*);
/// https://docs.rs/objc2-io-kit/latest/objc2_io_kit/fn.IODeregisterForSystemPower.html
IOReturn IODeregisterForSystemPower(io_object_t*);
/// https://docs.rs/objc2-io-kit/0.3.2/objc2_io_kit/fn.IOAllowPowerChange.html
IOReturn IOAllowPowerChange(io_connect_t, intptr_t);

/// https://docs.rs/objc2-io-kit/0.3.1/objc2_io_kit/fn.IOServiceClose.html (a kern_return_t, which IOReturn is another name of)
IOReturn IOServiceClose(io_connect_t);
/// https://docs.rs/io-kit-sys/0.1.0/io_kit_sys/fn.IONotificationPortGetRunLoopSource.html
CFRunLoopSourceRef IONotificationPortGetRunLoopSource(IONotificationPortRef);
/// https://docs.rs/io-kit-sys/0.1.0/io_kit_sys/fn.IONotificationPortDestroy.html
void IONotificationPortDestroy(IONotificationPortRef);

#ifdef __cplusplus
}
#endif
