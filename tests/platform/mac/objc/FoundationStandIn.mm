#include "tests/platform/mac/objc/FoundationStandIn.h"

#include <utility>
#include <vector>

extern "C" {
id velmoraMake(Class of);
void velmoraEnd(id object);
}

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
@end

@implementation NSString
- (const char*)UTF8String
{
    return nullptr;
}
@end

@interface VelmoraText : NSString {
@public
    std::string _text;
}
@end
@implementation VelmoraText
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
    return nil;
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
    // The system's throws: https://developer.apple.com/documentation/foundation/nsarray/object(at:)
    return _objects.at(index);
}
- (void)addObject:(id)object
{
    // Of nil the system's throws: https://developer.apple.com/documentation/foundation/nsmutablearray/add(_:)
    if (!object)
        std::abort();
    _objects.push_back(objc_retain(object));
}
- (void)dealloc
{
    for (id each : _objects)
        objc_release(each);
    [super dealloc];
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

NSString* makeText(const std::optional<std::string>& text)
{
    if (!text)
        return nil;
    VelmoraText* const made = [VelmoraText new];
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
