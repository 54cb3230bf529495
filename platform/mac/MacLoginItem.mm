#include "platform/mac/MacLoginItem.h"

#include "platform/mac/ObjectiveC.h"

#import <ServiceManagement/ServiceManagement.h>

namespace velmora::mac_backend {

namespace {

class MacLoginItem final : public platform::LoginItem {
public:
    [[nodiscard]] Status status() const override
    {
        @autoreleasepool {
            const SMAppServiceStatus status = SMAppService.mainAppService.status;
            // A service that was never registered may be "not found" as well, so that says nothing against registering it.
            if (status == SMAppServiceStatusRequiresApproval)
                return {.isOn = false, .remark = "Velmora has to be allowed under Login Items in System Settings."};
            return {.isOn = status == SMAppServiceStatusEnabled};
        }
    }

    Result<void> setOn(bool isOn) override
    {
        @autoreleasepool {
            SMAppService* const service = SMAppService.mainAppService;
            const SMAppServiceStatus status = service.status;
            // What is so already is an error to the system.
            if (isOn ? status == SMAppServiceStatusEnabled
                     : status == SMAppServiceStatusNotRegistered || status == SMAppServiceStatusNotFound)
                return {};
            NSError* error = nil;
            const BOOL isDone = isOn ? [service registerAndReturnError:&error] : [service unregisterAndReturnError:&error];
            // Registered, but to be allowed by the user first: that is no failure, and status() says it.
            if (isDone || (isOn && service.status == SMAppServiceStatusRequiresApproval))
                return {};
            return fail(errorOf(error, "The login items cannot be changed."));
        }
    }
};

}  // namespace

std::shared_ptr<platform::LoginItem> makeLoginItem()
{
    return std::make_shared<MacLoginItem>();
}

}  // namespace velmora::mac_backend
