#include "tests/platform/mac/objc/AppKitObjects.h"

#include "tests/platform/mac/objc/ExceptionStandIn.h"
#include "tests/platform/mac/objc/FoundationStandIn.h"

@implementation NSRunningApplication {
    velmora::standin::RunningProgram _program;
}
+ (NSRunningApplication*)runningApplicationWithProcessIdentifier:(pid_t)pid
{
    const auto& programs = velmora::standin::runningPrograms();
    const auto found = programs.find(pid);
    if (found == programs.end())
        return nil;
    NSRunningApplication* const made = [NSRunningApplication new];
    made->_program = found->second;
    return objc_autorelease(made);
}
- (NSImage*)icon
{
    if (_program.throws)
        velmora::standin::raise(velmora::standin::inconsistency, "an icon that cannot be read");
    if (!_program.icon)
        return nil;
    if (_program.isIconEmpty)
        return objc_autorelease([NSImage new]);
    return objc_autorelease(velmora::standin::makeImage(*_program.icon));
}
@end

namespace velmora::standin {

std::map<std::int32_t, RunningProgram>& runningPrograms()
{
    static std::map<std::int32_t, RunningProgram> all;
    return all;
}

}  // namespace velmora::standin
