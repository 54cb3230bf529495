// Core Video's pixel buffers, one page for each name below https://developer.apple.com/documentation/corevideo/ ; compared with pages: the
// parameters of the functions (https://docs.rs/apple-cf, https://docs.rs/core-video and Apple's own pages of each), the flag's number and
// width, that CVPixelBufferUnlockBaseAddress takes the flags of the lock. Unconfirmed: the number of the format.
#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/// https://docs.rs/corevideo-sys/0.0.1/src/corevideo_sys/lib.rs.html
typedef struct __CVBuffer* CVBufferRef;
typedef CVBufferRef CVImageBufferRef;
typedef CVImageBufferRef CVPixelBufferRef;
typedef int32_t CVReturn;
typedef uint64_t CVPixelBufferLockFlags;
enum { kCVPixelBufferLock_ReadOnly = 1 };

enum { kCVReturnSuccess = 0 };
enum { kCVPixelFormatType_32BGRA = 0x42475241 /* 'BGRA' */ };

/// What the buffer was given, and its memory: https://developer.apple.com/documentation/corevideo/cvpixelbufferreleasebytescallback
typedef void (*CVPixelBufferReleaseBytesCallback)(void*, const void*);

/// https://docs.rs/core-video/0.5.2/core_video/pixel_buffer/fn.CVPixelBufferCreateWithBytes.html
CVReturn CVPixelBufferCreateWithBytes(
    CFAllocatorRef, size_t, size_t, OSType, void*, size_t, CVPixelBufferReleaseBytesCallback, void*, CFDictionaryRef, CVPixelBufferRef*);

extern const CFStringRef kCVPixelBufferPixelFormatTypeKey;
extern const CFStringRef kCVPixelBufferWidthKey;
extern const CFStringRef kCVPixelBufferHeightKey;
/// https://developer.apple.com/documentation/corevideo/cvpixelbufferlockbaseaddress(_:_:)
CVReturn CVPixelBufferLockBaseAddress(CVPixelBufferRef, CVPixelBufferLockFlags);
/// https://developer.apple.com/documentation/corevideo/cvpixelbufferunlockbaseaddress(_:_:) : with the flags of the lock
CVReturn CVPixelBufferUnlockBaseAddress(CVPixelBufferRef, CVPixelBufferLockFlags);

void* CVPixelBufferGetBaseAddress(CVPixelBufferRef);
/// https://developer.apple.com/documentation/corevideo/cvpixelbuffergetbytesperrow(_:)
size_t CVPixelBufferGetBytesPerRow(CVPixelBufferRef);
/// https://docs.rs/core-video/0.3.2/core_video/pixel_buffer/fn.CVPixelBufferGetWidth.html
size_t CVPixelBufferGetWidth(CVPixelBufferRef);

size_t CVPixelBufferGetHeight(CVPixelBufferRef);
/// https://docs.rs/corevideo-sys/0.0.1/src/corevideo_sys/lib.rs.html
OSType CVPixelBufferGetPixelFormatType(CVPixelBufferRef);

#ifdef __cplusplus
}
#endif
