#include "platform/mac/MacScreens.h"

#import <AppKit/AppKit.h>

namespace velmora::mac_backend {

namespace {

class MacScreens final : public platform::Screens {
public:
    [[nodiscard]] std::optional<float> mainScreenBackingScaleFactor() const override
    {
        @autoreleasepool {
            NSScreen* const screen = NSScreen.mainScreen;
            if (!screen)
                return std::nullopt;
            return static_cast<float>(screen.backingScaleFactor);
        }
    }
};

}  // namespace

std::shared_ptr<platform::Screens> makeScreens()
{
    return std::make_shared<MacScreens>();
}

}  // namespace velmora::mac_backend
