// What the back end uses of AppKit, one page for each class below https://developer.apple.com/documentation/appkit/ ; compared with pages: the
// selectors of NSWorkspace (https://developer.apple.com/documentation/appkit/nsworkspace/activatefileviewerselecting(_:) ,
// https://docs.rs/objc2-app-kit/latest/objc2_app_kit/struct.NSWorkspace.html), of NSSharingService
// (https://developer.apple.com/documentation/appkit/nssharingservice/perform(withitems:) ,
// https://developer.apple.com/documentation/appkit/nssharingservice/init(named:)). Unconfirmed: all numbers, and that the selectors of
// NSOpenPanel, NSScreen, NSWindow, NSPasteboard and of dragging are as their pages' names in Swift suggest.
#pragma once

#import <CoreGraphics/CoreGraphics.h>
#import <Foundation/Foundation.h>

typedef CGRect NSRect;
typedef CGSize NSSize;
typedef NSInteger NSModalResponse;
enum : NSModalResponse { NSModalResponseCancel = 0, NSModalResponseOK = 1 };
typedef NSInteger NSWindowLevel;
enum : NSWindowLevel { NSFloatingWindowLevel = 3 };
typedef NSUInteger NSWindowCollectionBehavior;
enum : NSWindowCollectionBehavior {
    NSWindowCollectionBehaviorCanJoinAllSpaces = 1 << 0,
    NSWindowCollectionBehaviorMoveToActiveSpace = 1 << 1,
    NSWindowCollectionBehaviorFullScreenAuxiliary = 1 << 8
};
typedef NSUInteger NSDragOperation;
enum : NSDragOperation { NSDragOperationCopy = 1 };
typedef NSInteger NSDraggingContext;
typedef NSString* NSSharingServiceName;
typedef NSString* NSPasteboardType;

extern "C" {
extern NSNotificationName const NSApplicationDidChangeScreenParametersNotification;
extern NSNotificationName const NSWorkspaceAccessibilityDisplayOptionsDidChangeNotification;
extern NSSharingServiceName const NSSharingServiceNameComposeEmail;
extern NSSharingServiceName const NSSharingServiceNameComposeMessage;
extern NSSharingServiceName const NSSharingServiceNameSendViaAirDrop;
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

@interface NSImage : NSObject
- (instancetype)initWithCGImage:(CGImageRef)image size:(NSSize)size;
/// https://developer.apple.com/documentation/appkit/nsimage/init(size:)
- (instancetype)initWithSize:(NSSize)size;
/// https://developer.apple.com/documentation/appkit/nsimage/addrepresentation(_:)
- (void)addRepresentation:(NSImageRep*)imageRep;
@property NSSize size;
/// https://developer.apple.com/documentation/appkit/nsimage/istemplate : its name as a property is a word of C++
- (void)setTemplate:(BOOL)isTemplate;
/// https://developer.apple.com/documentation/appkit/nsimage/accessibilitydescription
@property (copy) NSString* accessibilityDescription;
@end

@interface NSScreen : NSObject
@property (class, readonly) NSScreen* mainScreen;
@property (class, readonly, copy) NSArray<NSScreen*>* screens;
@property (readonly) CGFloat backingScaleFactor;
@property (readonly) NSRect frame;
@property (readonly) NSRect visibleFrame;
@end

@class NSDraggingItem;
@class NSDraggingSession;
@class NSEvent;
@class NSWindow;

@protocol NSPasteboardWriting <NSObject>
@end
@interface NSURL (NSPasteboardSupport) <NSPasteboardWriting>
@end

@protocol NSDraggingSource <NSObject>
- (NSDragOperation)draggingSession:(NSDraggingSession*)session sourceOperationMaskForDraggingContext:(NSDraggingContext)context;
@end

@interface NSView : NSObject
@property (readonly) NSWindow* window;
/// https://developer.apple.com/documentation/appkit/nsview/tooltip
@property (copy) NSString* toolTip;
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
@property NSWindowLevel level;
@property NSWindowCollectionBehavior collectionBehavior;
@property BOOL ignoresMouseEvents;
@property NSView* contentView;
- (void)makeKeyAndOrderFront:(id)sender;
- (void)orderFrontRegardless;
@end

@interface NSEvent : NSObject
@property (class, readonly) NSUInteger pressedMouseButtons;
@property (readonly) NSWindow* window;
@property (readonly) CGPoint locationInWindow;
@end

@interface NSDraggingItem : NSObject
- (instancetype)initWithPasteboardWriter:(id<NSPasteboardWriting>)writer;
- (void)setDraggingFrame:(NSRect)frame contents:(id)contents;
@end

@interface NSDraggingSession : NSObject
@end

typedef NSInteger NSApplicationActivationPolicy;
enum : NSApplicationActivationPolicy { NSApplicationActivationPolicyAccessory = 1 };

@interface NSApplication : NSObject
- (BOOL)setActivationPolicy:(NSApplicationActivationPolicy)activationPolicy;
/// https://developer.apple.com/documentation/appkit/nsapplication/run() : the main loop with its events
- (void)run;
@property (class, readonly) NSApplication* sharedApplication;
@property (readonly) NSEvent* currentEvent;
- (void)activate;
@end

@interface NSWorkspace : NSObject
@property (class, readonly) NSWorkspace* sharedWorkspace;
@property (readonly) NSNotificationCenter* notificationCenter;
@property (readonly) BOOL accessibilityDisplayShouldReduceMotion;
@property (readonly) BOOL accessibilityDisplayShouldIncreaseContrast;
- (BOOL)openURL:(NSURL*)url;
- (void)activateFileViewerSelectingURLs:(NSArray<NSURL*>*)fileURLs;
- (NSImage*)iconForFile:(NSString*)fullPath;
@end

@interface NSPasteboard : NSObject
@property (class, readonly) NSPasteboard* generalPasteboard;
- (NSInteger)clearContents;
- (BOOL)writeObjects:(NSArray<id<NSPasteboardWriting>>*)objects;
- (BOOL)setString:(NSString*)string forType:(NSPasteboardType)dataType;
@end

@interface NSSharingService : NSObject
/// nil where the system has no such service.
+ (NSSharingService*)sharingServiceNamed:(NSSharingServiceName)serviceName;
@property (copy) NSString* menuItemTitle;
- (BOOL)canPerformWithItems:(NSArray*)items;
- (void)performWithItems:(NSArray*)items;
@end

@interface NSOpenPanel : NSObject
+ (NSOpenPanel*)openPanel;
@property (copy) NSString* message;
@property (copy) NSString* prompt;
@property (copy) NSURL* directoryURL;
@property BOOL canChooseFiles;
@property BOOL canChooseDirectories;
@property BOOL canCreateDirectories;
@property BOOL allowsMultipleSelection;
@property (readonly, copy) NSURL* URL;
- (void)beginWithCompletionHandler:(void (^)(NSModalResponse result))handler;
- (void)cancel:(id)sender;
@end

#import <AppKit/MenuBar.h>
#import <AppKit/Panel.h>
