// Core Graphics' geometry, list of windows and access to the screen, one page for each name below
// https://developer.apple.com/documentation/coregraphics/ ; compared with pages: that CGFloat is double on 64-bit systems, the order of the
// list of windows, the names. Unconfirmed: the numbers of the options.
#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <stdbool.h>

#ifdef __cplusplus
extern "C" {
#endif

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
typedef uint32_t CGDirectDisplayID;
typedef uint32_t CGWindowID;

typedef uint32_t CGWindowListOption;
enum { kCGWindowListOptionOnScreenOnly = 1 };
enum { kCGNullWindowID = 0 };
extern const CFStringRef kCGWindowNumber;

/// "Windows are returned in order from front to back":
/// https://developer.apple.com/documentation/coregraphics/cgwindowlistoption/optiononscreenonly
CFArrayRef CGWindowListCopyWindowInfo(CGWindowListOption, CGWindowID);

// https://developer.apple.com/documentation/coregraphics/cgpreflightscreencaptureaccess()
bool CGPreflightScreenCaptureAccess(void);
bool CGRequestScreenCaptureAccess(void);

#ifdef __cplusplus
}
#endif
