// What the back end uses of AppKit, one page for each class below https://developer.apple.com/documentation/appkit/ ; compared with pages: the
// selectors of NSWorkspace (https://developer.apple.com/documentation/appkit/nsworkspace/activatefileviewerselecting(_:) ,
// https://docs.rs/objc2-app-kit/latest/objc2_app_kit/struct.NSWorkspace.html), of NSSharingService
// (https://developer.apple.com/documentation/appkit/nssharingservice/perform(withitems:) ,
// https://developer.apple.com/documentation/appkit/nssharingservice/init(named:)). Unconfirmed: the numbers without a page of their own,
// and
// that the selectors of NSOpenPanel, NSWindow and of dragging that have none are as their pages' names in Swift suggest.
#pragma once

#import <CoreGraphics/CoreGraphics.h>
#import <Foundation/Foundation.h>
#include <sys/types.h>

/// https://docs.rs/objc2-foundation/0.3.0/i686-unknown-linux-gnu/type.NSRect.html
typedef CGRect NSRect;
/// https://docs.rs/objc2/0.3.0-beta.3/aarch64-apple-ios/objc2/foundation/type.NSSize.html
typedef CGSize NSSize;
/// https://learn.microsoft.com/en-us/dotnet/api/appkit.nsmodalresponse
typedef NSInteger NSModalResponse;
enum : NSModalResponse { NSModalResponseCancel = 0, NSModalResponseOK = 1 };

/// https://developer.apple.com/documentation/appkit/nswindow/level-swift.struct (not its width); the number is in
/// https://learn.microsoft.com/en-us/dotnet/api/appkit.nswindowlevel?view=net-macos-26.4-10.0
typedef NSInteger NSWindowLevel;
enum : NSWindowLevel { NSFloatingWindowLevel = 3 };

/// https://developer.apple.com/documentation/appkit/nswindow/collectionbehavior-swift.struct ; the numbers are in
/// https://docs.rs/rust-macios/latest/rust_macios/appkit/enum.NSWindowCollectionBehavior.html
typedef NSUInteger NSWindowCollectionBehavior;
enum : NSWindowCollectionBehavior {
    NSWindowCollectionBehaviorCanJoinAllSpaces = 1 << 0,
    NSWindowCollectionBehaviorMoveToActiveSpace = 1 << 1,
    NSWindowCollectionBehaviorFullScreenAuxiliary = 1 << 8
};

/// https://developer.apple.com/documentation/appkit/nsdragoperation (not its numbers)
typedef NSUInteger NSDragOperation;

/// https://developer.apple.com/documentation/appkit/nsdragoperation/copy ; the number is in
/// https://learn.microsoft.com/en-us/dotnet/api/appkit.nsdragoperation?view=net-macos-26.4-10.0
enum : NSDragOperation { NSDragOperationCopy = 1 };
/// https://developer.apple.com/documentation/appkit/nsdraggingcontext
typedef NSInteger NSDraggingContext;
/// https://developer.apple.com/documentation/appkit/nssharingservice/name
typedef NSString* NSSharingServiceName;

/// https://docs.rs/objc2-app-kit/0.3.0/i686-unknown-linux-gnu/type.NSPasteboardType.html
typedef NSString* NSPasteboardType;

extern "C" {
/// https://docs.rs/objc2-app-kit/latest/objc2_app_kit/static.NSApplicationDidChangeScreenParametersNotification.html
extern NSNotificationName const NSApplicationDidChangeScreenParametersNotification;
/// https://docs.rs/objc2-app-kit/latest/objc2_app_kit/static.NSWorkspaceAccessibilityDisplayOptionsDidChangeNotification.html
extern NSNotificationName const NSWorkspaceAccessibilityDisplayOptionsDidChangeNotification;

/// https://developer.apple.com/documentation/appkit/nssharingservice/name/composeemail
extern NSSharingServiceName const NSSharingServiceNameComposeEmail;
/// https://docs.rs/objc2-app-kit/latest/objc2_app_kit/static.NSSharingServiceNameComposeMessage.html
extern NSSharingServiceName const NSSharingServiceNameComposeMessage;
/// https://developer.apple.com/documentation/appkit/nssharingservice/name/sendviaairdrop
extern NSSharingServiceName const NSSharingServiceNameSendViaAirDrop;
/// https://docs.rs/objc2-app-kit/0.2.2/objc2_app_kit/static.NSPasteboardTypeString.html
extern NSPasteboardType const NSPasteboardTypeString;
/// https://developer.apple.com/documentation/foundation/nsattributedstring/key/font
extern NSAttributedStringKey const NSFontAttributeName;
/// https://developer.apple.com/documentation/foundation/nsattributedstring/key/foregroundcolor
extern NSAttributedStringKey const NSForegroundColorAttributeName;
}

