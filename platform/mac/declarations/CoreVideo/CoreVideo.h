// Core Video's pixel buffers, one page for each name below https://developer.apple.com/documentation/corevideo/ ; compared with pages: the
// parameters of the functions (https://docs.rs/apple-cf, https://docs.rs/core-video and Apple's own pages of each), the flag's number and
// width, that CVPixelBufferUnlockBaseAddress takes the flags of the lock. Unconfirmed: the number of the format, and the width of CVReturn.
#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct __CVBuffer* CVBufferRef;
typedef CVBufferRef CVImageBufferRef;
typedef CVImageBufferRef CVPixelBufferRef;
typedef int32_t CVReturn;
typedef uint64_t CVPixelBufferLockFlags;
enum { kCVReturnSuccess = 0 };
enum { kCVPixelBufferLock_ReadOnly = 1 };
enum { kCVPixelFormatType_32BGRA = 0x42475241 /* 'BGRA' */ };

/// What the buffer was given, and its memory: https://developer.apple.com/documentation/corevideo/cvpixelbufferreleasebytescallback
typedef void (*CVPixelBufferReleaseBytesCallback)(void*, const void*);

CVReturn CVPixelBufferCreateWithBytes(
    CFAllocatorRef, size_t, size_t, OSType, void*, size_t, CVPixelBufferReleaseBytesCallback, void*, CFDictionaryRef, CVPixelBufferRef*);
extern const CFStringRef kCVPixelBufferPixelFormatTypeKey;
extern const CFStringRef kCVPixelBufferWidthKey;
extern const CFStringRef kCVPixelBufferHeightKey;
CVReturn CVPixelBufferLockBaseAddress(CVPixelBufferRef, CVPixelBufferLockFlags);
CVReturn CVPixelBufferUnlockBaseAddress(CVPixelBufferRef, CVPixelBufferLockFlags);
void* CVPixelBufferGetBaseAddress(CVPixelBufferRef);
size_t CVPixelBufferGetBytesPerRow(CVPixelBufferRef);
size_t CVPixelBufferGetWidth(CVPixelBufferRef);
size_t CVPixelBufferGetHeight(CVPixelBufferRef);
OSType CVPixelBufferGetPixelFormatType(CVPixelBufferRef);

#ifdef __cplusplus
}
#endif
