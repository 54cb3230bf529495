#include "tests/platform/mac/objc/ExceptionStandIn.h"

#include "tests/platform/mac/objc/FoundationStandIn.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <set>

using velmora::standin::makeText;

@implementation NSException {
@public
    NSString* _name;
    NSString* _reason;
}
- (NSString*)name
{
    return _name;
}
- (NSString*)reason
{
    return _reason;
}
- (void)dealloc
{
    objc_release(_name);
    objc_release(_reason);
    [super dealloc];
}
@end

namespace velmora::standin {

namespace {

std::atomic<int> count;

std::set<std::string>& throwing()
{
    static auto& all = *new std::set<std::string>;
    return all;
}

/// Says which exception nobody caught, as the system does before it ends the program.
[[noreturn]] void endWithUncaught()
{
    try {
        throw;
    } catch (NSException* exception) {
        std::fprintf(stderr, "Objective-C stand-in: nobody caught %s: %s\n", exception.name.UTF8String, exception.reason.UTF8String);
    } catch (...) {
        std::fprintf(stderr, "Objective-C stand-in: nobody caught an exception\n");
    }
    std::abort();
}

const bool isHandlerSet = [] {
    std::set_terminate(endWithUncaught);
    return true;
}();

}  // namespace

void throwFrom(const std::string& selector)
{
    throwing().insert(selector);
}

void throwFromNothing()
{
    throwing().clear();
    count = 0;
}

int thrownCount()
{
    return count;
}

void raise(const char* name, const char* reason)
{
    NSException* const exception = objc_autorelease([NSException new]);
    exception->_name = makeText(std::string{name});
    exception->_reason = makeText(std::string{reason});
    ++count;
    @throw exception;
}

void throwIfAsked(const char* selector)
{
    if (throwing().contains(selector))
        raise(inconsistency, selector);
}

}  // namespace velmora::standin
