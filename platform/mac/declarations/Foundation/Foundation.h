// What the back end uses of Foundation's classes, one page for each below https://developer.apple.com/documentation/foundation/ ; that of
// the root class is https://developer.apple.com/documentation/objectivec/nsobject ; compared with pages: the names. Unconfirmed: the number
// of NSTrashDirectory.
#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <CoreGraphics/CoreGraphics.h>
#include <stdbool.h>

#ifdef __OBJC__

/// https://developer.apple.com/documentation/objectivec/nsinteger : of 64 bits in programs of 64 bits
typedef long NSInteger;
/// https://developer.apple.com/documentation/objectivec/nsuinteger
typedef unsigned long NSUInteger;
#if defined(__APPLE__) && defined(__aarch64__)
/// https://developer.apple.com/documentation/objectivec/bool : "bool" on Apple silicon, "signed char" on Intel's.
typedef bool BOOL;
#else
/// https://developer.apple.com/documentation/objectivec/bool
typedef signed char BOOL;
#endif
#define YES ((BOOL)1)
#define NO ((BOOL)0)
#define nil nullptr

@class NSArray<ObjectType>;
@class NSDate;
@class NSDictionary<KeyType, ObjectType>;
@class NSError;
@class NSString;
@class NSURL;
/// https://developer.apple.com/documentation/foundation/timeinterval
typedef double NSTimeInterval;

/// https://developer.apple.com/documentation/foundation/nsutf8stringencoding (its width)
typedef NSUInteger NSStringEncoding;
/// https://docs.rs/objc2-foundation/0.2.0/objc2_foundation/constant.NSUTF8StringEncoding.html
enum { NSUTF8StringEncoding = 4 };

/// https://learn.microsoft.com/en-us/dotnet/api/foundation.insobjectprotocol?view=net-ios-26.1-10.0
@protocol NSObject
/// https://developer.apple.com/documentation/objectivec/nsobjectprotocol/isequal(_:)
- (BOOL)isEqual:(id)object;
@end

/// https://developer.apple.com/documentation/foundation/nscopying
@protocol NSCopying
@end

/// https://developer.apple.com/documentation/objectivec/nsobject : the root class
__attribute__((objc_root_class))
/// https://developer.apple.com/documentation/objectivec/nsobject
@interface NSObject<NSObject> {
    Class isa;
}
/// https://www.oreilly.com/library/view/cocoa-in-a/0596004621/re308.html
+ (instancetype)alloc;
/// https://developer.apple.com/documentation/objectivec/nsobject-swift.class/new
+ (instancetype)new;
/// https://www.oreilly.com/library/view/cocoa-in-a/0596004621/re308.html
- (instancetype)init;
/// https://developer.apple.com/documentation/objectivec/nsobject-swift.class/dealloc
- (void)dealloc;
@end

/// https://docs.rs/rust-macios/latest/rust_macios/foundation/struct.NSString.html
@interface NSString : NSObject <NSCopying>
/// nil for bytes that are not of the encoding.
/// https://developer.apple.com/documentation/foundation/nsstring/init(bytes:length:encoding:)
- (instancetype)initWithBytes:(const void*)bytes length:(NSUInteger)length encoding:(NSStringEncoding)encoding;
/// https://developer.apple.com/documentation/foundation/nsstring/utf8string : not longer than the string
@property (readonly) const char* UTF8String __attribute__((objc_returns_inner_pointer));
@end

/// https://developer.apple.com/documentation/foundation/nserror
@interface NSError : NSObject
/// https://developer.apple.com/documentation/foundation/nserror/domain
@property (readonly, copy) NSString* domain;
/// https://developer.apple.com/documentation/foundation/nserror/code
@property (readonly) NSInteger code;
/// https://developer.apple.com/documentation/foundation/nserror/localizeddescription
@property (readonly, copy) NSString* localizedDescription;
@end

/// https://developer.apple.com/library/mac/documentation/cocoa/conceptual/Exceptions/Articles/ExceptionsAndCocoaFrameworks.html : what
/// the system throws is one of these, with a name and a reason.
@interface NSException : NSObject
/// https://developer.apple.com/documentation/foundation/nsexception/name
@property (readonly, copy) NSString* name;
/// https://developer.apple.com/documentation/foundation/nsexception/reason
@property (readonly, copy) NSString* reason;
@end

/// https://docs.rs/cocoa-foundation/0.1.1/cocoa_foundation/foundation/trait.NSArray.html
@interface NSArray<ObjectType> : NSObject
/// https://docs.rs/cocoa-foundation/0.1.1/cocoa_foundation/foundation/trait.NSArray.html
@property (readonly) NSUInteger count;
/// https://docs.rs/cocoa-foundation/0.1.1/cocoa_foundation/foundation/trait.NSArray.html
- (ObjectType)objectAtIndex:(NSUInteger)index;
@end

