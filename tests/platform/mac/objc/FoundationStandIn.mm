#include "tests/platform/mac/objc/FoundationStandIn.h"

#include "tests/platform/mac/objc/ExceptionStandIn.h"
#include "tests/platform/mac/objc/FolderStandIn.h"
#include "tests/platform/mac/objc/Runtime.h"
#include "tests/platform/mac/standins/CoreFoundationStandIn.h"

#include <Block.h>
#include <utility>
#include <vector>

extern "C" {
id velmoraMake(Class of);
void velmoraEnd(id object);
}

namespace {

/// Not held, as the system does not.
struct KeyObserver {
    NSObject* object;
    NSObject* observer;
    std::string key;
    void* context;
};
std::vector<KeyObserver>& keyObservers()
{
    static auto& all = *new std::vector<KeyObserver>;
    return all;
}

}  // namespace

@implementation NSProcessInfo
+ (NSProcessInfo*)processInfo
{
    return objc_autorelease([NSProcessInfo new]);
}
- (NSString*)operatingSystemVersionString
{
    return objc_autorelease(velmora::standin::makeText(velmora::standin::foundation().systemVersion));
}
@end

@implementation NSObject
+ (instancetype)alloc
{
    return velmoraMake(self);
}
+ (instancetype)new
{
    return [[self alloc] init];
}
- (instancetype)init
{
    return self;
}
- (void)dealloc
{
    velmoraEnd(self);
}
- (BOOL)isEqual:(id)object
{
    return self == object;
}
- (void)observeValueForKeyPath:(NSString*)keyPath ofObject:(id)object change:(NSDictionary*)change context:(void*)context
{
    static_cast<void>(keyPath), static_cast<void>(object), static_cast<void>(change), static_cast<void>(context);
    velmora::standin::raise(velmora::standin::inconsistency, "a value was told to an object that does not observe it");
}
- (void)addObserver:(NSObject*)observer forKeyPath:(NSString*)keyPath options:(NSKeyValueObservingOptions)options context:(void*)context
{
    static_cast<void>(options);
    keyObservers().push_back({self, observer, keyPath.UTF8String, context});
}
- (void)removeObserver:(NSObject*)observer forKeyPath:(NSString*)keyPath context:(void*)context
{
    const std::string key = keyPath.UTF8String;
    const auto removed = std::erase_if(keyObservers(), [&](const KeyObserver& each) {
        return each.object == self && each.observer == observer && each.key == key && each.context == context;
    });
    if (removed != 1)
        velmora::standin::raise(velmora::standin::outOfRange, "an observer was removed that is not registered");
}
@end

@implementation NSString {
@public
    std::string _text;
}
- (instancetype)initWithBytes:(const void*)bytes length:(NSUInteger)length encoding:(NSStringEncoding)encoding
{
    const auto* const text = static_cast<const char*>(bytes);
    _text.assign(text, length);
    // "nil if the length of the byte string is illegal": what is not of the encoding makes no string.
    if (encoding != NSUTF8StringEncoding || !velmora::standin::isUtf8(_text)) {
        objc_release(self);
        return nil;
    }
    return self;
}
- (const char*)UTF8String
{
    return _text.c_str();
}
@end

@implementation NSError
- (NSString*)domain
{
    return nil;
}
- (NSInteger)code
{
    return 0;
}
- (NSString*)localizedDescription
{
    return nil;
}
@end

@interface VelmoraError : NSError {
@public
    NSString* _domain;
    NSInteger _code;
    NSString* _description;
}
@end
@implementation VelmoraError
- (NSString*)domain
{
    return _domain;
}
- (NSInteger)code
{
    return _code;
}
- (NSString*)localizedDescription
{
    return _description;
}
- (void)dealloc
{
    objc_release(_domain);
    objc_release(_description);
    [super dealloc];
}
@end

@implementation NSArray
- (NSUInteger)count
{
    return 0;
}
- (id)objectAtIndex:(NSUInteger)index
{
    static_cast<void>(index);
    velmora::standin::raise(velmora::standin::outOfRange, "an index beyond the end of an array");
}
@end

@implementation NSMutableArray {
    std::vector<id> _objects;
}
- (NSUInteger)count
{
    return _objects.size();
}
- (id)objectAtIndex:(NSUInteger)index
{
    // https://developer.apple.com/documentation/foundation/nsarray/object(at:)
    if (index >= _objects.size())
        velmora::standin::raise(velmora::standin::outOfRange, "an index beyond the end of an array");
    return _objects[index];
}
- (void)addObject:(id)object
{
    // https://developer.apple.com/documentation/foundation/nsmutablearray/add(_:)
    if (!object)
        velmora::standin::raise(velmora::standin::invalidArgument, "nil in an array");
    _objects.push_back(objc_retain(object));
}
- (void)dealloc
{
    for (id each : _objects)
        objc_release(each);
    [super dealloc];
}
@end

@implementation NSSet {
@public
    NSArray* _objects;
}
+ (instancetype)setWithArray:(NSArray*)array
{
    NSSet* const made = [NSSet new];
    made->_objects = objc_retain(array);
    return objc_autorelease(made);
}
- (void)dealloc
{
    objc_release(_objects);
    [super dealloc];
}
@end