/// https://developer.apple.com/documentation/appkit/nsimagerep
@interface NSImageRep : NSObject
/// https://developer.apple.com/documentation/appkit/nsimagerep/size : in points
@property NSSize size;
@end

/// https://developer.apple.com/documentation/appkit/nsbitmapimagerep
@interface NSBitmapImageRep : NSImageRep
/// https://developer.apple.com/documentation/appkit/nsbitmapimagerep/init(cgimage:)-7o5tz
- (instancetype)initWithCGImage:(CGImageRef)cgImage;
@end

/// https://developer.apple.com/documentation/appkit/nscolor
@interface NSColor : NSObject
/// https://developer.apple.com/documentation/appkit/nscolor/clear
@property (class, readonly) NSColor* clearColor;
/// https://developer.apple.com/documentation/appkit/nscolor/labelcolor
@property (class, readonly) NSColor* labelColor;
@end

/// https://developer.apple.com/documentation/appkit/nsfont
@interface NSFont : NSObject
/// https://developer.apple.com/documentation/appkit/nsfont/boldsystemfont(ofsize:)
+ (NSFont*)boldSystemFontOfSize:(CGFloat)fontSize;
@end

@class NSGraphicsContext;

/// https://www.oreilly.com/library/view/cocoa-in-a/0596004621/re405.html
@interface NSImage : NSObject
/// https://developer.apple.com/documentation/appkit/nsimage/init(cgimage:size:)-15zeh
- (instancetype)initWithCGImage:(CGImageRef)image size:(NSSize)size;
/// https://developer.apple.com/documentation/appkit/nsimage/init(size:)
- (instancetype)initWithSize:(NSSize)size;
/// https://developer.apple.com/documentation/appkit/nsimage/addrepresentation(_:)
- (void)addRepresentation:(NSImageRep*)imageRep;
/// https://developer.apple.com/documentation/appkit/nsimage/size
@property NSSize size;
/// https://developer.apple.com/documentation/appkit/nsimage/istemplate : its name as a property is a word of C++
- (void)setTemplate:(BOOL)isTemplate;
/// https://developer.apple.com/documentation/appkit/nsimage/accessibilitydescription
@property (copy) NSString* accessibilityDescription;
/// https://developer.apple.com/documentation/appkit/nsimage/cgimage(forproposedrect:context:hints:) : the rectangle may be changed. That the
/// image is not the caller's to release is unconfirmed, and as its name has it.
- (CGImageRef)CGImageForProposedRect:(NSRect*)proposedDestRect
                             context:(NSGraphicsContext*)referenceContext
                               hints:(NSDictionary<NSString*, id>*)hints;
@end

/// https://developer.apple.com/documentation/appkit/nsrunningapplication : may be used on any thread
@interface NSRunningApplication : NSObject
/// https://developer.apple.com/documentation/appkit/nsrunningapplication/init(processidentifier:) : nil where there is no such application
+ (NSRunningApplication*)runningApplicationWithProcessIdentifier:(pid_t)pid;
/// https://developer.apple.com/documentation/appkit/nsrunningapplication/icon : may be nil
@property (readonly, strong) NSImage* icon;
@end

/// https://developer.apple.com/documentation/appkit/nsscreen ; its selectors are in
/// https://docs.rs/objc2-app-kit/latest/i686-unknown-linux-gnu/struct.NSScreen.html
@interface NSScreen : NSObject
/// https://docs.rs/objc2-app-kit/latest/i686-unknown-linux-gnu/struct.NSScreen.html : may be nil
@property (class, readonly) NSScreen* mainScreen;
/// https://docs.rs/objc2-app-kit/latest/i686-unknown-linux-gnu/struct.NSScreen.html
@property (class, readonly, copy) NSArray<NSScreen*>* screens;
/// https://developer.apple.com/documentation/appkit/nsscreen/backingscalefactor
@property (readonly) CGFloat backingScaleFactor;
/// https://developer.apple.com/documentation/appkit/nsscreen/frame
@property (readonly) NSRect frame;
/// https://developer.apple.com/documentation/appkit/nsscreen/frame names it;
/// https://docs.rs/objc2-app-kit/latest/i686-unknown-linux-gnu/struct.NSScreen.html
@property (readonly) NSRect visibleFrame;
@end