/// https://www.oreilly.com/library/view/cocoa-in-a/0596004621/re292.html
@interface NSMutableArray<ObjectType> : NSArray <ObjectType>
/// https://developer.apple.com/documentation/foundation/nsmutablearray/add(_:) : raises NSInvalidArgumentException for nil
- (void)addObject:(ObjectType)object;
@end

/// https://developer.apple.com/documentation/foundation/nsset
@interface NSSet<ObjectType> : NSObject
/// https://pub.dev/documentation/cocoa/latest/native_binding_bindings_generated/NSSetCreation/setWithArray.html
+ (instancetype)setWithArray:(NSArray<ObjectType>*)array;
@end

/// https://learn.microsoft.com/en-us/dotnet/api/foundation.nsdictionary
@interface NSDictionary<KeyType, ObjectType> : NSObject
/// https://developer.apple.com/documentation/foundation/nsdictionary/object(forkey:) : nil where there is none
- (ObjectType)objectForKey:(KeyType)key;
/// https://developer.apple.com/documentation/foundation/nsdictionary/allkeys
@property (readonly, copy) NSArray<KeyType>* allKeys;
@end

/// https://developer.apple.com/documentation/foundation/nsmutabledictionary/setobject(_:forkey:)
@interface NSMutableDictionary<KeyType, ObjectType> : NSDictionary <KeyType, ObjectType>
/// https://developer.apple.com/documentation/foundation/nsmutabledictionary/setobject(_:forkey:) : raises NSInvalidArgumentException for
/// nil
- (void)setObject:(ObjectType)object forKey:(KeyType<NSCopying>)key;
@end

/// https://developer.apple.com/documentation/foundation/nsattributedstring/key
typedef NSString* NSAttributedStringKey;

/// https://developer.apple.com/documentation/foundation/nsattributedstring
@interface NSAttributedString : NSObject
/// https://developer.apple.com/documentation/foundation/nsattributedstring/init(string:attributes:)
- (instancetype)initWithString:(NSString*)str attributes:(NSDictionary<NSAttributedStringKey, id>*)attrs;
@end

/// https://developer.apple.com/documentation/foundation/nsnumber/init(value:)-47coa
@interface NSNumber : NSObject
/// https://pub.dev/documentation/maplibre_ios/latest/objective_c/NSNumberCreation/numberWithUnsignedInt.html
+ (NSNumber*)numberWithUnsignedInt:(unsigned int)value;
@end

/// https://learn.microsoft.com/en-us/dotnet/api/foundation.nsdate
@interface NSDate : NSObject
/// https://developer.apple.com/documentation/foundation/nsdate/timeintervalsince1970
@property (readonly) NSTimeInterval timeIntervalSince1970;
@end

/// https://developer.apple.com/documentation/foundation/urlresourcekey ,
/// https://searchfox.org/firefox-main/source/third_party/rust/objc2-foundation/src/generated/NSURL.rs (a string)
typedef NSString* NSURLResourceKey;
extern "C" {
/// https://docs.rs/objc2-foundation/latest/aarch64-apple-darwin/objc2_foundation/static.NSURLCreationDateKey.html
extern NSURLResourceKey const NSURLCreationDateKey;

/// https://developer.apple.com/documentation/foundation/nshomedirectory()
NSString* NSHomeDirectory(void);
}

/// https://docs.rs/objc2-foundation/latest/objc2_foundation/struct.NSURL.html
@interface NSURL : NSObject
/// Of a path as the file system has it, of any bytes.
/// https://developer.apple.com/documentation/foundation/nsurl/fileurl(withfilesystemrepresentation:isdirectory:relativeto:)
+ (NSURL*)fileURLWithFileSystemRepresentation:(const char*)path isDirectory:(BOOL)isDirectory relativeToURL:(NSURL*)baseURL;
/// nil for what is no URL.
/// https://www.oreilly.com/library/view/cocoa-in-a/0596004621/re350.html
+ (instancetype)URLWithString:(NSString*)string;
/// https://developer.apple.com/documentation/foundation/nsurl/filesystemrepresentation : as long as an object that was returned
@property (readonly) const char* fileSystemRepresentation __attribute__((objc_returns_inner_pointer));
/// https://developer.apple.com/documentation/foundation/nsurl/isfileurl
@property (readonly, getter=isFileURL) BOOL fileURL;
/// https://developer.apple.com/documentation/foundation/nsurl/getresourcevalue(_:forkey:)
- (BOOL)getResourceValue:(id __autoreleasing*)value forKey:(NSURLResourceKey)key error:(NSError* __autoreleasing*)error;
@end

/// https://developer.apple.com/documentation/foundation/filemanager/searchpathdirectory
typedef NSUInteger NSSearchPathDirectory;
/// https://pub.dev/documentation/uikit_bindings/latest/uikit_bindings.g/NSSearchPathDirectory.html (NSTrashDirectory is not)
enum : NSSearchPathDirectory { NSMoviesDirectory = 17, NSApplicationSupportDirectory = 14, NSTrashDirectory = 102 };

