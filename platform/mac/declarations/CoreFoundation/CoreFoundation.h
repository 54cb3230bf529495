// Core Foundation's objects and preferences, one page for each name below
// https://developer.apple.com/documentation/corefoundation/ and "Preferences Utilities" there:
// https://developer.apple.com/documentation/corefoundation/preferences-utilities
// Compared with their pages: CFRelease, CFStringCreateWithBytes, CFPreferencesCopyAppValue, CFPreferencesSetAppValue, and that CFGetTypeID
// tells a preference's type. Unconfirmed: the other parameters, the widths of the first group, and the number of the encoding.
#pragma once

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef signed long CFIndex;
typedef unsigned long CFTypeID;
typedef unsigned char Boolean;
typedef uint8_t UInt8;
typedef uint32_t CFStringEncoding;
enum { kCFStringEncodingUTF8 = 0x08000100 };

typedef const void* CFTypeRef;
typedef CFTypeRef CFPropertyListRef;
typedef const struct __CFAllocator* CFAllocatorRef;
typedef const struct __CFString* CFStringRef;
typedef const struct __CFBoolean* CFBooleanRef;

extern const CFAllocatorRef kCFAllocatorDefault;
extern const CFBooleanRef kCFBooleanTrue;
extern const CFBooleanRef kCFBooleanFalse;
extern const CFStringRef kCFPreferencesCurrentApplication;

// Releasing NULL ends the program: https://developer.apple.com/documentation/corefoundation/cfrelease
void CFRelease(CFTypeRef);
CFTypeID CFGetTypeID(CFTypeRef);
CFTypeID CFBooleanGetTypeID(void);
Boolean CFBooleanGetValue(CFBooleanRef);
CFStringRef CFStringCreateWithBytes(CFAllocatorRef, const UInt8*, CFIndex, CFStringEncoding, Boolean);
CFPropertyListRef CFPreferencesCopyAppValue(CFStringRef, CFStringRef);
void CFPreferencesSetAppValue(CFStringRef, CFPropertyListRef, CFStringRef);
Boolean CFPreferencesAppSynchronize(CFStringRef);

#ifdef __cplusplus
}
#endif