@implementation NSDictionary {
@public
    std::vector<std::pair<id, id>> _entries;
}
- (id)objectForKey:(id)key
{
    for (const auto& [each, object] : _entries) {
        if (each == key || velmora::standin::textOfObject(each) == velmora::standin::textOfObject(key))
            return object;
    }
    return nil;
}
- (NSArray*)allKeys
{
    NSMutableArray* const keys = [NSMutableArray new];
    for (const auto& [each, object] : _entries)
        [keys addObject:each];
    return objc_autorelease(keys);
}
- (void)dealloc
{
    for (const auto& [key, object] : _entries) {
        objc_release(key);
        objc_release(object);
    }
    [super dealloc];
}
@end

@implementation NSMutableDictionary
- (void)setObject:(id)object forKey:(id)key
{
    // https://developer.apple.com/documentation/foundation/nsmutabledictionary/setobject(_:forkey:)
    if (!object || !key)
        velmora::standin::raise(velmora::standin::invalidArgument, "nil in a dictionary");
    _entries.emplace_back(objc_retain(key), objc_retain(object));
}
@end

@implementation NSNumber {
@public
    unsigned int _value;
}
+ (NSNumber*)numberWithUnsignedInt:(unsigned int)value
{
    NSNumber* const made = [NSNumber new];
    made->_value = value;
    return objc_autorelease(made);
}
@end

@implementation NSDate {
@public
    NSTimeInterval _seconds;
}
- (NSTimeInterval)timeIntervalSince1970
{
    return _seconds;
}
@end

@implementation NSURL {
@public
    std::string _text;
    bool _isFile;
}
+ (NSURL*)fileURLWithFileSystemRepresentation:(const char*)path isDirectory:(BOOL)isDirectory relativeToURL:(NSURL*)baseURL
{
    static_cast<void>(isDirectory), static_cast<void>(baseURL);
    NSURL* const made = [NSURL new];
    made->_text = path;
    made->_isFile = true;
    return objc_autorelease(made);
}
+ (instancetype)URLWithString:(NSString*)string
{
    const std::string text = string.UTF8String;
    if (text.empty() || text.find(' ') != std::string::npos)
        return nil;
    NSURL* const made = [NSURL new];
    made->_text = text;
    return objc_autorelease(made);
}
- (const char*)fileSystemRepresentation
{
    return _text.c_str();
}
- (BOOL)isFileURL
{
    return _isFile;
}
- (BOOL)getResourceValue:(id __autoreleasing*)value forKey:(NSURLResourceKey)key error:(NSError* __autoreleasing*)error
{
    static_cast<void>(error);
    if (key != NSURLCreationDateKey)
        std::abort();
    const auto& dates = velmora::standin::foundation().creationDates;
    const auto found = dates.find(_text);
    if (found == dates.end()) {
        // A file system that keeps none: the question succeeds and there is no value.
        *value = nil;
        return YES;
    }
    NSDate* const date = [NSDate new];
    date->_seconds = found->second;
    *value = objc_autorelease(date);
    return YES;
}
@end

@implementation NSFileManager
+ (NSFileManager*)defaultManager
{
    return objc_autorelease([NSFileManager new]);
}
- (NSArray*)URLsForDirectory:(NSSearchPathDirectory)directory inDomains:(NSSearchPathDomainMask)domainMask
{
    NSMutableArray* const urls = [NSMutableArray new];
    const auto& folders = velmora::standin::foundation().folders;
    if (const auto found = folders.find(directory); found != folders.end() && domainMask == NSUserDomainMask)
        [urls addObject:[NSURL fileURLWithFileSystemRepresentation:found->second.c_str() isDirectory:YES relativeToURL:nil]];
    return objc_autorelease(urls);
}
- (NSURL*)URLForDirectory:(NSSearchPathDirectory)directory
                 inDomain:(NSSearchPathDomainMask)domain
        appropriateForURL:(NSURL*)url
                   create:(BOOL)shouldCreate
                    error:(NSError* __autoreleasing*)error
{
    static_cast<void>(domain), static_cast<void>(url), static_cast<void>(shouldCreate);
    const auto& folders = velmora::standin::foundation().folders;
    if (const auto found = folders.find(directory); found != folders.end())
        return [NSURL fileURLWithFileSystemRepresentation:found->second.c_str() isDirectory:YES relativeToURL:nil];
    *error = objc_autorelease(velmora::standin::makeError("NSCocoaErrorDomain", 3328, "The feature is not supported."));
    return nil;
}
@end

@implementation NSBundle
+ (NSBundle*)mainBundle
{
    return objc_autorelease([NSBundle new]);
}
- (NSString*)bundleIdentifier
{
    return objc_autorelease(velmora::standin::makeText(velmora::standin::foundation().bundleIdentifier));
}
@end

@implementation NSOperationQueue
+ (NSOperationQueue*)mainQueue
{
    return objc_autorelease([NSOperationQueue new]);
}
@end

@implementation NSNotification
@end

