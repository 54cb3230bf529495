#include "platform/mac/MacWindowIcons.h"

#include "base/SerialQueue.h"
#include "platform/mac/Images.h"
#include "platform/mac/SystemExceptions.h"

#include <map>
#include <optional>
#include <utility>

namespace velmora::mac_backend {

namespace {

using Icon = std::optional<platform::ApplicationIcon>;

/// An icon is the application's own: whatever the system throws over it, its windows go without.
Icon iconOf(pid_t process, int side)
{
    Icon icon;
    const auto thrown =
        thrownBy([&] { icon = pictureOf([NSRunningApplication runningApplicationWithProcessIdentifier:process].icon, side); });
    return thrown ? std::nullopt : icon;
}

void findIconsIn(ShareableObjects& objects, const std::vector<std::uint32_t>& windowIDs, int side, platform::WindowIcons::Found& found)
{
    std::map<pid_t, Icon> icons;
    for (const auto windowID : windowIDs) {
        @autoreleasepool {
            SCRunningApplication* const application = objects.window(windowID).owningApplication;
            if (!application)
                continue;
            const auto [known, isNew] = icons.try_emplace(application.processID);
            if (isNew)
                known->second = iconOf(known->first, side);
            if (known->second && !found(windowID, *known->second))
                return;
        }
    }
}

class MacWindowIcons final : public platform::WindowIcons {
public:
    explicit MacWindowIcons(std::shared_ptr<ShareableObjects> objects) : objects_(std::move(objects)) { }

    void findIcons(std::vector<std::uint32_t> windowIDs, int side, Found found) override
    {
        queue_.async([objects = objects_, windowIDs = std::move(windowIDs), side, found = std::move(found)]() mutable {
            findIconsIn(*objects, windowIDs, side, found);
        });
    }

private:
    const std::shared_ptr<ShareableObjects> objects_;
    SerialQueue queue_{"com.velmora.mac.windowIcons", SerialQueue::QualityOfService::utility};
};

}  // namespace

std::shared_ptr<platform::WindowIcons> makeWindowIcons(std::shared_ptr<ShareableObjects> objects)
{
    return std::make_shared<MacWindowIcons>(std::move(objects));
}

}  // namespace velmora::mac_backend
