// Core Foundation's objects and preferences, one page for each name below https://developer.apple.com/documentation/corefoundation/ and
// "Preferences Utilities" there: https://developer.apple.com/documentation/corefoundation/preferences-utilities ; compared with their pages:
// CFRelease, CFStringCreateWithBytes, CFDictionaryCreate, CFPreferencesCopyAppValue, CFPreferencesSetAppValue, and that CFGetTypeID tells a
// preference's type. With https://docs.rs/crate/core-foundation-sys/0.4.1/source/src/number.rs: the numbers of CFNumberType, whose width
// pages differ on.
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

/// https://developer.apple.com/documentation/corefoundation/cfpropertylist
typedef CFTypeRef CFPropertyListRef;
/// https://developer.apple.com/documentation/corefoundation/cfallocator ,
/// https://docs.rs/security-rs/0.4.4/security/ffi/type.CFAllocatorRef.html
typedef const struct __CFAllocator* CFAllocatorRef;

/// https://docs.rs/core-foundation/0.6.4/core_foundation/runloop/fn.CFRunLoopRemoveSource.html (what the mode is)
typedef const struct __CFString* CFStringRef;
/// https://developer.apple.com/documentation/corefoundation/cfboolean , https://docs.rs/crate/CoreFoundation-sys/0.1.2/source/src/number.rs
typedef const struct __CFBoolean* CFBooleanRef;
/// https://docs.rs/crate/CoreFoundation-sys/0.1.2/source/src/number.rs
typedef const struct __CFNumber* CFNumberRef;
/// https://docs.rs/core-foundation/0.9.0/core_foundation/array/fn.CFArrayGetValueAtIndex.html (what the array is)
typedef const struct __CFArray* CFArrayRef;
/// https://docs.rs/security-rs/0.4.3/security/ffi/type.CFDictionaryRef.html
typedef const struct __CFDictionary* CFDictionaryRef;
// Their members are not needed: only the system's own are passed on.
/// https://docs.rs/core-foundation-sys/0.5.1/core_foundation_sys/dictionary/index.html (both are structures)
typedef struct CFDictionaryKeyCallBacks CFDictionaryKeyCallBacks;
typedef struct CFDictionaryValueCallBacks CFDictionaryValueCallBacks;

/// https://developer.apple.com/documentation/corefoundation/kcfallocatordefault
extern const CFAllocatorRef kCFAllocatorDefault;
/// https://developer.apple.com/documentation/corefoundation/kcfallocatornull
extern const CFAllocatorRef kCFAllocatorNull;
/// https://developer.apple.com/documentation/corefoundation/boolean-values
extern const CFBooleanRef kCFBooleanTrue;
extern const CFBooleanRef kCFBooleanFalse;
/// https://docs.rs/core-foundation-sys/latest/core_foundation_sys/preferences/static.kCFPreferencesCurrentApplication.html
extern const CFStringRef kCFPreferencesCurrentApplication;
/// https://developer.apple.com/documentation/corefoundation/kcftypedictionarykeycallbacks
extern const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks;
/// https://developer.apple.com/documentation/corefoundation/kcftypedictionaryvaluecallbacks
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

/// https://developer.apple.com/documentation/corefoundation/cfnumbergetvalue(_:_:_:)
Boolean CFNumberGetValue(CFNumberRef, CFNumberType, void*);
/// https://developer.apple.com/documentation/corefoundation/cfarraygettypeid()
CFTypeID CFArrayGetTypeID(void);
/// https://docs.rs/apple-cf/0.9.3/apple_cf/raw/fn.CFArrayGetCount.html
CFIndex CFArrayGetCount(CFArrayRef);

/// https://developer.apple.com/documentation/corefoundation/cfarraygetvalueatindex(_:_:) : not the caller's
const void* CFArrayGetValueAtIndex(CFArrayRef, CFIndex);
/// https://developer.apple.com/documentation/corefoundation/cfdictionarygettypeid()
CFTypeID CFDictionaryGetTypeID(void);

/// https://developer.apple.com/documentation/corefoundation/cfdictionarycreate(_:_:_:_:_:_:)
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
#ifdef __BLOCKS__
/// https://developer.apple.com/documentation/corefoundation/cfrunloopperformblock(_:_:_:)
void CFRunLoopPerformBlock(CFRunLoopRef, CFTypeRef, void (^)(void));
#endif
/// https://developer.apple.com/documentation/corefoundation/cfrunloopwakeup(_:)
void CFRunLoopWakeUp(CFRunLoopRef);
/// https://developer.apple.com/documentation/corefoundation/cfrunlooprun()
void CFRunLoopRun(void);
/// https://developer.apple.com/documentation/corefoundation/cfrunloopstop(_:)
void CFRunLoopStop(CFRunLoopRef);
/// https://developer.apple.com/documentation/corefoundation/cfrunloopaddsource(_:_:_:)
void CFRunLoopAddSource(CFRunLoopRef, CFRunLoopSourceRef, CFRunLoopMode);
/// https://docs.rs/apple-cf/0.9.3/apple_cf/raw/fn.CFRunLoopRemoveSource.html
void CFRunLoopRemoveSource(CFRunLoopRef, CFRunLoopSourceRef, CFRunLoopMode);

// https://developer.apple.com/documentation/corefoundation/cfdatacreate(_:_:_:)
typedef const struct __CFData* CFDataRef;
CFDataRef CFDataCreate(CFAllocatorRef, const UInt8*, CFIndex);

#ifdef __cplusplus
}
#endif
