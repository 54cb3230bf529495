#include "tests/platform/mac/objc/ServiceManagementStandIn.h"

#include "tests/platform/mac/objc/FoundationStandIn.h"

#import <ServiceManagement/ServiceManagement.h>

using velmora::standin::loginItems;

@implementation SMAppService
+ (SMAppService*)mainAppService
{
    return objc_autorelease([SMAppService new]);
}
- (SMAppServiceStatus)status
{
    return loginItems().status;
}
- (BOOL)registerAndReturnError:(NSError* __autoreleasing*)error
{
    ++loginItems().calls;
    if (!loginItems().refuses)
        loginItems().status = loginItems().statusOnceRegistered;
    if (!loginItems().refuses && !loginItems().registeringFailsThen)
        return YES;
    *error = objc_autorelease(velmora::standin::makeError("SMAppServiceErrorDomain", 1, "Operation not permitted"));
    return NO;
}
- (BOOL)unregisterAndReturnError:(NSError* __autoreleasing*)error
{
    ++loginItems().calls;
    if (loginItems().refuses || loginItems().status == SMAppServiceStatusNotRegistered) {
        *error = objc_autorelease(velmora::standin::makeError("SMAppServiceErrorDomain", 6, "Job not found"));
        return NO;
    }
    loginItems().status = SMAppServiceStatusNotRegistered;
    return YES;
}
@end

namespace velmora::standin {

LoginItems& loginItems()
{
    static LoginItems all;
    return all;
}

}  // namespace velmora::standin
