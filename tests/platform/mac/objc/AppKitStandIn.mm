#include "tests/platform/mac/objc/AppKitStandIn.h"

#include "tests/platform/mac/objc/ExceptionStandIn.h"
#include "tests/platform/mac/objc/FoundationStandIn.h"
#include "tests/platform/mac/objc/ShellStandIn.h"
#include "tests/platform/mac/standins/StandInObject.h"

#import <AppKit/AppKit.h>
#include <Block.h>
#include <cstdlib>
#include <utility>

using velmora::standin::appKit;
using velmora::standin::makeText;
using velmora::standin::textOfObject;
using velmora::standin::throwIfAsked;

namespace {

NSRect rectOf(const velmora::standin::ScreenRect& rect)
{
    return {{rect.x, rect.y}, {rect.width, rect.height}};
}

velmora::standin::ScreenRect rectFrom(NSRect rect)
{
    return {rect.origin.x, rect.origin.y, rect.size.width, rect.size.height};
}

NSString* constant(const char* text)
{
    return makeText(std::string{text});
}

}  // namespace

extern "C" {
NSNotificationName const NSApplicationDidChangeScreenParametersNotification =
    constant("NSApplicationDidChangeScreenParametersNotification");
NSNotificationName const NSWorkspaceAccessibilityDisplayOptionsDidChangeNotification =
    constant("NSWorkspaceAccessibilityDisplayOptionsDidChangeNotification");
NSSharingServiceName const NSSharingServiceNameComposeEmail = constant("mail");
NSSharingServiceName const NSSharingServiceNameComposeMessage = constant("messages");
NSSharingServiceName const NSSharingServiceNameSendViaAirDrop = constant("airdrop");
NSPasteboardType const NSPasteboardTypeString = constant("text");
}

@implementation NSScreen {
@public
    velmora::standin::Screen _screen;
}
+ (NSScreen*)mainScreen
{
    if (appKit().mainScreen >= appKit().screens.size())
        return nil;
    NSScreen* const made = [NSScreen new];
    made->_screen = appKit().screens[appKit().mainScreen];
    return objc_autorelease(made);
}
+ (NSArray*)screens
{
    NSMutableArray* const all = [NSMutableArray new];
    for (const auto& each : appKit().screens) {
        NSScreen* const made = [NSScreen new];
        made->_screen = each;
        [all addObject:objc_autorelease(made)];
    }
    return objc_autorelease(all);
}
- (CGFloat)backingScaleFactor
{
    return _screen.scale;
}
- (NSRect)frame
{
    return rectOf(_screen.frame);
}
- (NSRect)visibleFrame
{
    return rectOf(_screen.visibleFrame);
}
@end

@implementation NSWindow {
@public
    velmora::standin::WindowState _state;
    NSView* _content;
    NSView* _heldContent;  ///< by what was set, but not by what a test has made
}
// Nobody asks for them.
@dynamic titleVisibility, titlebarAppearsTransparent, movableByWindowBackground, backgroundColor, opaque, hasShadow, hidesOnDeactivate,
    releasedWhenClosed;