@class NSDraggingItem;
@class NSDraggingSession;
@class NSEvent;
@class NSWindow;

/// https://developer.apple.com/documentation/appkit/nspasteboardwriting
@protocol NSPasteboardWriting <NSObject>
@end
/// https://developer.apple.com/documentation/appkit/nspasteboardwriting
@interface NSURL (NSPasteboardSupport) <NSPasteboardWriting>
@end

/// https://developer.apple.com/documentation/appkit/nsdraggingsource
@protocol NSDraggingSource <NSObject>
/// https://developer.apple.com/documentation/appkit/nsdraggingsource/draggingsession(_:sourceoperationmaskfor:)
- (NSDragOperation)draggingSession:(NSDraggingSession*)session sourceOperationMaskForDraggingContext:(NSDraggingContext)context;
@end

/// https://developer.apple.com/documentation/appkit/nsview
@interface NSView : NSObject
/// https://developer.apple.com/documentation/appkit/nsview/window : nil where it is in no window
@property (readonly) NSWindow* window;
/// https://developer.apple.com/documentation/appkit/nsview/tooltip
@property (copy) NSString* toolTip;
/// https://developer.apple.com/documentation/appkit/nsview/begindraggingsession(with:event:source:) : the event is that of the press, and
/// it may be nil that comes back
- (NSDraggingSession*)beginDraggingSessionWithItems:(NSArray<NSDraggingItem*>*)items
                                              event:(NSEvent*)event
                                             source:(id<NSDraggingSource>)source;
@end

/// https://developer.apple.com/documentation/appkit/nswindow/titlevisibility-swift.enum ; the numbers are in
/// https://learn.microsoft.com/en-us/dotnet/api/appkit.nswindowtitlevisibility
typedef NSInteger NSWindowTitleVisibility;
enum : NSWindowTitleVisibility { NSWindowTitleHidden = 1 };
/// https://developer.apple.com/documentation/appkit/nswindow/backingstoretype ; the numbers are in
/// https://learn.microsoft.com/en-us/dotnet/api/appkit.nsbackingstore
typedef NSUInteger NSBackingStoreType;
enum : NSBackingStoreType { NSBackingStoreBuffered = 2 };

/// https://developer.apple.com/documentation/appkit/nswindow
@interface NSWindow : NSObject
/// https://developer.apple.com/documentation/appkit/nswindow/init(contentrect:stylemask:backing:defer:)
- (instancetype)initWithContentRect:(NSRect)contentRect
                          styleMask:(NSUInteger)style
                            backing:(NSBackingStoreType)backingStoreType
                              defer:(BOOL)flag;
/// https://developer.apple.com/documentation/appkit/nswindow/titlevisibility-swift.property
@property NSWindowTitleVisibility titleVisibility;
/// https://developer.apple.com/documentation/appkit/nswindow/titlebarappearstransparent
@property BOOL titlebarAppearsTransparent;
/// https://developer.apple.com/documentation/appkit/nswindow/ismovablebywindowbackground
@property (getter=isMovableByWindowBackground) BOOL movableByWindowBackground;
/// https://developer.apple.com/documentation/appkit/nswindow/backgroundcolor
@property (copy) NSColor* backgroundColor;
/// https://developer.apple.com/documentation/appkit/nswindow/isopaque
@property (getter=isOpaque) BOOL opaque;
/// https://developer.apple.com/documentation/appkit/nswindow/hasshadow
@property BOOL hasShadow;
/// https://developer.apple.com/documentation/appkit/nswindow/hidesondeactivate : of panels YES
@property BOOL hidesOnDeactivate;
/// https://developer.apple.com/documentation/appkit/nswindow/isreleasedwhenclosed
@property (getter=isReleasedWhenClosed) BOOL releasedWhenClosed;
/// https://developer.apple.com/documentation/appkit/nswindow/alphavalue
@property CGFloat alphaValue;
/// https://developer.apple.com/documentation/appkit/nswindow/canbecomekey
@property (readonly) BOOL canBecomeKeyWindow;
/// https://developer.apple.com/documentation/appkit/nswindow/setframeorigin(_:) : of the lower left corner
- (void)setFrameOrigin:(CGPoint)point;
/// https://developer.apple.com/documentation/appkit/nswindow/orderout(_:)
- (void)orderOut:(id)sender;
/// https://developer.apple.com/documentation/appkit/nsanimatablepropertycontainer/animator() : what is set on it changes over time
- (instancetype)animator;
/// https://developer.apple.com/documentation/appkit/nswindow/makekeyandorderfront(_:) names it
@property NSWindowLevel level;
/// https://developer.apple.com/library/archive/documentation/Cocoa/Conceptual/WinPanel/Articles/SettingWindowCollectionBehavior.html
@property NSWindowCollectionBehavior collectionBehavior;
/// https://pub.dev/documentation/cocoa/latest/native_binding_bindings_generated/NSEvent$1/ignoresMouseEvents.html
@property BOOL ignoresMouseEvents;
/// https://developer.apple.com/documentation/appkit/nswindow/contentview
@property NSView* contentView;
/// https://developer.apple.com/documentation/appkit/nswindow/makekeyandorderfront(_:)
- (void)makeKeyAndOrderFront:(id)sender;
/// https://developer.apple.com/documentation/appkit/nswindow/orderfrontregardless()
- (void)orderFrontRegardless;
@end

