// Core Foundation's objects and preferences, one page for each name below https://developer.apple.com/documentation/corefoundation/ and
// "Preferences Utilities" there: https://developer.apple.com/documentation/corefoundation/preferences-utilities ; compared with their pages:
// CFRelease, CFStringCreateWithBytes, CFDictionaryCreate, CFPreferencesCopyAppValue, CFPreferencesSetAppValue, and that CFGetTypeID tells a
// preference's type. With https://docs.rs/crate/core-foundation-sys/0.4.1/source/src/number.rs: the numbers of CFNumberType, whose width
// pages differ on. Unconfirmed: the parameters of functions without a page of their own, the widths of the first group, and the number
// of the encoding.
#pragma once

#include <MacTypes.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/// https://docs.rs/CoreFoundation-sys/latest/CoreFoundation_sys/base/type.CFIndex.html
typedef signed long CFIndex;
/// https://docs.rs/core-foundation-sys/0.8.2/x86_64-apple-darwin/core_foundation_sys/base/type.CFTypeID.html
typedef unsigned long CFTypeID;
/// https://docs.rs/core-foundation-sys/0.5.1/core_foundation_sys/string/type.CFStringEncoding.html
typedef uint32_t CFStringEncoding;
/// https://developer.apple.com/documentation/corefoundation/cfstringbuiltinencodings/utf8 ; the number is in
/// https://docs.rs/security-rs/latest/security/ffi/constant.kCFStringEncodingUTF8.html
enum { kCFStringEncodingUTF8 = 0x08000100 };
/// https://docs.rs/CoreFoundation-sys/latest/src/CoreFoundation_sys/number.rs.html
typedef CFIndex CFNumberType;
enum { kCFNumberSInt64Type = 4 };

/// https://developer.apple.com/documentation/corefoundation/cftyperef
typedef const void* CFTypeRef;

typedef CFTypeRef CFPropertyListRef;
/// https://developer.apple.com/documentation/corefoundation/cfallocator ,
/// https://docs.rs/security-rs/0.4.4/security/ffi/type.CFAllocatorRef.html
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

/// https://docs.rs/apple-objc-sys/latest/aarch64-unknown-linux-gnu/fn.CFRetain.html
CFTypeRef CFRetain(CFTypeRef);
/// https://developer.apple.com/documentation/corefoundation/cfrelease : releasing NULL ends the program
void CFRelease(CFTypeRef);
/// https://developer.apple.com/documentation/corefoundation/cfgettypeid(_:)
CFTypeID CFGetTypeID(CFTypeRef);
/// https://developer.apple.com/documentation/corefoundation/cfequal(_:_:)
Boolean CFEqual(CFTypeRef, CFTypeRef);
/// https://developer.apple.com/documentation/corefoundation/cfbooleangettypeid()
CFTypeID CFBooleanGetTypeID(void);
/// https://docs.rs/CoreFoundation-sys/latest/src/CoreFoundation_sys/number.rs.html
Boolean CFBooleanGetValue(CFBooleanRef);
/// https://docs.rs/CoreFoundation-sys/latest/CoreFoundation_sys/string/fn.CFStringCreateWithBytes.html
CFStringRef CFStringCreateWithBytes(CFAllocatorRef, const UInt8*, CFIndex, CFStringEncoding, Boolean);
/// https://docs.rs/crate/CoreFoundation-sys/0.1.2/source/src/number.rs
CFNumberRef CFNumberCreate(CFAllocatorRef, CFNumberType, const void*);
/// https://docs.rs/crate/CoreFoundation-sys/0.1.2/source/src/number.rs
CFTypeID CFNumberGetTypeID(void);

Boolean CFNumberGetValue(CFNumberRef, CFNumberType, void*);
/// https://developer.apple.com/documentation/corefoundation/cfarraygettypeid()
CFTypeID CFArrayGetTypeID(void);
/// https://docs.rs/apple-cf/0.9.3/apple_cf/raw/fn.CFArrayGetCount.html
CFIndex CFArrayGetCount(CFArrayRef);

const void* CFArrayGetValueAtIndex(CFArrayRef, CFIndex);
/// https://developer.apple.com/documentation/corefoundation/cfdictionarygettypeid()
CFTypeID CFDictionaryGetTypeID(void);

CFDictionaryRef CFDictionaryCreate(
    CFAllocatorRef, const void**, const void**, CFIndex, const CFDictionaryKeyCallBacks*, const CFDictionaryValueCallBacks*);
/// https://docs.rs/apple-cf/latest/apple_cf/raw/fn.CFDictionaryGetValue.html
const void* CFDictionaryGetValue(CFDictionaryRef, const void*);
/// https://docs.rs/apple-cf/latest/apple_cf/raw/fn.CFPreferencesCopyAppValue.html
CFPropertyListRef CFPreferencesCopyAppValue(CFStringRef, CFStringRef);
/// https://developer.apple.com/documentation/corefoundation/cfpreferencessetappvalue(_:_:_:) : NULL removes
void CFPreferencesSetAppValue(CFStringRef, CFPropertyListRef, CFStringRef);
/// https://developer.apple.com/documentation/corefoundation/cfpreferencesappsynchronize(_:)
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
