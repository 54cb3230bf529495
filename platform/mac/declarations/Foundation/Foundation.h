// What the back end uses of Foundation's classes, one page for each below https://developer.apple.com/documentation/foundation/ ; that of
// the root class is https://developer.apple.com/documentation/objectivec/nsobject ; compared with pages: the names. Unconfirmed: the widths
// of the first group.
#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <CoreGraphics/CoreGraphics.h>
#include <stdbool.h>

#ifdef __OBJC__

typedef long NSInteger;
typedef unsigned long NSUInteger;
// https://developer.apple.com/documentation/objectivec/bool : "bool" on Apple silicon, "signed char" on Intel's.
#if defined(__APPLE__) && defined(__aarch64__)
typedef bool BOOL;
#else
typedef signed char BOOL;
#endif
#define YES ((BOOL)1)
#define NO ((BOOL)0)
#define nil nullptr

@class NSString;

@protocol NSObject
- (BOOL)isEqual:(id)object;
@end

__attribute__((objc_root_class))
@interface NSObject<NSObject> {
    Class isa;
}
+ (instancetype)alloc;
+ (instancetype)new;
- (instancetype)init;
- (void)dealloc;
@end

@interface NSString : NSObject
@property (readonly) const char* UTF8String __attribute__((objc_returns_inner_pointer));
@end

@interface NSError : NSObject
@property (readonly, copy) NSString* domain;
@property (readonly) NSInteger code;
@property (readonly, copy) NSString* localizedDescription;
@end

@interface NSArray<ObjectType> : NSObject
@property (readonly) NSUInteger count;
- (ObjectType)objectAtIndex:(NSUInteger)index;
@end

@interface NSMutableArray<ObjectType> : NSArray <ObjectType>
- (void)addObject:(ObjectType)object;
@end

#endif
