// The panel in the corner of a Mac's screen. Compiled and tested against stand-ins; never run on a Mac.
#include "app/native/FloatingPanel.h"

#import <AppKit/AppKit.h>
#include <utility>

/// One that cannot get the keys, so that a click on it leaves them where they are.
@interface VelmoraFloatingPanel : NSPanel
@end

@implementation VelmoraFloatingPanel
- (BOOL)canBecomeKeyWindow
{
    return NO;
}
@end

namespace velmora {

namespace {

constexpr NSSize panelSize{340, 110};
// The panel's lower left corner, from the upper right one of the free area.
constexpr CGFloat fromRightEdge = 360;
constexpr CGFloat fromTopEdge = 120;

VelmoraFloatingPanel* makePanel()
{
    VelmoraFloatingPanel* const panel = [[VelmoraFloatingPanel alloc]
        initWithContentRect:NSRect{{0, 0}, panelSize}
                  styleMask:NSWindowStyleMaskTitled | NSWindowStyleMaskFullSizeContentView | NSWindowStyleMaskNonactivatingPanel
                    backing:NSBackingStoreBuffered
                      defer:NO];
    panel.releasedWhenClosed = NO;
    panel.floatingPanel = YES;
    panel.level = NSFloatingWindowLevel;
    panel.collectionBehavior = NSWindowCollectionBehaviorCanJoinAllSpaces | NSWindowCollectionBehaviorFullScreenAuxiliary;
    panel.titleVisibility = NSWindowTitleHidden;
    panel.titlebarAppearsTransparent = YES;
    panel.movableByWindowBackground = YES;
    panel.opaque = NO;
    panel.backgroundColor = NSColor.clearColor;
    panel.hasShadow = YES;
    // The program is hardly ever the active one, and a panel goes with that unless it is told to stay.
    panel.hidesOnDeactivate = NO;
    return panel;
}

bool wantsNoMotion()
{
    return NSWorkspace.sharedWorkspace.accessibilityDisplayShouldReduceMotion != NO;
}

class MacFloatingPanel final : public FloatingPanel {
public:
    MacFloatingPanel() = default;
    MacFloatingPanel(const MacFloatingPanel&) = delete;
    MacFloatingPanel& operator=(const MacFloatingPanel&) = delete;
    ~MacFloatingPanel() override
    {
        @autoreleasepool {
            ++*turn_;
            [panel_ orderOut:nil];
            panel_.contentView = nil;
            panel_ = nil;
        }
    }

    void setContentView(std::uint64_t nativeView) override
    {
        @autoreleasepool {
            panel().contentView = (__bridge NSView*)reinterpret_cast<void*>(static_cast<std::uintptr_t>(nativeView));
        }
    }

    void place() override
    {
        @autoreleasepool {
            NSScreen* const screen = NSScreen.mainScreen;
            if (!screen)
                return;
            const NSRect area = screen.visibleFrame;
            [panel()
                setFrameOrigin:CGPoint{area.origin.x + area.size.width - fromRightEdge, area.origin.y + area.size.height - fromTopEdge}];
        }
    }

    void orderFrontAndFadeIn() override
    {
        @autoreleasepool {
            ++*turn_;
            NSPanel* const shown = panel();
            shown.alphaValue = 0;
            [shown orderFrontRegardless];
            if (wantsNoMotion())
                shown.alphaValue = 1;
            else
                [shown animator].alphaValue = 1;
        }
    }

    void fadeOutAndOrderOut(std::chrono::milliseconds duration) override
    {
        @autoreleasepool {
            if (!panel_)
                return;
            const auto current = ++*turn_;
            NSPanel* const fading = panel_;
            if (wantsNoMotion()) {
                fading.alphaValue = 0;
                [fading orderOut:nil];
                return;
            }
            const auto turn = turn_;
            const NSTimeInterval seconds = std::chrono::duration<double>(duration).count();
            [NSAnimationContext
                runAnimationGroup:^(NSAnimationContext* context) {
                    context.duration = seconds;
                    [fading animator].alphaValue = 0;
                }
                completionHandler:^{
                    // It may have been shown again while it faded, or have gone.
                    if (*turn == current)
                        [fading orderOut:nil];
                }];
        }
    }

private:
    NSPanel* panel()
    {
        if (!panel_)
            panel_ = makePanel();
        return panel_;
    }

    NSPanel* panel_ = nil;
    const std::shared_ptr<unsigned> turn_ = std::make_shared<unsigned>(0);  // counts what was asked of it; the last counts
};

}  // namespace

std::unique_ptr<FloatingPanel> makeFloatingPanel()
{
    return std::make_unique<MacFloatingPanel>();
}

}  // namespace velmora