/// https://developer.apple.com/documentation/foundation/filemanager/searchpathdomainmask/init(rawvalue:) has the width,
/// https://www.oreilly.com/library/view/cocoa-in-a/0596004621/re32.html the number
typedef NSUInteger NSSearchPathDomainMask;
enum : NSSearchPathDomainMask { NSUserDomainMask = 1 };

/// https://developer.apple.com/documentation/foundation/filemanager
@interface NSFileManager : NSObject
/// https://learn.microsoft.com/en-us/dotnet/api/foundation.nsfilemanager.defaultmanager
@property (class, readonly) NSFileManager* defaultManager;
/// https://developer.apple.com/documentation/foundation/filemanager/urls(for:in:)
- (NSArray<NSURL*>*)URLsForDirectory:(NSSearchPathDirectory)directory inDomains:(NSSearchPathDomainMask)domainMask;
/// https://developer.apple.com/documentation/foundation/filemanager/url(for:in:appropriatefor:create:)
- (NSURL*)URLForDirectory:(NSSearchPathDirectory)directory
                 inDomain:(NSSearchPathDomainMask)domain
        appropriateForURL:(NSURL*)url
                   create:(BOOL)shouldCreate
                    error:(NSError* __autoreleasing*)error;
@end

/// https://developer.apple.com/documentation/foundation/bundle
@interface NSBundle : NSObject
/// https://developer.apple.com/documentation/foundation/bundle/main : may be nil
@property (class, readonly) NSBundle* mainBundle;
/// https://developer.apple.com/documentation/foundation/bundle/bundleidentifier : may be nil
@property (readonly) NSString* bundleIdentifier;
@end

/// https://developer.apple.com/documentation/foundation/operationqueue
@interface NSOperationQueue : NSObject
/// https://developer.apple.com/documentation/foundation/operationqueue/main
@property (class, readonly) NSOperationQueue* mainQueue;
@end

/// https://docs.rs/objc2-foundation/latest/objc2_foundation/type.NSNotificationName.html
typedef NSString* NSNotificationName;

/// https://developer.apple.com/documentation/foundation/nsnotification
@interface NSNotification : NSObject
@end

/// https://www.oreilly.com/library/view/cocoa-in-a/0596004621/re303.html
@interface NSNotificationCenter : NSObject
/// https://www.oreilly.com/library/view/cocoa-in-a/0596004621/re303.html (as a method, which is called in the same way)
@property (class, readonly) NSNotificationCenter* defaultCenter;
/// What it returns has to be given to removeObserver: the centre holds it until then.
/// https://developer.apple.com/documentation/foundation/notificationcenter/addobserver(forname:object:queue:using:)
- (id<NSObject>)addObserverForName:(NSNotificationName)name
                            object:(id)object
                             queue:(NSOperationQueue*)queue
                        usingBlock:(void (^)(NSNotification* notification))block;
/// https://developer.apple.com/documentation/foundation/notificationcenter/removeobserver(_:)-2yciv
- (void)removeObserver:(id)observer;
@end

/// https://developer.apple.com/documentation/foundation/nskeyvalueobservingoptions : 0 for none; the width is in
/// https://onestack.dev/ios-reference/Foundation/NSKeyValueObservingOptions
typedef NSUInteger NSKeyValueObservingOptions;
/// https://developer.apple.com/documentation/objectivec/nsobject-swift.class/removeobserver(_:forkeypath:context:) (the methods are the
/// root class's)
@interface NSObject (NSKeyValueObserving)
/// https://developer.apple.com/documentation/objectivec/nsobject-swift.class/observevalue(forkeypath:of:change:context:)
- (void)observeValueForKeyPath:(NSString*)keyPath ofObject:(id)object change:(NSDictionary<NSString*, id>*)change context:(void*)context;
/// https://developer.apple.com/documentation/objectivec/nsobject-swift.class/addobserver(_:forkeypath:options:context:)
- (void)addObserver:(NSObject*)observer forKeyPath:(NSString*)keyPath options:(NSKeyValueObservingOptions)options context:(void*)context;
/// https://developer.apple.com/documentation/objectivec/nsobject-swift.class/removeobserver(_:forkeypath:context:)
- (void)removeObserver:(NSObject*)observer forKeyPath:(NSString*)keyPath context:(void*)context;
@end

/// https://developer.apple.com/documentation/foundation/processinfo/operatingsystemversionstring
@interface NSProcessInfo : NSObject
/// https://www.oreilly.com/library/view/cocoa-in-a/0596004621/re315.html (as a method, which is called in the same way)
@property (class, readonly, strong) NSProcessInfo* processInfo;
/// https://developer.apple.com/documentation/foundation/processinfo/operatingsystemversionstring
@property (readonly, copy) NSString* operatingSystemVersionString;
@end

#endif
