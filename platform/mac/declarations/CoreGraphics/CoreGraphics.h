// Core Graphics' geometry, list of windows and access to the screen, one page for each name below
// https://developer.apple.com/documentation/coregraphics/ ; compared with pages: that CGFloat is double on 64-bit systems, the order of the
// list of windows, the names. Unconfirmed: the numbers of the options; of kCGWindowListOptionOnScreenOnly pages differ
// (1 in https://docs.rs/core-graphics/0.22.2/core_graphics/display/constant.kCGWindowListOptionOnScreenOnly.html , 2 in
// https://docs.rs/core-graphics/0.22.2/core_graphics/window/constant.kCGWindowListOptionOnScreenOnly.html).
#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <stdbool.h>
#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/// https://developer.apple.com/documentation/corefoundation/core-foundation-structures has the names, and
/// https://blog.csdn.net/weixin_43270122/article/details/106478796 the members
typedef double CGFloat;
typedef struct CGPoint {
    CGFloat x;
    CGFloat y;
} CGPoint;
typedef struct CGSize {
    CGFloat width;
    CGFloat height;
} CGSize;
typedef struct CGRect {
    CGPoint origin;
    CGSize size;
} CGRect;

/// https://developer.apple.com/documentation/coregraphics/cgdirectdisplayid
typedef uint32_t CGDirectDisplayID;
/// https://developer.apple.com/documentation/coregraphics/cgwindowid
typedef uint32_t CGWindowID;

/// https://developer.apple.com/documentation/coregraphics/cgwindowlistoption ; the width is in
/// https://docs.rs/core-graphics/latest/core_graphics/display/constant.kCGWindowListOptionOnScreenOnly.html
typedef uint32_t CGWindowListOption;
/// https://developer.apple.com/documentation/coregraphics/cgwindowlistoption/optiononscreenonly ; pages differ on the number, as is said
/// above
enum { kCGWindowListOptionOnScreenOnly = 1 };
/// https://developer.apple.com/documentation/coregraphics/kcgnullwindowid ; the number is in
/// https://docs.rs/objc2-core-graphics/0.3.2/objc2_core_graphics/constant.kCGNullWindowID.html
enum { kCGNullWindowID = 0 };
/// https://developer.apple.com/documentation/coregraphics/kcgwindownumber
extern const CFStringRef kCGWindowNumber;

/// "Windows are returned in order from front to back":
/// https://developer.apple.com/documentation/coregraphics/cgwindowlistoption/optiononscreenonly
CFArrayRef CGWindowListCopyWindowInfo(CGWindowListOption, CGWindowID);

// Pictures: https://developer.apple.com/documentation/coregraphics/cgimage/1455149-init and
// https://developer.apple.com/documentation/coregraphics/cgdataproviderreleasedatacallback .
typedef struct CGColorSpace* CGColorSpaceRef;
typedef struct CGDataProvider* CGDataProviderRef;
typedef struct CGImage* CGImageRef;
typedef uint32_t CGBitmapInfo;
typedef int32_t CGColorRenderingIntent;
enum { kCGRenderingIntentDefault = 0 };
// https://developer.apple.com/documentation/coregraphics/cgimagealphainfo/last : alpha is the last part of a pixel, and the others do not
// contain it
enum { kCGImageAlphaLast = 3 };
// https://learn.microsoft.com/en-us/dotnet/api/coregraphics.cgimagealphainfo (the numbers of all three)
enum { kCGImageAlphaPremultipliedLast = 1, kCGImageAlphaNoneSkipFirst = 6 };

/// https://docs.rs/core-graphics/0.17.3/x86_64-unknown-linux-gnu/core_graphics/base/constant.kCGBitmapByteOrder32Host.html (8192)
enum { kCGBitmapByteOrder32Little = 2 << 12 };
/// https://developer.apple.com/documentation/coregraphics/cgdataproviderreleasedatacallback
typedef void (*CGDataProviderReleaseDataCallback)(void*, const void*, size_t);
/// https://developer.apple.com/documentation/coregraphics/cgcolorspacecreatedevicergb() : the caller's; NULL where it failed
CGColorSpaceRef CGColorSpaceCreateDeviceRGB(void);
/// https://docs.rs/core-graphics2/latest/core_graphics2/data_provider/fn.CGDataProviderCreateWithData.html
CGDataProviderRef CGDataProviderCreateWithData(void*, const void*, size_t, CGDataProviderReleaseDataCallback);
/// https://docs.rs/core-graphics2/latest/core_graphics2/image/fn.CGImageCreate.html
CGImageRef CGImageCreate(
    size_t, size_t, size_t, size_t, size_t, CGColorSpaceRef, CGBitmapInfo, CGDataProviderRef, const CGFloat*, bool, CGColorRenderingIntent);

// https://docs.rs/core-graphics2/latest/core_graphics2/bitmap_context/fn.CGBitmapContextCreate.html : the memory, its width, its height,
// bits of a component, bytes of a row. That the rows lie from the top is unconfirmed.
typedef struct CGContext* CGContextRef;
CGContextRef CGBitmapContextCreate(void*, size_t, size_t, size_t, size_t, CGColorSpaceRef, uint32_t);
// https://developer.apple.com/documentation/coregraphics/cgcontextdrawimage : scaled to fit
void CGContextDrawImage(CGContextRef, CGRect, CGImageRef);

// https://developer.apple.com/documentation/coregraphics/cgpreflightscreencaptureaccess()
bool CGPreflightScreenCaptureAccess(void);
bool CGRequestScreenCaptureAccess(void);

#ifdef __cplusplus
}
#endif
