// Core Video's pixel buffers, one page for each name below https://developer.apple.com/documentation/corevideo/ ; compared with pages: the
// parameters of the functions (https://docs.rs/apple-cf, https://docs.rs/core-video and Apple's own pages of each), the flag's number and
// width, that CVPixelBufferUnlockBaseAddress takes the flags of the lock.
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

/// https://developer.apple.com/documentation/corevideo/kcvreturnsuccess ; the number is in
/// https://gist.github.com/rishabh-battulwar/39a5bf1cc8f06e4722d0fa28a1c8f04d
enum { kCVReturnSuccess = 0 };
/// https://docs.rs/core-video/0.5.2/core_video/pixel_buffer/index.html has the name, and the number, which is Core Media's of that format,
/// https://docs.rs/core-media-sys/0.1.2/core_media_sys/format_description/constant.kCMPixelFormat_32BGRA.html
enum { kCVPixelFormatType_32BGRA = 0x42475241 /* 'BGRA' */ };

/// What the buffer was given, and its memory: https://developer.apple.com/documentation/corevideo/cvpixelbufferreleasebytescallback
typedef void (*CVPixelBufferReleaseBytesCallback)(void*, const void*);

/// https://docs.rs/core-video/0.5.2/core_video/pixel_buffer/fn.CVPixelBufferCreateWithBytes.html
CVReturn CVPixelBufferCreateWithBytes(
    CFAllocatorRef, size_t, size_t, OSType, void*, size_t, CVPixelBufferReleaseBytesCallback, void*, CFDictionaryRef, CVPixelBufferRef*);

/// https://developer.apple.com/documentation/corevideo/kcvpixelbufferpixelformattypekey
extern const CFStringRef kCVPixelBufferPixelFormatTypeKey;
/// https://docs.rs/apple-cf/latest/apple_cf/raw/static.kCVPixelBufferWidthKey.html
extern const CFStringRef kCVPixelBufferWidthKey;
/// https://docs.rs/apple-cf/latest/apple_cf/raw/static.kCVPixelBufferHeightKey.html
extern const CFStringRef kCVPixelBufferHeightKey;
/// https://developer.apple.com/documentation/corevideo/cvpixelbufferlockbaseaddress(_:_:)
CVReturn CVPixelBufferLockBaseAddress(CVPixelBufferRef, CVPixelBufferLockFlags);
/// https://developer.apple.com/documentation/corevideo/cvpixelbufferunlockbaseaddress(_:_:) : with the flags of the lock
CVReturn CVPixelBufferUnlockBaseAddress(CVPixelBufferRef, CVPixelBufferLockFlags);

/// https://developer.apple.com/documentation/corevideo/cvpixelbuffergetbaseaddress(_:) : NULL for some that have planes
void* CVPixelBufferGetBaseAddress(CVPixelBufferRef);
/// https://developer.apple.com/documentation/corevideo/cvpixelbuffergetbytesperrow(_:)
size_t CVPixelBufferGetBytesPerRow(CVPixelBufferRef);
/// https://docs.rs/core-video/0.3.2/core_video/pixel_buffer/fn.CVPixelBufferGetWidth.html
size_t CVPixelBufferGetWidth(CVPixelBufferRef);

/// https://developer.apple.com/documentation/corevideo/cvpixelbuffergetheight(_:)
size_t CVPixelBufferGetHeight(CVPixelBufferRef);
/// https://docs.rs/corevideo-sys/0.0.1/src/corevideo_sys/lib.rs.html
OSType CVPixelBufferGetPixelFormatType(CVPixelBufferRef);

#ifdef __cplusplus
}
#endif
