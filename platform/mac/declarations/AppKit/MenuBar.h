// The menu bar and menus, each declaration with the page that it was compared with. For classes the page gives the name and what it stands
// on; for methods the selector, by its page's identifier.
#pragma once

/// https://developer.apple.com/documentation/appkit/nsevent/modifierflags-swift.struct ; the numbers are in
/// https://learn.microsoft.com/en-us/dotnet/api/appkit.nseventmodifierflags
typedef NSUInteger NSEventModifierFlags;
enum : NSEventModifierFlags { NSEventModifierFlagOption = 1 << 19, NSEventModifierFlagCommand = 1 << 20 };

/// https://developer.apple.com/documentation/appkit/nsstatusitem/variablelength ; the number is in
/// https://docs.rs/crate/objc2-app-kit/0.3.2/source/src/generated/NSStatusBar.rs
static const CGFloat NSVariableStatusItemLength = -1;

@class NSMenu;

/// https://developer.apple.com/documentation/appkit/nsbutton
@interface NSButton : NSView
/// https://developer.apple.com/documentation/appkit/nsbutton/image
@property (strong) NSImage* image;
/// https://developer.apple.com/documentation/appkit/nscontrol/performclick(_:) , which it has from NSControl
- (void)performClick:(id)sender;
@end

/// https://developer.apple.com/documentation/appkit/nsstatusbarbutton
@interface NSStatusBarButton : NSButton
@end

/// https://developer.apple.com/documentation/appkit/nsstatusitem
@interface NSStatusItem : NSObject
/// https://developer.apple.com/documentation/appkit/nsstatusitem/button : made with the item
@property (readonly) NSStatusBarButton* button;
/// https://developer.apple.com/documentation/appkit/nsstatusitem/menu : with one, a click opens it
@property (strong) NSMenu* menu;
@end

/// https://developer.apple.com/documentation/appkit/nsstatusbar
@interface NSStatusBar : NSObject
/// https://developer.apple.com/documentation/appkit/nsstatusbar/system
@property (class, readonly) NSStatusBar* systemStatusBar;
/// https://developer.apple.com/documentation/appkit/nsstatusbar/statusitem(withlength:) : the caller has to hold what it returns
- (NSStatusItem*)statusItemWithLength:(CGFloat)length;
/// https://developer.apple.com/documentation/appkit/nsstatusbar/removestatusitem(_:)
- (void)removeStatusItem:(NSStatusItem*)item;
@end

/// https://developer.apple.com/documentation/appkit/nsmenudelegate
@protocol NSMenuDelegate <NSObject>
@optional
/// https://developer.apple.com/documentation/appkit/nsmenudelegate/menuneedsupdate(_:)
- (void)menuNeedsUpdate:(NSMenu*)menu;
@end

/// https://developer.apple.com/documentation/appkit/nsmenuitem
@interface NSMenuItem : NSObject
/// https://developer.apple.com/documentation/appkit/nsmenuitem/separator()
+ (NSMenuItem*)separatorItem;
/// https://developer.apple.com/documentation/appkit/nsmenuitem/init(title:action:keyequivalent:) : neither text may be nil
- (instancetype)initWithTitle:(NSString*)string action:(SEL)selector keyEquivalent:(NSString*)charCode;
/// https://developer.apple.com/documentation/appkit/nsmenuitem/attributedtitle
@property (copy) NSAttributedString* attributedTitle;
/// https://developer.apple.com/documentation/appkit/nsmenuitem/image
@property (strong) NSImage* image;
/// https://developer.apple.com/documentation/appkit/nsmenuitem/isenabled : has no effect while its menu enables items by itself
@property (getter=isEnabled) BOOL enabled;
/// https://developer.apple.com/documentation/appkit/nsmenuitem/keyequivalentmodifiermask : Command, unless another is set
@property NSEventModifierFlags keyEquivalentModifierMask;
/// https://developer.apple.com/documentation/appkit/nsmenuitem/target : not held
@property (weak) id target;
/// https://developer.apple.com/documentation/appkit/nsmenuitem/tag
@property NSInteger tag;
/// https://developer.apple.com/documentation/appkit/nsmenuitem/submenu
@property (strong) NSMenu* submenu;
@end

/// https://developer.apple.com/documentation/appkit/nsmenu
@interface NSMenu : NSObject
/// https://developer.apple.com/documentation/appkit/nsmenu/init(title:)
- (instancetype)initWithTitle:(NSString*)title;
/// https://developer.apple.com/documentation/appkit/nsmenu/autoenablesitems : so it does, unless told otherwise
@property BOOL autoenablesItems;
/// https://developer.apple.com/documentation/appkit/nsmenu/delegate : not held
@property (weak) id<NSMenuDelegate> delegate;
/// https://developer.apple.com/documentation/appkit/nsmenu/additem(_:) : an item that is in another menu is an exception
- (void)addItem:(NSMenuItem*)newItem;
/// https://developer.apple.com/documentation/appkit/nsmenu/removeallitems()
- (void)removeAllItems;
@end
