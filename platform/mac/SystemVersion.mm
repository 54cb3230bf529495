#include "platform/mac/SystemVersion.h"

#include "platform/mac/ObjectiveC.h"

namespace velmora::mac_backend {

std::string systemVersion()
{
    @autoreleasepool {
        return textOf(NSProcessInfo.processInfo.operatingSystemVersionString);
    }
}

}  // namespace velmora::mac_backend