/// What is told to one observer, until it is removed.
@interface VelmoraObservation : NSObject {
@public
    NSString* _name;
    id _object;
    void (^_block)(NSNotification*);
}
@end
@implementation VelmoraObservation
- (void)dealloc
{
    _Block_release(_block);
    [super dealloc];
}
@end

namespace {
std::vector<VelmoraObservation*>& observations()
{
    static auto& all = *new std::vector<VelmoraObservation*>;
    return all;
}
}  // namespace

@implementation NSNotificationCenter
+ (NSNotificationCenter*)defaultCenter
{
    return objc_autorelease([NSNotificationCenter new]);
}
- (id<NSObject>)addObserverForName:(NSNotificationName)name
                            object:(id)object
                             queue:(NSOperationQueue*)queue
                        usingBlock:(void (^)(NSNotification*))block
{
    if (!queue)
        std::abort();
    VelmoraObservation* const made = [VelmoraObservation new];
    made->_name = name;
    made->_object = object;
    made->_block = (void (^)(NSNotification*))_Block_copy(block);
    observations().push_back(objc_retain(made));
    return objc_autorelease(made);
}
- (void)removeObserver:(id)observer
{
    for (auto each = observations().begin(); each != observations().end(); ++each) {
        if (*each == observer) {
            observations().erase(each);
            objc_release(observer);
            return;
        }
    }
}
@end

@interface VelmoraQueue : NSObject <OS_dispatch_queue> {
@public
    std::shared_ptr<velmora::SerialQueue> _queue;
}
@end
@implementation VelmoraQueue
@end

extern "C" {

NSURLResourceKey const NSURLCreationDateKey = velmora::standin::makeText("NSURLCreationDateKey");

NSString* NSHomeDirectory()
{
    return objc_autorelease(velmora::standin::makeText(velmora::standin::foundation().home));
}

dispatch_queue_attr_t dispatch_queue_attr_make_with_qos_class(dispatch_queue_attr_t attribute, dispatch_qos_class_t, int)
{
    return attribute;
}

dispatch_queue_t dispatch_queue_create(const char* label, dispatch_queue_attr_t)
{
    VelmoraQueue* const queue = [VelmoraQueue new];
    queue->_queue = std::make_shared<velmora::SerialQueue>(label);
    return queue;
}

}  // extern "C"

namespace velmora::standin {

Foundation& foundation()
{
    static auto& all = *new Foundation;
    return all;
}

std::string textOfObject(id object)
{
    // A key of Core Foundation's is no object here, and is told by its address.
    if (isHeldLikeAnObject(object))
        return std::to_string(reinterpret_cast<std::uintptr_t>(object));
    return ((NSString*)object)->_text;
}

std::string urlText(NSURL* url)
{
    return url->_text;
}

NSURL* makeUrl(const std::string& text, bool isFile)
{
    NSURL* const made = [NSURL new];
    made->_text = text;
    made->_isFile = isFile;
    return made;
}

NSArray* objectsOf(NSSet* set)
{
    return set->_objects;
}

std::map<std::string, std::string> textsOf(NSDictionary* dictionary)
{
    std::map<std::string, std::string> all;
    if (dictionary) {
        for (const auto& [key, value] : dictionary->_entries)
            all.emplace(textOfObject(key), textOfObject(value));
    }
    return all;
}

void postNotification(NSString* name, id object)
{
    runInPool([&] {
        const auto all = observations();
        for (VelmoraObservation* each : all) {
            if (each->_name == name && (!each->_object || each->_object == object))
                each->_block(nil);
        }
    });
}

void valueDidChange(NSObject* object, const std::string& key)
{
    const auto all = keyObservers();
    for (const auto& each : all) {
        if (each.object == object && each.key == key)
            runInPool([&] { [each.observer observeValueForKeyPath:nil ofObject:object change:nil context:each.context]; });
    }
}

std::size_t foundationObserverCount()
{
    return observations().size() + keyObservers().size();
}

void putFolder(UserFolder folder, const std::string& path)
{
    foundation().folders[static_cast<NSUInteger>(folder)] = path;
}

void putCreationDate(const std::filesystem::path& file, double secondsSince1970)
{
    foundation().creationDates[file.native()] = secondsSince1970;
}

void removeBundle()
{
    foundation().bundleIdentifier = std::nullopt;
}

NSString* makeText(const std::optional<std::string>& text)
{
    if (!text)
        return nil;
    NSString* const made = [NSString new];
    made->_text = *text;
    return made;
}

NSError* makeError(const std::string& domain, NSInteger code, const std::string& description)
{
    VelmoraError* const made = [VelmoraError new];
    made->_domain = makeText(domain);
    made->_code = code;
    made->_description = makeText(description);
    return made;
}

void runInPool(const std::function<void()>& work)
{
    auto* const mark = objc_autoreleasePoolPush();
    work();
    objc_autoreleasePoolPop(mark);
}

void runOn(dispatch_queue_t queue, std::function<void()> work)
{
    // As libdispatch does, the queue lives until its work has run.
    const auto serial = ((VelmoraQueue*)queue)->_queue;
    serial->async([serial, work = std::move(work)] { runInPool(work); });
}

}  // namespace velmora::standin
