// Core Foundation's objects and preferences, one page for each name below https://developer.apple.com/documentation/corefoundation/ and
// "Preferences Utilities" there: https://developer.apple.com/documentation/corefoundation/preferences-utilities ; compared with their pages:
// CFRelease, CFStringCreateWithBytes, CFDictionaryCreate, CFPreferencesCopyAppValue, CFPreferencesSetAppValue, and that CFGetTypeID tells a
// preference's type. With https://docs.rs/crate/core-foundation-sys/0.4.1/source/src/number.rs: the numbers of CFNumberType, whose width
// pages differ on. Unconfirmed: the other parameters, the widths of the first group, and the number of the encoding.
#pragma once

#include <MacTypes.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef signed long CFIndex;
typedef unsigned long CFTypeID;
typedef uint32_t CFStringEncoding;
enum { kCFStringEncodingUTF8 = 0x08000100 };
typedef CFIndex CFNumberType;
enum { kCFNumberSInt64Type = 4 };

typedef const void* CFTypeRef;
typedef CFTypeRef CFPropertyListRef;
typedef const struct __CFAllocator* CFAllocatorRef;
typedef const struct __CFString* CFStringRef;
typedef const struct __CFBoolean* CFBooleanRef;
typedef const struct __CFNumber* CFNumberRef;
typedef const struct __CFArray* CFArrayRef;
typedef const struct __CFDictionary* CFDictionaryRef;
// Their members are not needed: only the system's own are passed on.
typedef struct CFDictionaryKeyCallBacks CFDictionaryKeyCallBacks;
typedef struct CFDictionaryValueCallBacks CFDictionaryValueCallBacks;

extern const CFAllocatorRef kCFAllocatorDefault;
extern const CFAllocatorRef kCFAllocatorNull;
extern const CFBooleanRef kCFBooleanTrue;
extern const CFBooleanRef kCFBooleanFalse;
extern const CFStringRef kCFPreferencesCurrentApplication;
extern const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks;
extern const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks;

CFTypeRef CFRetain(CFTypeRef);
// Releasing NULL ends the program: https://developer.apple.com/documentation/corefoundation/cfrelease
void CFRelease(CFTypeRef);
CFTypeID CFGetTypeID(CFTypeRef);
Boolean CFEqual(CFTypeRef, CFTypeRef);
CFTypeID CFBooleanGetTypeID(void);
Boolean CFBooleanGetValue(CFBooleanRef);
CFStringRef CFStringCreateWithBytes(CFAllocatorRef, const UInt8*, CFIndex, CFStringEncoding, Boolean);
CFNumberRef CFNumberCreate(CFAllocatorRef, CFNumberType, const void*);
CFTypeID CFNumberGetTypeID(void);
Boolean CFNumberGetValue(CFNumberRef, CFNumberType, void*);
CFTypeID CFArrayGetTypeID(void);
CFIndex CFArrayGetCount(CFArrayRef);
const void* CFArrayGetValueAtIndex(CFArrayRef, CFIndex);
CFTypeID CFDictionaryGetTypeID(void);
CFDictionaryRef CFDictionaryCreate(
    CFAllocatorRef, const void**, const void**, CFIndex, const CFDictionaryKeyCallBacks*, const CFDictionaryValueCallBacks*);
const void* CFDictionaryGetValue(CFDictionaryRef, const void*);
CFPropertyListRef CFPreferencesCopyAppValue(CFStringRef, CFStringRef);
void CFPreferencesSetAppValue(CFStringRef, CFPropertyListRef, CFStringRef);
Boolean CFPreferencesAppSynchronize(CFStringRef);

// The main thread's loop: https://developer.apple.com/documentation/corefoundation/cfrunloopaddsource(_:_:_:)
typedef struct __CFRunLoop* CFRunLoopRef;
typedef struct __CFRunLoopSource* CFRunLoopSourceRef;
typedef CFStringRef CFRunLoopMode;
extern const CFRunLoopMode kCFRunLoopCommonModes;
CFRunLoopRef CFRunLoopGetMain(void);
// https://developer.apple.com/documentation/corefoundation/cfrunloopperformblock(_:_:_:) and its neighbours.
#ifdef __BLOCKS__
void CFRunLoopPerformBlock(CFRunLoopRef, CFTypeRef, void (^)(void));
#endif
void CFRunLoopWakeUp(CFRunLoopRef);
void CFRunLoopRun(void);
void CFRunLoopStop(CFRunLoopRef);
void CFRunLoopAddSource(CFRunLoopRef, CFRunLoopSourceRef, CFRunLoopMode);
void CFRunLoopRemoveSource(CFRunLoopRef, CFRunLoopSourceRef, CFRunLoopMode);

// https://developer.apple.com/documentation/corefoundation/cfdatacreate(_:_:_:)
typedef const struct __CFData* CFDataRef;
CFDataRef CFDataCreate(CFAllocatorRef, const UInt8*, CFIndex);

#ifdef __cplusplus
}
#endif