- (NSWindowLevel)level
{
    return _state.level;
}
- (void)setLevel:(NSWindowLevel)level
{
    _state.level = level;
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
- (BOOL)ignoresMouseEvents
{
    return _state.ignoresMouse;
}
- (void)setIgnoresMouseEvents:(BOOL)ignores
{
    _state.ignoresMouse = ignores;
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
    _state.frame = rectFrom(contentRect);
    _state.style = style;
    _state.isBuffered = backingStoreType == NSBackingStoreBuffered && !flag;
    _state.hidesOnDeactivate = self.isPanel;
    _state.isReleasedWhenClosed = !self.isPanel;
    _state.alpha = 1;
    appKit().windows.push_back(reinterpret_cast<std::uintptr_t>(self));
    return self;
}
- (BOOL)isPanel
{
    return NO;
}
- (void)setTitleVisibility:(NSWindowTitleVisibility)visibility
{
    _state.isTitleHidden = visibility == NSWindowTitleHidden;
}
- (void)setTitlebarAppearsTransparent:(BOOL)isTransparent
{
    _state.isTitlebarTransparent = isTransparent;
}
- (void)setMovableByWindowBackground:(BOOL)isMovable
{
    _state.isMovableByBackground = isMovable;
}
- (void)setBackgroundColor:(NSColor*)color
{
    _state.background = velmora::standin::colorName(color);
}
- (void)setOpaque:(BOOL)isOpaque
{
    _state.isOpaque = isOpaque;
}
- (void)setHasShadow:(BOOL)hasShadow
{
    _state.hasShadow = hasShadow;
}
- (void)setHidesOnDeactivate:(BOOL)hides
{
    _state.hidesOnDeactivate = hides;
}
- (void)setReleasedWhenClosed:(BOOL)isReleased
{
    _state.isReleasedWhenClosed = isReleased;
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
    _state.animationSeconds = velmora::standin::animationSeconds();
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
    [super dealloc];
}
@end

@implementation NSDraggingItem {
@public
    NSURL* _url;
    NSRect _frame;
}
- (instancetype)initWithPasteboardWriter:(id<NSPasteboardWriting>)writer
{
    _url = objc_retain((NSURL*)writer);
    return self;
}
- (void)setDraggingFrame:(NSRect)frame contents:(id)contents
{
    // Without a picture a frame has no sense: https://developer.apple.com/documentation/appkit/nsdraggingitem/setdraggingframe(_:contents:)
    if (!contents)
        velmora::standin::refuse("a dragged file without a picture");
    _frame = frame;
}
- (void)dealloc
{
    objc_release(_url);
    [super dealloc];
}
@end

@implementation NSDraggingSession
@end

@implementation NSView {
@public
    NSWindow* _window;
    std::string _toolTip;
}
- (void)setToolTip:(NSString*)text
{
    _toolTip = text.UTF8String;
    appKit().toolTip = _toolTip;
}
- (NSString*)toolTip
{
    return objc_autorelease(makeText(_toolTip));
}
- (NSWindow*)window
{
    return _window;
}
- (NSDraggingSession*)beginDraggingSessionWithItems:(NSArray*)items event:(NSEvent*)event source:(id<NSDraggingSource>)source
{
    throwIfAsked("beginDraggingSessionWithItems:");
    if (items.count == 0 || !event || !source)
        velmora::standin::raise(velmora::standin::invalidArgument, "a drag of nothing");
    NSDraggingSession* const session = objc_autorelease([NSDraggingSession new]);
    velmora::standin::Drag drag;
    for (NSUInteger index = 0; index < items.count; ++index) {
        NSDraggingItem* const item = [items objectAtIndex:index];
        drag.files.push_back(velmora::standin::urlText(item->_url));
        drag.frames.push_back(rectFrom(item->_frame));
    }
    drag.operations = [source draggingSession:session sourceOperationMaskForDraggingContext:0];
    appKit().drags.push_back(std::move(drag));
    return session;
}
@end

namespace {

struct Views {
    std::vector<NSView*> all;
};
Views& views()
{
    static Views made;
    return made;
}

NSView* viewAt(std::uint64_t address)
{
    return (NSView*)reinterpret_cast<void*>(address);
}

}  // namespace

@implementation NSEvent {
@public
    NSWindow* _window;
}
+ (NSUInteger)pressedMouseButtons
{
    return appKit().pressedButtons;
}
- (NSWindow*)window
{
    return _window;
}
- (CGPoint)locationInWindow
{
    return {100, 50};
}
@end

@implementation NSApplication
+ (NSApplication*)sharedApplication
{
    return objc_autorelease([NSApplication new]);
}
- (BOOL)setActivationPolicy:(NSApplicationActivationPolicy)activationPolicy
{
    appKit().activationPolicy = activationPolicy;
    return !appKit().refusesPolicies;
}
- (void)run
{
    velmora::standin::refuse("a loop without an end");
}
- (NSEvent*)currentEvent
{
    if (!appKit().hasEvent)
        return nil;
    NSEvent* const event = [NSEvent new];
    event->_window = views().all.empty() ? nil : views().all.front()->_window;
    return objc_autorelease(event);
}
- (void)activate
{
    ++appKit().activations;
}
@end

@implementation NSWorkspace
+ (NSWorkspace*)sharedWorkspace
{
    return objc_autorelease([NSWorkspace new]);
}
- (NSNotificationCenter*)notificationCenter
{
    return NSNotificationCenter.defaultCenter;
}
- (BOOL)accessibilityDisplayShouldReduceMotion
{
    return appKit().reducesMotion;
}
- (BOOL)accessibilityDisplayShouldIncreaseContrast
{
    return appKit().increasesContrast;
}
- (BOOL)openURL:(NSURL*)url
{
    throwIfAsked("openURL:");
    if (!url)
        velmora::standin::raise(velmora::standin::invalidArgument, "nil was opened");
    appKit().opened.push_back(velmora::standin::urlText(url));
    return YES;
}
- (void)activateFileViewerSelectingURLs:(NSArray*)fileURLs
{
    throwIfAsked("activateFileViewerSelectingURLs:");
    std::vector<std::string> files;
    for (NSUInteger index = 0; index < fileURLs.count; ++index)
        files.push_back(velmora::standin::urlText([fileURLs objectAtIndex:index]));
    appKit().revealed.push_back(std::move(files));
}
- (NSImage*)iconForFile:(NSString*)fullPath
{
    if (!fullPath)
        velmora::standin::raise(velmora::standin::invalidArgument, "an icon for nil");
    NSImage* const image = [NSImage new];
    image.size = {32, 32};
    return objc_autorelease(image);
}
@end

@implementation NSPasteboard
+ (NSPasteboard*)generalPasteboard
{
    return objc_autorelease([NSPasteboard new]);
}
- (NSInteger)clearContents
{
    appKit().pasteboardFiles.clear();
    appKit().pasteboardText.clear();
    return ++appKit().pasteboardClears;
}
- (BOOL)writeObjects:(NSArray*)objects
{
    throwIfAsked("writeObjects:");
    for (NSUInteger index = 0; index < objects.count; ++index)
        appKit().pasteboardFiles.push_back(velmora::standin::urlText([objects objectAtIndex:index]));
    return YES;
}
- (BOOL)setString:(NSString*)string forType:(NSPasteboardType)dataType
{
    if (dataType != NSPasteboardTypeString)
        return NO;
    appKit().pasteboardText = string.UTF8String;
    return YES;
}
@end

@implementation NSSharingService {
@public
    std::string _name;
}
+ (NSSharingService*)sharingServiceNamed:(NSSharingServiceName)serviceName
{
    const auto name = textOfObject(serviceName);
    if (appKit().missingServices.contains(name))
        return nil;
    NSSharingService* const made = [NSSharingService new];
    made->_name = name;
    return objc_autorelease(made);
}
- (NSString*)menuItemTitle
{
    return objc_autorelease(makeText("Send by " + _name));
}
- (void)setMenuItemTitle:(NSString*)title
{
    static_cast<void>(title);
}
- (BOOL)canPerformWithItems:(NSArray*)items
{
    return items.count > 0 && !appKit().refusesItems;
}
- (void)performWithItems:(NSArray*)items
{
    throwIfAsked("performWithItems:");
    if (appKit().refusesItems)
        velmora::standin::refuse("a service was given what it does not take");
    for (NSUInteger index = 0; index < items.count; ++index)
        appKit().shared.emplace_back(_name, velmora::standin::urlText([items objectAtIndex:index]));
}
@end

@implementation NSOpenPanel {
@public
    velmora::standin::FolderDialog _dialog;
    bool _files;
    bool _folders;
    bool _many;
    NSURL* _chosen;
    void (^_handler)(NSModalResponse);
}
+ (NSOpenPanel*)openPanel
{
    NSOpenPanel* const panel = [NSOpenPanel new];
    // As the system's is: https://developer.apple.com/documentation/appkit/nsopenpanel/canchoosefiles
    panel->_files = true;
    return objc_autorelease(panel);
}
- (NSString*)message
{
    return nil;
}
- (void)setMessage:(NSString*)message
{
    _dialog.message = message.UTF8String;
}
- (NSString*)prompt
{
    return nil;
}
- (void)setPrompt:(NSString*)prompt
{
    _dialog.prompt = prompt.UTF8String;
}
- (NSURL*)directoryURL
{
    return nil;
}
- (void)setDirectoryURL:(NSURL*)url
{
    _dialog.directory = url ? velmora::standin::urlText(url) : "";
}
- (BOOL)canChooseFiles
{
    return _files;
}
- (void)setCanChooseFiles:(BOOL)can
{
    _files = can;
}
- (BOOL)canChooseDirectories
{
    return _folders;
}
- (void)setCanChooseDirectories:(BOOL)can
{
    _folders = can;
}
- (BOOL)canCreateDirectories
{
    return _dialog.makesFolders;
}
- (void)setCanCreateDirectories:(BOOL)can
{
    _dialog.makesFolders = can;
}
- (BOOL)allowsMultipleSelection
{
    return _many;
}
- (void)setAllowsMultipleSelection:(BOOL)allows
{
    _many = allows;
}
- (NSURL*)URL
{
    return _chosen;
}
- (void)beginWithCompletionHandler:(void (^)(NSModalResponse result))handler
{
    throwIfAsked("beginWithCompletionHandler:");
    _dialog.choosesFolderAlone = _folders && !_files && !_many;
    _handler = (void (^)(NSModalResponse))_Block_copy(handler);
    extern std::vector<NSOpenPanel*>& openPanels();
    openPanels().push_back(objc_retain(self));
}
- (void)cancel:(id)sender
{
    static_cast<void>(sender);
    extern void endPanel(NSOpenPanel*, NSModalResponse);
    endPanel(self, NSModalResponseCancel);
}
- (void)dealloc
{
    if (_handler)
        _Block_release(_handler);
    objc_release(_chosen);
    [super dealloc];
}
@end

std::vector<NSOpenPanel*>& openPanels()
{
    static std::vector<NSOpenPanel*> all;
    return all;
}

/// Its handler is called once. No page says when the panel lets go of it: it does when it goes itself.
void endPanel(NSOpenPanel* panel, NSModalResponse response)
{
    if (std::erase(openPanels(), panel) != 1)
        return;
    velmora::standin::runInPool([&] { panel->_handler(response); });
    objc_release(panel);
}

namespace velmora::standin {

AppKit& appKit()
{
    static AppKit all;
    return all;
}

std::uint64_t makeViewWithoutWindow()
{
    NSView* const view = [NSView new];
    views().all.push_back(view);
    return reinterpret_cast<std::uintptr_t>(view);
}

std::uint64_t makeView()
{
    const auto view = makeViewWithoutWindow();
    NSWindow* const window = [NSWindow new];
    window->_content = viewAt(view);
    viewAt(view)->_window = window;
    return view;
}

void freeViews()
{
    for (NSView* each : std::exchange(views().all, {})) {
        objc_release(each->_window);
        objc_release(each);
    }
}

WindowState lastWindow()
{
    auto* const window = (NSWindow*)reinterpret_cast<void*>(appKit().windows.back());
    auto state = window->_state;
    state.content = reinterpret_cast<std::uintptr_t>(window->_content);
    state.canBecomeKey = window.canBecomeKeyWindow;
    // A program in the menu bar is not the active one.
    state.isVisible = state.isOrderedIn && !state.hidesOnDeactivate;
    return state;
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
    return viewAt(view)->_window->_state;
}

void setWindowBehavior(std::uint64_t view, unsigned long behavior)
{
    viewAt(view)->_window->_state.behavior = behavior;
}

std::vector<FolderDialog> folderDialogs()
{
    std::vector<FolderDialog> all;
    for (NSOpenPanel* each : openPanels())
        all.push_back(each->_dialog);
    return all;
}

void chooseInDialog(const std::string& url, bool isFile)
{
    NSOpenPanel* const panel = openPanels().at(0);
    panel->_chosen = makeUrl(url, isFile);
    endPanel(panel, NSModalResponseOK);
}

void cancelDialog()
{
    endPanel(openPanels().at(0), NSModalResponseCancel);
}

void changeScreens()
{
    postNotification(NSApplicationDidChangeScreenParametersNotification, nil);
}

void changeAccessibilityOptions()
{
    postNotification(NSWorkspaceAccessibilityDisplayOptionsDidChangeNotification, nil);
}

void resetAppKit()
{
    if (!openPanels().empty())
        refuse("a dialog was left open");
    freeViews();
    appKit() = {};
    loginItems() = {};
    foundation() = {};
    throwFromNothing();
    resetShell();
}

}  // namespace velmora::standin