/// https://docs.rs/objc2-app-kit/0.3.1/objc2_app_kit/struct.NSEvent.html
@interface NSEvent : NSObject
/// https://developer.apple.com/documentation/appkit/nsevent/pressedmousebuttons ,
/// https://learn.microsoft.com/en-us/dotnet/api/appkit.nsevent.currentpressedmousebuttons (unsigned)
@property (class, readonly) NSUInteger pressedMouseButtons;
/// https://docs.rs/objc2-app-kit/0.3.1/objc2_app_kit/struct.NSEvent.html : may be nil
@property (readonly) NSWindow* window;
/// https://developer.apple.com/documentation/appkit/nsevent/locationinwindow
@property (readonly) CGPoint locationInWindow;
@end

/// https://developer.apple.com/documentation/appkit/nsdraggingitem
@interface NSDraggingItem : NSObject
/// https://developer.apple.com/documentation/appkit/nsdraggingitem/init(pasteboardwriter:)
- (instancetype)initWithPasteboardWriter:(id<NSPasteboardWriting>)writer;
/// https://developer.apple.com/documentation/appkit/nsdraggingitem/setdraggingframe(_:contents:)
- (void)setDraggingFrame:(NSRect)frame contents:(id)contents;
@end

/// https://developer.apple.com/documentation/appkit/nsdraggingsession
@interface NSDraggingSession : NSObject
@end

/// https://learn.microsoft.com/en-us/dotnet/api/appkit.nsapplicationactivationpolicy
typedef NSInteger NSApplicationActivationPolicy;
enum : NSApplicationActivationPolicy { NSApplicationActivationPolicyAccessory = 1 };

/// https://developer.apple.com/documentation/appkit/nsapplication
@interface NSApplication : NSObject
/// https://developer.apple.com/documentation/appkit/nsapplication/setactivationpolicy(_:)
- (BOOL)setActivationPolicy:(NSApplicationActivationPolicy)activationPolicy;
/// https://developer.apple.com/documentation/appkit/nsapplication/run() : the main loop with its events
- (void)run;
/// https://www.oreilly.com/library/view/cocoa-programming/0672322307/0672322307_ch08lev1sec3.html
@property (class, readonly) NSApplication* sharedApplication;
/// https://developer.apple.com/documentation/appkit/nsapplication/currentevent : the last one, which may be nil
@property (readonly) NSEvent* currentEvent;
/// https://developer.apple.com/documentation/appkit/nsapplication/activate() : since macOS 14; a request, which may not be granted
- (void)activate;
@end

