#include "tests/platform/mac/objc/AppKitObjects.h"

#include "tests/platform/mac/objc/ExceptionStandIn.h"
#include "tests/platform/mac/objc/FoundationStandIn.h"
#include "tests/platform/mac/objc/ShellStandIn.h"

#include <Block.h>
#include <optional>
#include <utility>

using velmora::standin::appKit;

namespace {

struct Animations {
    std::vector<std::optional<double>> durations;  ///< of the groups that are being made
    std::vector<void*> completions;
};
Animations& animations()
{
    static Animations all;
    return all;
}

std::optional<double> animationDuration()
{
    return animations().durations.empty() ? std::nullopt : animations().durations.back();
}

}  // namespace

@implementation NSWindow {
@public
    velmora::standin::WindowState _state;
    NSView* _content;
    NSView* _heldContent;  ///< by what was set, but not by what a test has made
    NSColor* _backgroundColor;
}
- (NSWindowCollectionBehavior)collectionBehavior
{
    return _state.behavior;
}
- (void)setCollectionBehavior:(NSWindowCollectionBehavior)behavior
{
    // https://developer.apple.com/documentation/appkit/nswindow/collectionbehavior-swift.property
    if ((behavior & 3) == 3)
        velmora::standin::raise(velmora::standin::inconsistency, "a window that is on all spaces and moves to the active one");
    _state.behavior = behavior;
}
- (NSView*)contentView
{
    return _content;
}
- (void)setContentView:(NSView*)view
{
    NSView* const before = _heldContent;
    _heldContent = objc_retain(view);
    objc_release(before);
    _content = view;
}
- (void)makeKeyAndOrderFront:(id)sender
{
    static_cast<void>(sender);
    ++_state.madeKey;
}
- (void)orderFrontRegardless
{
    ++_state.orderedFront;
    _state.isOrderedIn = true;
    _state.alphaWhenOrderedIn = _state.alpha;
}
- (void)orderOut:(id)sender
{
    static_cast<void>(sender);
    _state.isOrderedIn = false;
}
- (instancetype)initWithContentRect:(NSRect)contentRect
                          styleMask:(NSUInteger)style
                            backing:(NSBackingStoreType)backingStoreType
                              defer:(BOOL)flag
{
    // The mask for panels is for those alone: https://developer.apple.com/documentation/appkit/nswindow/stylemask-swift.struct/nonactivatingpanel
    if ((style & NSWindowStyleMaskNonactivatingPanel) != 0 && !self.isPanel)
        velmora::standin::raise(velmora::standin::inconsistency, "a style of panels on a window");
    _state.frame = velmora::standin::rectFrom(contentRect);
    _state.style = style;
    _state.isBuffered = backingStoreType == NSBackingStoreBuffered && !flag;
    self.opaque = YES;
    self.hidesOnDeactivate = self.isPanel;
    self.releasedWhenClosed = !self.isPanel;
    _state.alpha = 1;
    appKit().windows.push_back(reinterpret_cast<std::uintptr_t>(self));
    return self;
}
- (BOOL)isPanel
{
    return NO;
}
- (CGFloat)alphaValue
{
    return _state.alpha;
}
- (void)setAlphaValue:(CGFloat)alpha
{
    // What an animator was asked for begins here and arrives with its end.
    if (std::exchange(_state.isAnimatorAsked, false))
        _state.animatedAlpha = alpha;
    else {
        _state.alpha = alpha;
        _state.animatedAlpha = std::nullopt;
    }
}
- (instancetype)animator
{
    _state.isAnimatorAsked = true;
    _state.animationSeconds = animationDuration();
    return self;
}
- (BOOL)canBecomeKeyWindow
{
    return YES;
}
- (void)setFrameOrigin:(CGPoint)point
{
    _state.frame.x = point.x;
    _state.frame.y = point.y;
}
- (void)dealloc
{
    std::erase(appKit().windows, reinterpret_cast<std::uintptr_t>(self));
    objc_release(_heldContent);
    objc_release(_backgroundColor);
    [super dealloc];
}
@end

@implementation NSPanel {
    bool _isFloating;
}
- (BOOL)isPanel
{
    return YES;
}
- (BOOL)isFloatingPanel
{
    return _isFloating;
}
- (void)setFloatingPanel:(BOOL)isFloating
{
    _isFloating = isFloating;
    // A floating panel is on its own level, another on that of windows.
    self.level = isFloating ? NSFloatingWindowLevel : 0;
}
@end

@implementation NSAnimationContext {
@public
    double _duration;
}
- (NSTimeInterval)duration
{
    return _duration;
}
- (void)setDuration:(NSTimeInterval)duration
{
    _duration = duration;
    animations().durations.back() = duration;
}
+ (void)runAnimationGroup:(void (^)(NSAnimationContext* context))changes completionHandler:(void (^)(void))completionHandler
{
    animations().durations.emplace_back();
    NSAnimationContext* const context = [NSAnimationContext new];
    changes(context);
    objc_release(context);
    animations().durations.pop_back();
    animations().completions.push_back(_Block_copy(completionHandler));
}
@end

namespace velmora::standin {

namespace {

WindowState stateOf(NSWindow* window)
{
    auto state = window->_state;
    state.level = window.level;
    state.ignoresMouse = window.ignoresMouseEvents;
    state.isTitleHidden = window.titleVisibility == NSWindowTitleHidden;
    state.isTitlebarTransparent = window.titlebarAppearsTransparent;
    state.isMovableByBackground = window.movableByWindowBackground;
    state.background = window->_backgroundColor ? colorName(window->_backgroundColor) : "";
    state.isOpaque = window.opaque;
    state.hasShadow = window.hasShadow;
    state.hidesOnDeactivate = window.hidesOnDeactivate;
    state.isReleasedWhenClosed = window.releasedWhenClosed;
    state.content = reinterpret_cast<std::uintptr_t>(window->_content);
    state.canBecomeKey = window.canBecomeKeyWindow;
    // A program in the menu bar is not the active one.
    state.isVisible = state.isOrderedIn && !state.hidesOnDeactivate;
    return state;
}

}  // namespace

NSWindow* makeWindowAround(NSView* view)
{
    NSWindow* const window = [NSWindow new];
    window->_content = view;
    return window;
}

WindowState lastWindow()
{
    return stateOf((NSWindow*)reinterpret_cast<void*>(appKit().windows.back()));
}

void moveAlpha()
{
    for (const auto each : appKit().windows) {
        auto& state = ((NSWindow*)reinterpret_cast<void*>(each))->_state;
        if (state.animatedAlpha)
            state.alpha = *std::exchange(state.animatedAlpha, std::nullopt);
    }
}

WindowState windowState(std::uint64_t view)
{
    return stateOf(windowOf(view));
}

void setWindowBehavior(std::uint64_t view, unsigned long behavior)
{
    windowOf(view)->_state.behavior = behavior;
}

std::size_t finishAnimations()
{
    moveAlpha();
    const auto all = std::exchange(animations().completions, {});
    for (void* each : all) {
        runInPool([&] { ((void (^)(void))each)(); });
        _Block_release(each);
    }
    return all.size();
}

void resetAnimations()
{
    for (void* each : std::exchange(animations().completions, {}))
        _Block_release(each);
    animations() = {};
}

}  // namespace velmora::standin
