// Panels and how they fade, each declaration with the page that it was compared with.
#pragma once

/// https://developer.apple.com/documentation/appkit/nswindow/stylemask-swift.struct ; the numbers are in
/// https://docs.rs/rust-macios/latest/rust_macios/appkit/enum.NSWindowStyleMask.html
typedef NSUInteger NSWindowStyleMask;
enum : NSWindowStyleMask {
    NSWindowStyleMaskTitled = 1 << 0,
    NSWindowStyleMaskNonactivatingPanel = 1 << 7,
    NSWindowStyleMaskFullSizeContentView = 1 << 15
};

/// https://developer.apple.com/documentation/appkit/nspanel ; what it does by itself is in
/// https://developer.apple.com/library/archive/documentation/Cocoa/Conceptual/WinPanel/Concepts/UsingPanels.html
@interface NSPanel : NSWindow
/// https://developer.apple.com/documentation/appkit/nspanel/isfloatingpanel
@property (getter=isFloatingPanel) BOOL floatingPanel;
@end

/// https://developer.apple.com/documentation/appkit/nsanimationcontext
@interface NSAnimationContext : NSObject
/// https://developer.apple.com/documentation/appkit/nsanimationcontext/duration
@property NSTimeInterval duration;
/// https://developer.apple.com/documentation/appkit/nsanimationcontext/runanimationgroup(_:completionhandler:) : the handler is called on the main thread
+ (void)runAnimationGroup:(void (^)(NSAnimationContext* context))changes completionHandler:(void (^)(void))completionHandler;
@end
