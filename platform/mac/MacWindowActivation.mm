#include "platform/mac/MacWindowActivation.h"

#include "platform/mac/NativeWindow.h"

#include <cmath>

namespace velmora::mac_backend {

namespace {

/// From the bottom left corner of the first screen to its top left one.
PixelRect fromTheTop(NSRect rect, CGFloat heightOfTheFirst)
{
    const auto whole = [](CGFloat value) { return static_cast<std::int32_t>(std::lround(value)); };
    return {
        whole(rect.origin.x), whole(heightOfTheFirst - rect.origin.y - rect.size.height), whole(rect.size.width), whole(rect.size.height)};
}

class MacWindowActivation final : public platform::WindowActivation {
public:
    void activate(std::uint64_t nativeWindow) override
    {
        @autoreleasepool {
            NSWindow* const window = windowOf(nativeWindow);
            if (!window)
                return;
            // The two exclude each other: a window on all spaces is here already.
            if ((window.collectionBehavior & NSWindowCollectionBehaviorCanJoinAllSpaces) == 0)
                window.collectionBehavior = window.collectionBehavior | NSWindowCollectionBehaviorMoveToActiveSpace;
            [NSApplication.sharedApplication activate];
            [window makeKeyAndOrderFront:nil];
        }
    }

    [[nodiscard]] std::optional<platform::ScreenFrames> mainScreen() override
    {
        @autoreleasepool {
            NSScreen* const screen = NSScreen.mainScreen;
            NSArray<NSScreen*>* const all = NSScreen.screens;
            if (!screen || all.count == 0)
                return std::nullopt;
            const CGFloat height = [all objectAtIndex:0].frame.size.height;
            const auto frame = fromTheTop(screen.frame, height);
            const auto visible = fromTheTop(screen.visibleFrame, height).intersected(frame);
            return platform::ScreenFrames{frame, visible.isEmpty() ? frame : visible};
        }
    }
};

}  // namespace

std::shared_ptr<platform::WindowActivation> makeWindowActivation()
{
    return std::make_shared<MacWindowActivation>();
}

}  // namespace velmora::mac_backend