/// https://developer.apple.com/documentation/appkit/nsworkspace
@interface NSWorkspace : NSObject
/// https://developer.apple.com/documentation/appkit/nsworkspace
@property (class, readonly) NSWorkspace* sharedWorkspace;
/// https://developer.apple.com/documentation/appkit/nsworkspace/notificationcenter
@property (readonly) NSNotificationCenter* notificationCenter;
/// https://docs.rs/objc2-app-kit/latest/objc2_app_kit/struct.NSWorkspace.html
@property (readonly) BOOL accessibilityDisplayShouldReduceMotion;
/// https://docs.rs/objc2-app-kit/latest/objc2_app_kit/struct.NSWorkspace.html
@property (readonly) BOOL accessibilityDisplayShouldIncreaseContrast;
/// https://developer.apple.com/documentation/appkit/nsworkspace/open(_:) : on any thread
- (BOOL)openURL:(NSURL*)url;
/// https://developer.apple.com/documentation/appkit/nsworkspace/activatefileviewerselecting(_:)
- (void)activateFileViewerSelectingURLs:(NSArray<NSURL*>*)fileURLs;
/// https://developer.apple.com/documentation/appkit/nsworkspace/icon(forfile:) : on any thread
- (NSImage*)iconForFile:(NSString*)fullPath;
@end

/// https://docs.rs/objc2-app-kit/0.2.2/objc2_app_kit/struct.NSPasteboard.html
@interface NSPasteboard : NSObject
/// https://docs.rs/objc2-app-kit/0.2.2/objc2_app_kit/struct.NSPasteboard.html
@property (class, readonly) NSPasteboard* generalPasteboard;
/// https://docs.rs/objc2-app-kit/0.2.2/objc2_app_kit/struct.NSPasteboard.html
- (NSInteger)clearContents;
/// https://docs.rs/objc2-app-kit/0.3.0/src/nspasteboard/nspasteboard.rs.html
- (BOOL)writeObjects:(NSArray<id<NSPasteboardWriting>>*)objects;
/// https://developer.apple.com/documentation/appkit/nspasteboard/setstring(_:fortype:)
- (BOOL)setString:(NSString*)string forType:(NSPasteboardType)dataType;
@end

/// https://docs.rs/objc2-app-kit/latest/objc2_app_kit/struct.NSSharingService.html
@interface NSSharingService : NSObject
/// https://developer.apple.com/documentation/appkit/nssharingservice/init(named:) : nil where the system has no such service
+ (NSSharingService*)sharingServiceNamed:(NSSharingServiceName)serviceName;
/// https://docs.rs/objc2-app-kit/latest/objc2_app_kit/struct.NSSharingService.html
@property (copy) NSString* menuItemTitle;
/// https://developer.apple.com/documentation/appkit/nssharingservice/canperform(withitems:)
- (BOOL)canPerformWithItems:(NSArray*)items;
/// https://developer.apple.com/documentation/appkit/nssharingservice/perform(withitems:)
- (void)performWithItems:(NSArray*)items;
@end

/// https://docs.rs/objc2-app-kit/latest/objc2_app_kit/struct.NSOpenPanel.html
@interface NSOpenPanel : NSObject
/// https://docs.rs/objc2-app-kit/latest/objc2_app_kit/struct.NSOpenPanel.html
+ (NSOpenPanel*)openPanel;
/// https://developer.apple.com/documentation/appkit/nssavepanel/message , which it has from NSSavePanel
@property (copy) NSString* message;
/// https://www.oreilly.com/library/view/cocoa-in-a/0596004621/re445.html , which it has from NSSavePanel
@property (copy) NSString* prompt;
/// https://developer.apple.com/documentation/appkit/nssavepanel/directoryurl , which it has from NSSavePanel
@property (copy) NSURL* directoryURL;
/// https://docs.rs/objc2-app-kit/latest/objc2_app_kit/struct.NSOpenPanel.html
@property BOOL canChooseFiles;
/// https://developer.apple.com/documentation/appkit/nsopenpanel/canchoosedirectories
@property BOOL canChooseDirectories;
/// https://developer.apple.com/documentation/appkit/nssavepanel/cancreatedirectories , which it has from NSSavePanel
@property BOOL canCreateDirectories;
/// https://developer.apple.com/documentation/appkit/nsopenpanel/allowsmultipleselection
@property BOOL allowsMultipleSelection;
/// https://docs.rs/objc2-app-kit/0.3.1/i686-unknown-linux-gnu/struct.NSSavePanel.html : the chosen one
@property (readonly, copy) NSURL* URL;
/// https://developer.apple.com/documentation/appkit/nssavepanel/begin(completionhandler:)
- (void)beginWithCompletionHandler:(void (^)(NSModalResponse result))handler;
/// https://www.oreilly.com/library/view/cocoa-in-a/0596004621/re445.html , which it has from NSSavePanel
- (void)cancel:(id)sender;
@end

#import <AppKit/MenuBar.h>
#import <AppKit/Panel.h>
